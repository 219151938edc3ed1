// SPDX-License-Identifier: Apache-2.0
// `test`: posts the alert that exists for it, and tells what each channel made of it.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/alerts/Posting.h"
#include "tools/frame/Failure.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

constexpr const char* kBundle = "Common";
constexpr const char* kType = "Test";

struct Options {
  bool isMail = false;
  bool isPush = false;
};

/// What a channel was to do, and did.
struct ChannelTest {
  const char* name = "";   ///< in JSON
  std::string title = {};  ///< for people
  std::string_view errorDomain = {};
  bool isOn = false;  ///< for the test's bundle
  std::int64_t recipients = 0;
  std::optional<Failure> failure = {};
  std::string result = {};

  bool isDelivered() const { return isOn && recipients > 0 && !failure; }
};

/// What stands ready before the alert is posted.
std::vector<ChannelTest> channels(Session& session, const Options& options) {
  alerts::Client& client = session.client();
  const auto settings = required(client.getAlertBundleSettings())[kBundle];
  const auto mail = required(client.getMailRecipients());
  const auto devices = required(client.getPushRecipients());
  const auto enabled = std::count_if(devices.begin(), devices.end(), [](const auto& device) {
    return device.enabled.value_or(false);
  });
  std::vector<ChannelTest> tests;
  const bool isAll = !options.isMail && !options.isPush;
  if (isAll || options.isMail) {
    tests.push_back({.name = "mail",
                     .title = tr("Mail"),
                     .errorDomain = "VeltoAlertsMailer",
                     .isOn = settings.mailEnabled.value_or(false),
                     .recipients = static_cast<std::int64_t>(mail.size())});
  }
  if (isAll || options.isPush) {
    tests.push_back({.name = "push",
                     .title = tr("Push"),
                     .errorDomain = "UlmoraPushProvider",
                     .isOn = settings.pushEnabled.value_or(false),
                     .recipients = enabled});
  }
  return tests;
}

/// The daemon tells the first error only, so a channel that it does not name may have failed, too,
/// when another one has.
void judge(Session& session, ChannelTest& test, const std::optional<alerts::Error>& error) {
  if (!test.isOn) {
    test.result = say("off for {}", kBundle);
  } else if (test.recipients == 0) {
    test.result = tr("nobody to tell");
  } else if (error && std::string_view(error->domain).starts_with(test.errorDomain)) {
    test.failure = failureOfDelivery(session, *error);
    test.result = test.failure->line();
  } else {
    test.result =
        sayCount("handed over for {} recipient", "handed over for {} recipients", test.recipients);
  }
}

void tell(Session& session, const Posted& posted, const std::vector<ChannelTest>& tests) {
  if (session.isJSON()) {
    boost::json::array array;
    for (const ChannelTest& test : tests) {
      array.push_back({{"name", test.name},
                       {"delivered", test.isDelivered()},
                       {"recipients", test.recipients},
                       {"result", test.result}});
    }
    session.print({{"identifier", posted.identifier}, {"channels", std::move(array)}});
    return;
  }
  if (session.ways().isQuiet) session.write(posted.identifier + '\n');
  session.tell(say("Posted {}.", posted.identifier));
  for (const ChannelTest& test : tests) {
    session.tell(
        test.title + ": " +
        session.styledIfColours(test.result, test.failure ? CellStyle::kRed : CellStyle::kPlain));
  }
}

/// A channel that was asked for by name has to work; of both, those that are set up.
ExitStatus judgeAll(const Options& options, const std::vector<ChannelTest>& tests) {
  const bool isNamed = options.isMail || options.isPush;
  const bool isWell = std::all_of(tests.begin(), tests.end(), [isNamed](const ChannelTest& test) {
    return isNamed ? test.isDelivered() : !test.failure;
  });
  return isWell ? kExitDone : kExitFailed;
}

ExitStatus test(Session& session, const Options& options) {
  std::vector<ChannelTest> tests = channels(session, options);
  const Posted posted = post(session, {.type = kType, .bundle = kBundle});
  if (posted.error && !posted.isStored) throw failureOfPosting(session, *posted.error, kBundle);
  for (ChannelTest& one : tests) {
    judge(session, one, posted.error);
  }
  tell(session, posted, tests);
  return judgeAll(options, tests);
}

}  // namespace

void addTestVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb =
      verbs.add({.name = "test",
                 .description = tr("Post a test alert, and tell what mail and push made of it"),
                 .example = "alertsctl test --mail"},
                [options](Session& session) { return test(session, *options); });
  verb.flag("--mail", options->isMail, tr("Mail has to work; exit status 1 when it does not"));
  verb.flag("--push", options->isPush, tr("Push has to work; exit status 1 when it does not"));
}

}  // namespace velto
