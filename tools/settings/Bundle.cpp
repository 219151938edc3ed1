// SPDX-License-Identifier: Apache-2.0
// `bundle enable`, `bundle disable` and `bundle set`.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

struct Options {
  std::string name = {};
  std::string mail = {};
  std::string push = {};
};

using Change = alerts::Outcome<void> (alerts::Client::*)(const std::string&,
                                                         const alerts::CallOptions&);

void tellChanged(Session& session, const std::string& name, const std::string& line) {
  if (session.isJSON()) {
    session.print({{"bundle", name}});
  } else if (session.ways().isQuiet) {
    session.write(printable(name) + '\n');
  }
  session.tell(line);
}

ExitStatus change(Session& session, const std::string& name, Change call, const char* told) {
  requireBundle(session, name);
  require((session.client().*call)(name, {}));
  tellChanged(session, name, say(told, withKey(session.bundleName(name), name)));
  return kExitDone;
}

std::optional<bool> parseSwitch(const std::string& option, const std::string& word) {
  if (word.empty()) return std::nullopt;
  if (word == "on") return true;
  if (word == "off") return false;
  throw usageFailure(say("{} is on or off, and not \"{}\"", option, printable(word)));
}

ExitStatus set(Session& session, const Options& options) {
  const auto mail = parseSwitch("--mail", options.mail);
  const auto push = parseSwitch("--push", options.push);
  if (!mail && !push) throw usageFailure(tr("bundle set needs --mail or --push"));
  requireBundle(session, options.name);
  const auto all = required(session.client().getAlertBundleSettings());
  const auto found = all.find(options.name);
  if (found == all.end()) {
    throw Failure{.what = say("bundle {} is disabled", printable(options.name)),
                  .advice = say("alertsctl bundle enable {}", printable(options.name))};
  }
  // The daemon takes a switch that is left out for off.
  alerts::BundleSettings settings = found->second;
  if (mail) settings.mailEnabled = mail;
  if (push) settings.pushEnabled = push;
  require(session.client().setAlertBundleSettings({{options.name, settings}}));
  const auto word = [](const std::optional<bool>& isOn) {
    return isOn.value_or(false) ? tr("on") : tr("off");
  };
  tellChanged(session, options.name,
              say("{}: mail {}, push {}.", withKey(session.bundleName(options.name), options.name),
                  word(settings.mailEnabled), word(settings.pushEnabled)));
  return kExitDone;
}

void addName(Verb verb, Options& options) {
  verb.argument("NAME", options.name, tr("The bundle's name"), Need::kRequired);
}

void addChange(VerbSet& group, const VerbText& text, Change call, const char* told) {
  const auto options = std::make_shared<Options>();
  addName(
      group.add(text, [options, call, told](
                          Session& session) { return change(session, options->name, call, told); }),
      *options);
}

}  // namespace

void addBundleVerbs(VerbSet& verbs) {
  VerbSet group =
      verbs.group({.name = "bundle",
                   .description = tr("Enable, disable and set up a bundle, or write one"),
                   .example = "alertsctl bundle set Disk --mail on --push off"},
                  [](Session&) -> ExitStatus {
                    throw usageFailure(tr("bundle needs a verb, such as enable or check"),
                                       tr("see alertsctl bundle --help"));
                  });
  addChange(group,
            {.name = "enable",
             .description = tr("Take alerts of a bundle"),
             .example = "alertsctl bundle enable Disk"},
            &alerts::Client::enableAlertBundle, trLater("Enabled {}."));
  addChange(group,
            {.name = "disable",
             .description = tr("Take no alerts of a bundle, and forget its switches"),
             .example = "alertsctl bundle disable Disk"},
            &alerts::Client::disableAlertBundle, trLater("Disabled {}."));
  const auto options = std::make_shared<Options>();
  Verb verb = group.add({.name = "set",
                         .description = tr("Say who is told of a bundle's alerts"),
                         .example = "alertsctl bundle set Disk --mail on --push off"},
                        [options](Session& session) { return set(session, *options); });
  addName(verb, *options);
  verb.option("--mail", options->mail, tr("SWITCH"), tr("on or off"));
  verb.option("--push", options->push, tr("SWITCH"), tr("on or off"));
  addBundleAuthorVerbs(group);
}

}  // namespace velto
