// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/foundation/Log.h"

namespace velto {

/// A bundle on disk, and an alert of it (see trialAlert).
struct TrialRequest {
  std::string path;
  std::string type;
  std::vector<std::string> attributes;
  std::string locale = "en";
};

/// What the readers of a language are told of an alert.
struct RenderedAlert {
  std::string subject;
  std::string message;
  std::string mail;  ///< sender, subject and text, as a mail program shows them
};

/// Nothing, with an error, when the bundle cannot be used or has no such type. What the daemon
/// would log goes to `log`.
std::optional<RenderedAlert> renderAlert(const TrialRequest& request, Log& log, ErrorSlot error);

/// How a recovery action is called.
enum class ActionCall { kRun, kHasBeenResolved };

/// Has the bundle's action do it, or asks it, as the daemon would: the program or the code runs
/// with this user's rights. True for done and for yes; false without an error is no.
bool tryAction(const TrialRequest& request, const std::string& action, ActionCall call, Log& log,
               ErrorSlot error);

}  // namespace velto
