// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>

#include "platform/foundation/Error.h"
#include "store/ADAlertStore.h"
#include "store/StoreContainer.h"

namespace velto {

/// Carries out and saves a change that depends on what it reads: on a handle of its own, and when
/// others have changed the same records between its reading and its save, once more from the
/// beginning. So what others saved is never overwritten unread, and nobody meets a conflict.
///
/// `change` makes the changes on a fresh handle and returns whether they are to be saved. It may be
/// called several times, each time with nothing left of the time before but what it keeps itself;
/// so it takes no time, and tells nobody anything. Returns why the last save failed, if it did.
/// Waits for the save. Any thread.
std::optional<Error> saveSettled(StoreContainer& container,
                                 const std::function<bool(ADAlertStore&)>& change);

/// The same for a change that makes handles of its own: `attempt` reads, changes and saves, and
/// returns why its save failed, if it did.
std::optional<Error> settle(StoreContainer& container,
                            const std::function<std::optional<Error>()>& attempt);

}  // namespace velto
