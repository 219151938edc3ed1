// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/sqlite/WriterTrust.h"

#include <string>
#include <string_view>

#include <sqlite3.h>

#include "platform/persistence/PersistenceErrors.h"

namespace velto {

namespace {

Error refusalOf(const SQLiteConnection& connection, int code, std::string_view why) {
  return makeError(kPersistenceErrorDomain, code,
                   std::string(connection.path())
                       .append(": ")
                       .append(why)
                       .append(" until the service is started again"));
}

}  // namespace

WriterTrust::WriterTrust(SQLiteConnection& connection)
    : connection_(connection),
      untrusted_(refusalOf(connection, kUntrustedStoreErrorCode,
                           "a sync has failed, so nothing is saved any more")),
      moved_(refusalOf(connection, kMovedStoreErrorCode,
                       "the store's file has been renamed or deleted, so nothing is saved")) {}

const Error* WriterTrust::refusal() const {
  return hasFailed_ ? &untrusted_ : connection_.hasMoved() ? &moved_ : nullptr;
}

void WriterTrust::noteFailure() {
  if (connection_.lastErrorCode() == SQLITE_IOERR_FSYNC) noteFailedSync();
}

void WriterTrust::noteFailedSync() {
  hasFailed_ = true;
  connection_.setReadOnly();
}

}  // namespace velto
