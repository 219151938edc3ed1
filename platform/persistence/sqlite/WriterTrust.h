// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/foundation/Error.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"

namespace velto {

/// Whether what a connection writes may be believed to be in the store. Used by whoever has the
/// connection; the errors may be read by any thread.
///
/// Once the file or its log could not be synced, nothing is written any more. The system may have
/// given up the pages that it could not write and yet let the next sync succeed, so no later
/// success would mean anything. Opening the file anew ends this state.
class WriterTrust {
 public:
  explicit WriterTrust(SQLiteConnection& connection);

  /// Why nothing is to be written now, or null. Should a file that has been renamed come back under
  /// its name, that is over.
  const Error* refusal() const;
  /// Why nothing will be written any more, or null.
  const Error* lastingRefusal() const { return hasFailed_ ? &untrusted_ : nullptr; }
  /// The connection has failed to do something, whatever it was.
  void noteFailure();
  /// A sync that was left to another thread has failed.
  void noteFailedSync();

 private:
  SQLiteConnection& connection_;
  const Error untrusted_;
  const Error moved_;
  bool hasFailed_ = false;  ///< a sync
};

}  // namespace velto
