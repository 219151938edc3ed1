// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>

#include "tools/bundlecheck/BundleTrials.h"

namespace velto {

// What `alertsctl bundle` does, without a daemon. The results are exit statuses: 0 when all is
// well, 1 when something is wrong with the bundle, 2 when it could not be tried at all. What is
// wrong is told in lines "file:line: error: what". One thread.

/// `bundle check DIRECTORY`. Warnings are told, too, but nothing is wrong with them alone.
int checkBundleCommand(const std::string& path, std::ostream& output);
/// `bundle render DIRECTORY TYPE NAME=TEXT... --locale de`
int renderBundleCommand(const TrialRequest& request, std::ostream& output, std::ostream& errors);
/// `bundle run DIRECTORY ACTION TYPE NAME=TEXT... --locale de`. 1 is also an action's "no".
int runBundleCommand(const TrialRequest& request, const std::string& action, ActionCall call,
                     std::ostream& output, std::ostream& errors);
/// `bundle new NAME`
int newBundleCommand(const std::string& path, std::ostream& output, std::ostream& errors);

}  // namespace velto
