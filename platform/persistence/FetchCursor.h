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
#include "platform/persistence/StoredRow.h"

namespace velto {

/// A stretch of a list, in the descending order of a date: all that is found for one of its
/// requests. Those of one entity have the same one sort descriptor, a descending one by a date.
struct FetchPart {
  /// One request alone is read in the order of an index, entered each time where the last reading
  /// ended, and has either only records with the date or only ones without. What several find is
  /// decided on at once, at 16 bytes a record; a record that several find is there once.
  std::vector<FetchRequest> requests;
  bool isDecidedAtOnce = false;
};

/// The parts of a request that has its order from an index: what has a date, and after it what has
/// none.
std::vector<FetchPart> datedAndUndated(const FetchRequest& request);

/// Reads what fetch requests find a few records at a time, in an amount of memory that does not
/// grow with their number (but for parts that are decided on at once), and without a lock in
/// between. Sees what is committed, and no pending changes of any context: what is committed
/// meanwhile shows where it is still to come in the order, a record that is deleted before its turn
/// is passed over, and one that is changed comes as it is then. No record comes twice, unless its
/// sort key is changed meanwhile to one that is still to come.
///
/// One thread at a time.
class FetchCursor {
 public:
  /// The request has one sort descriptor, a descending one by a date, and no limit; any other is a
  /// mistake of the program, which ends the process.
  FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator, const FetchRequest& request);
  /// The parts of one list, in its order; there is at least one, with a request.
  FetchCursor(std::shared_ptr<PersistentStoreCoordinator> coordinator,
              std::vector<FetchPart> parts);
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

  /// The same, of the records as they lie in the store.
  bool readRows(const std::function<bool(const StoredRow&)>& take, ErrorSlot error);

  /// Whether there are more, if they are not deleted before they are read. False with the error
  /// when that cannot be found out.
  bool hasNext(ErrorSlot error);

 private:
  /// A record's place in the order. A date that is not a number stands for none.
  struct Place {
    double date;
    std::int64_t rowId;
  };

  using Take = std::function<bool(const Statement&)>;

  const FetchPart& part() const { return parts_[part_]; }
  void endPart();
  bool readStates(const std::function<bool(ObjectState&)>& take, ErrorSlot error);
  bool readStatements(const Take& take, ErrorSlot error);
  std::optional<bool> readInOrder(const Take& take, ErrorSlot error);
  std::optional<bool> readDecided(const Take& take, ErrorSlot error);
  std::optional<bool> hasRecords(ErrorSlot error);
  bool decide(ErrorSlot error);
  bool fetchPlaces(const FetchRequest& request, std::size_t limit,
                   const std::function<void(Place)>& take, ErrorSlot error);

  const std::shared_ptr<PersistentStoreCoordinator> coordinator_;
  const std::vector<FetchPart> parts_;
  EntityObjects objects_;
  ObjectState state_;  ///< of the record whose turn it is

  std::size_t part_ = 0;  ///< whose turn it is
  /// Of a part that is read in order: of its last record so far, behind which there were more.
  std::optional<FetchPosition> last_;
  /// Of a part that is decided on at once, when it has been.
  std::optional<std::vector<std::int64_t>> rowIds_;
  std::size_t next_ = 0;  ///< among those
};

}  // namespace velto
