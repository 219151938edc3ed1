// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/frame/VerbSet.h"

namespace velto {

// The verbs, in the order in which help tells of them. Each adds itself.

/// What is done without a verb: the alerts that want to be looked at.
VerbBody addNewsView(Verb app);
void addListVerb(VerbSet& verbs);
void addShowVerb(VerbSet& verbs);
void addWatchVerb(VerbSet& verbs);
void addPostVerb(VerbSet& verbs);
void addReadVerb(VerbSet& verbs);
void addResolveVerb(VerbSet& verbs);
void addRunVerb(VerbSet& verbs);
void addDeleteVerb(VerbSet& verbs);
void addPruneVerb(VerbSet& verbs);
void addBundlesVerb(VerbSet& verbs);
void addBundleVerbs(VerbSet& verbs);
/// Those of the group `bundle` for the authors of bundles.
void addBundleAuthorVerbs(VerbSet& group);
void addMailVerbs(VerbSet& verbs);
void addPushVerbs(VerbSet& verbs);
void addAttributesVerbs(VerbSet& verbs);
void addTestVerb(VerbSet& verbs);
void addDeliveriesVerb(VerbSet& verbs);
void addStatsVerb(VerbSet& verbs);
void addStatusVerb(VerbSet& verbs);
void addMetricsVerb(VerbSet& verbs);
void addExportVerb(VerbSet& verbs);
void addImportVerb(VerbSet& verbs);
void addBackupVerb(VerbSet& verbs);
void addCheckVerb(VerbSet& verbs);
void addCallVerb(VerbSet& verbs);
/// For the completion of shells; help does not tell of it.
void addCompleteVerb(VerbSet& verbs);

}  // namespace velto
