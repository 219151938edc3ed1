// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/foundation/Error.h"
#include "platform/persistence/EntityObjects.h"
#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/FetchRequest.h"
#include "platform/persistence/ManagedObject.h"
#include "platform/persistence/ObjectState.h"
#include "platform/persistence/PersistentStoreCoordinator.h"

namespace velto {

/// Reads what a fetch request finds a few records at a time, in an amount of memory that does not
/// grow with their number, and without a lock in between. Sees what is committed, and no pending
/// changes of any context. It decides in portions which records come next: what is committed
/// meanwhile and would stand before the end of the last portion does not show, a record that is
/// deleted before its turn is passed over, and one that is changed comes as it is then. No record
/// comes twice, unless its sort key is changed meanwhile to one that is still to come.
///
/// One thread at a time.
class FetchCursor {
 public:
  /// How many records are decided on at a time.
  static constexpr std::size_t kPortion = 32768;

  /// The request has one sort descriptor, a descending one, and no limit; any other is a mistake of
  /// the program, which ends the process.
  FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator, FetchRequest request,
              std::size_t portion = kPortion);
  ~FetchCursor();
  FetchCursor(const FetchCursor&) = delete;
  FetchCursor& operator=(const FetchCursor&) = delete;

  /// Passes the next records to `take`, as of one moment, until it returns false. What it gets is
  /// valid during the call only. False, without a call, when there are none any more, or with the
  /// error when they cannot be read: the next call then begins where this one did.
  template <typename Object>
  bool read(const std::function<bool(const Object&)>& take, ErrorSlot error) {
    return readStates([&](ObjectState& state) { return take(Object(state)); }, error);
  }

 private:
  bool readStates(const std::function<bool(ObjectState&)>& take, ErrorSlot error);
  bool decideNext(ErrorSlot error);

  const std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  const FetchRequest request_;
  const std::size_t portion_;
  EntityObjects objects_;
  ObjectState state_;  ///< of the record whose turn it is

  std::vector<std::int64_t> rowIds_;  ///< of the records decided on
  std::size_t next_ = 0;              ///< among those
  std::optional<FetchPosition> last_;
  bool isLastPortion_ = false;
};

}  // namespace velto
