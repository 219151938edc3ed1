// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string>

#include "tools/Verbs.h"
#include "tools/alerts/AlertCounts.h"
#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/TimeSpan.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

struct Options {
  std::string age = {};
  bool isDry = false;
};

alerts::Date limit(const Session& session, const Options& options) {
  const auto age = parseTimeSpan(options.age);
  if (!age || *age <= 0) {
    throw usageFailure(say("--older-than: \"{}\" is no span of time", printable(options.age)),
                       tr("write 90d, 12h or \"1y 6months\""));
  }
  return alerts::Date(session.now().secondsSince2001() - *age);
}

ExitStatus prune(Session& session, const Options& options) {
  const alerts::Date date = limit(session, options);
  const std::string when = clockText(date, session.ways().isUTC);
  std::int64_t count = 0;
  if (options.isDry) {
    count = countOfSentBefore(session, date);
  } else {
    session.confirm(say("Delete all alerts sent before {}?", when));
    count = required(session.client().deleteAlertsBeforeDate(date));
  }
  if (session.isJSON()) {
    session.print({{"deleted", count}, {"dryRun", options.isDry}});
  } else if (session.ways().isQuiet) {
    session.write(fmt::format("{}\n", count));
  }
  session.tell(options.isDry ? sayCount("Would delete {} alert sent before {}.",
                                        "Would delete {} alerts sent before {}.", count, when)
                             : sayCount("Deleted {} alert sent before {}.",
                                        "Deleted {} alerts sent before {}.", count, when));
  return kExitDone;
}

}  // namespace

void addPruneVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "prune",
                         .description = tr("Delete all alerts of a certain age"),
                         .example = "alertsctl prune --older-than 90d"},
                        [options](Session& session) { return prune(session, *options); });
  verb.option("--older-than", options->age, tr("SPAN"), tr("90d, 12h, \"1y 6months\""),
              Need::kRequired);
  verb.flag("--dry-run", options->isDry, tr("Only tell what would go away"));
}

}  // namespace velto
