// SPDX-License-Identifier: Apache-2.0
#include "store/SettledChange.h"

#include <atomic>

#include "platform/persistence/PersistenceErrors.h"

namespace velto {
namespace {

/// Those that try again take turns, and newcomers wait for them. So only those can be in the way
/// who were under way before, and other programs.
constexpr int kAttempts = 100;

class Counted {
 public:
  explicit Counted(std::atomic<int>& all) : all_(all) { ++all_; }
  ~Counted() { --all_; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

 private:
  std::atomic<int>& all_;
};

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

std::optional<Error> settle(StoreContainer& container,
                            const std::function<std::optional<Error>()>& attempt) {
  std::optional<Error> failure;
  int attempts = 0;
  const auto meetsConflict = [&] {
    ++attempts;
    failure = attempt();
    return isConflict(failure);
  };
  if (container.secondAttempters() == 0 && !meetsConflict()) return failure;
  const Counted counted(container.secondAttempters());
  const MutexLock turn(container.secondAttempts());
  while (attempts < kAttempts && meetsConflict()) {
  }
  return failure;
}

std::optional<Error> saveSettled(StoreContainer& container,
                                 const std::function<bool(ADAlertStore&)>& change) {
  return settle(container, [&] { return trySaving(container, change); });
}

}  // namespace velto
