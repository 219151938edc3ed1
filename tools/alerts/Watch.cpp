// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "tools/Verbs.h"
#include "tools/alerts/Follow.h"
#include "tools/text/Message.h"

namespace velto {

void addWatchVerb(VerbSet& verbs) {
  const auto options = std::make_shared<ListOptions>();
  Verb verb = verbs.add({.name = "watch",
                         .description = tr("Tell of new alerts and of changes as they come"),
                         .example = "alertsctl watch --bundle Disk"},
                        [options](Session& session) { return follow(session, *options); });
  addFilters(verb, *options);
}

}  // namespace velto
