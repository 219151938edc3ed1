// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "tools/Verbs.h"
#include "tools/alerts/Posting.h"
#include "tools/alerts/ValueText.h"
#include "tools/frame/Failure.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

struct Options {
  std::string bundle = {};
  std::string type = {};
  std::vector<std::string> attributes = {};
};

ExitStatus post(Session& session, const Options& options) {
  alerts::Alert alert{.type = options.type, .bundle = options.bundle};
  for (const std::string& written : options.attributes) {
    auto [name, value] = parseAttribute(written);
    if (!alert.attributes) alert.attributes.emplace();
    alert.attributes->insert_or_assign(std::move(name), std::move(value));
  }
  const Posted posted = velto::post(session, std::move(alert));
  if (posted.error && !posted.isStored)
    throw failureOfPosting(session, *posted.error, options.bundle);
  if (session.isJSON()) {
    session.print({{"identifier", posted.identifier}});
  } else {
    session.write(posted.identifier + '\n');
  }
  // The alert is there, but somebody has not been told of it.
  if (posted.error) throw failureOfDelivery(session, *posted.error);
  return kExitDone;
}

}  // namespace

void addPostVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "post",
                         .description = tr("Post an alert, and print its identifier"),
                         .example = "alertsctl post Disk AlmostFull volume=/home percent:=93"},
                        [options](Session& session) { return post(session, *options); });
  verb.argument("BUNDLE", options->bundle, tr("The bundle that knows the alert"), Need::kRequired);
  verb.argument("KIND", options->type, tr("The kind of the alert"), Need::kRequired);
  verb.argument("ATTRIBUTE", options->attributes,
                tr("NAME=TEXT, or NAME:=JSON for numbers and others"));
}

}  // namespace velto
