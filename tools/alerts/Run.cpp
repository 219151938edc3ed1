// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tools/Verbs.h"
#include "tools/alerts/Identifiers.h"
#include "tools/frame/Failure.h"
#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

struct Options {
  std::string action = {};
  std::string identifier = {};
};

/// An alert offers what its bundle says; the daemon would run any action of the bundle's.
void requireAction(const alerts::AlertDetails& details, const Options& options) {
  std::vector<std::string> names;
  std::string list;
  for (const alerts::Action& action : details.actions) {
    if (action.name == options.action) return;
    names.push_back(action.name);
    appendItem(list, ", ", printable(action.name));
  }
  const std::string suggested = suggestion(options.action, names);
  throw Failure{.what = say("alert {} has no action {}", printable(options.identifier),
                            printable(options.action)),
                .advice = !suggested.empty() ? suggested
                          : list.empty()     ? tr("nothing can be done about it from here")
                                             : say("it has {}", list)};
}

ExitStatus runAction(Session& session, const Options& options) {
  const alerts::AlertDetails details = alertNamed(session, options.identifier);
  requireAction(details, options);
  const std::string identifier = details.alert.identifier.value_or(options.identifier);
  require(session.client().performRecoveryAction(options.action, identifier));
  if (session.isJSON()) {
    session.print({{"action", options.action}, {"identifier", identifier}});
  } else if (session.ways().isQuiet) {
    session.write(printable(identifier) + '\n');
  }
  session.tell(say("Done: {} for {}.", printable(options.action), printable(identifier)));
  return kExitDone;
}

}  // namespace

void addRunVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "run",
                         .description = tr("Run a recovery action of an alert"),
                         .example = "alertsctl run FreeSpace 2e75f1"},
                        [options](Session& session) { return runAction(session, *options); });
  verb.argument("ACTION", options->action, tr("Its name, as show tells it"), Need::kRequired);
  verb.argument("ID", options->identifier, tr("The alert's identifier, or how it begins"),
                Need::kRequired);
}

}  // namespace velto
