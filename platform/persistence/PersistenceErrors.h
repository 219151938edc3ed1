// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/Error.h"

namespace velto {

/// The domain of every error that the persistence makes itself. The code of a failure of SQLite is
/// SQLite's extended result code; the constants below are the others.
inline constexpr std::string_view kPersistenceErrorDomain = "VeltoPersistence";
inline constexpr int kConflictErrorCode = 1001;  ///< a record was changed or deleted meanwhile
inline constexpr int kNoStoreErrorCode = 1002;   ///< the context has no storage behind it
inline constexpr int kIncompatibleStoreErrorCode = 1003;  ///< a file of another model or program
inline constexpr int kUntrustedStoreErrorCode = 1004;     ///< a sync has failed; no more is saved
inline constexpr int kMovedStoreErrorCode = 1005;  ///< the file was renamed or deleted meanwhile

/// Whether a save failed for what others have changed meanwhile, and may be made anew.
inline bool isConflict(const std::optional<Error>& failure) {
  return failure && failure->domain == kPersistenceErrorDomain &&
         failure->code == kConflictErrorCode;
}

}  // namespace velto
