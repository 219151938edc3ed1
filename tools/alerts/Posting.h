// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

#include <velto/Alert.h>
#include <velto/Error.h>

#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"

namespace velto {

/// What came of posting an alert.
struct Posted {
  std::string identifier = {};
  /// Of its delivery, when it is stored all the same.
  std::optional<alerts::Error> error = {};
  bool isStored = true;
};

/// Why somebody has not been told of an alert that is stored; of a push gateway's answer with the
/// device that it was for, where the daemon still knows it.
Failure failureOfDelivery(Session& session, const alerts::Error& error);

/// Posts an alert under an identifier of its own, created now.
Posted post(Session& session, alerts::Alert alert);

}  // namespace velto
