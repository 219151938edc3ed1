// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "alerts/AlertBundle.h"
#include "alerts/VLAlertAction.h"

namespace velto {

class Log;

/// What recovery actions run with.
struct ActionContext {
  Log& log;
  /// How long a program of an action may take.
  std::chrono::milliseconds timeLimit;
};

/// The recovery action of a bundle's executable Actions/<className>, which is run with
/// "has-been-resolved" (exit status 0: yes, 1: no, other: error) or "run <localization>" (0: done;
/// other: failed, its standard error says why) and reads the alert as JSON. Null, with an error,
/// when there is no such file, it is not executable, or others than root and the daemon's user can
/// write it or a folder on the way to it. All but the first is checked again before each run.
std::unique_ptr<VLAlertAction> makeDeclaredAction(std::shared_ptr<const AlertBundle> bundle,
                                                  const std::string& className,
                                                  const VLAlert& alert,
                                                  const ActionContext& context, ErrorSlot error);

}  // namespace velto
