// SPDX-License-Identifier: Apache-2.0
#include "store/SettledChange.h"

#include "platform/persistence/PersistenceErrors.h"

namespace velto {
namespace {

/// Those that try again take turns, so only newcomers can be in the way: that one of them is each
/// time becomes less likely than anything else that could fail.
constexpr int kAttempts = 100;

std::optional<Error> trySaving(StoreContainer& container,
                               const std::function<bool(ADAlertStore&)>& change) {
  ADAlertStore store(container);
  std::optional<Error> failure;
  if (change(store)) {
    store.save(&failure);
  }
  return failure;
}

}  // namespace

std::optional<Error> saveSettled(StoreContainer& container,
                                 const std::function<bool(ADAlertStore&)>& change) {
  std::optional<Error> failure = trySaving(container, change);
  if (!isConflict(failure)) {
    return failure;
  }
  const MutexLock turn(container.secondAttempts());
  for (int attempt = 1; attempt < kAttempts && isConflict(failure); ++attempt) {
    failure = trySaving(container, change);
  }
  return failure;
}

}  // namespace velto
