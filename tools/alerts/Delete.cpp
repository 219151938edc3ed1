// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/alerts/Identifiers.h"
#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

struct Options {
  std::vector<std::string> identifiers = {};
  bool isDry = false;
};

ExitStatus deleteAlerts(Session& session, const Options& options) {
  const auto identifiers = completeIdentifiers(session, options.identifiers);
  const auto count = static_cast<std::int64_t>(identifiers.size());
  if (!options.isDry) {
    session.confirm(sayCount("Delete {} alert?", "Delete {} alerts?", count));
    require(session.client().deleteAlertsWithIds(identifiers));
  }
  if (session.isJSON()) {
    session.print({{"deleted", boost::json::array(identifiers.begin(), identifiers.end())},
                   {"dryRun", options.isDry}});
  } else if (session.ways().isQuiet || options.isDry) {
    for (const std::string& identifier : identifiers) {
      session.write(printable(identifier) + '\n');
    }
  }
  session.tell(options.isDry ? sayCount("Would delete {} alert.", "Would delete {} alerts.", count)
                             : sayCount("Deleted {} alert.", "Deleted {} alerts.", count));
  return kExitDone;
}

}  // namespace

void addDeleteVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "delete",
                         .description = tr("Delete alerts"),
                         .example = "alertsctl delete --dry-run 2e75f1"},
                        [options](Session& session) { return deleteAlerts(session, *options); });
  verb.argument("ID", options->identifiers, tr("Identifiers, or how they begin"), Need::kRequired);
  verb.flag("--dry-run", options->isDry, tr("Only tell what would go away"));
}

}  // namespace velto
