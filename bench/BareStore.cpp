// SPDX-License-Identifier: Apache-2.0
#include "bench/BareStore.h"

#include <cstdlib>
#include <optional>

#include <fmt/format.h>

namespace velto::bench {

namespace {

const std::string kColumns =
    "attributes, creationDate, identifier, sentDate, type, bundle, readDate, resolvedDate";
const std::string kSelect = "SELECT " + kColumns + " FROM ADAlert WHERE ";

constexpr int kText[] = {0, 2, 4, 5};
constexpr int kReal[] = {1, 3, 6, 7};

void bindText(sqlite3_stmt* statement, int index, const std::string& text) {
  sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
}

void bindDate(sqlite3_stmt* statement, int index, const std::optional<Date>& date) {
  if (date) {
    sqlite3_bind_double(statement, index, date->secondsSinceReference());
  } else {
    sqlite3_bind_null(statement, index);
  }
}

/// Copies a row's columns, as any program has to that does something with them.
struct Row {
  explicit Row(sqlite3_stmt* statement) {
    for (std::size_t index = 0; index < 4; ++index) {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, kText[index]));
      text[index].assign(bytes == nullptr ? "" : bytes,
                         static_cast<std::size_t>(sqlite3_column_bytes(statement, kText[index])));
      if (sqlite3_column_type(statement, kReal[index]) != SQLITE_NULL) {
        date[index] = sqlite3_column_double(statement, kReal[index]);
      }
    }
  }

  std::string text[4];
  std::optional<double> date[4];
};

}  // namespace

BareStore::BareStore(const std::string& path) {
  sqlite3_open(path.c_str(), &database_);
  sqlite3_exec(database_, "PRAGMA synchronous=FULL", nullptr, nullptr, nullptr);
  insert_ = prepared("INSERT INTO ADAlert (_version, " + kColumns +
                     ") VALUES (1, ?, ?, ?, ?, ?, ?, ?, ?)");
  byIdentifier_ = prepared(kSelect + "identifier = ? LIMIT 1");
  ofType_ = prepared(kSelect + "type = ? ORDER BY sentDate DESC");
}

BareStore::~BareStore() {
  for (sqlite3_stmt* statement : {insert_, byIdentifier_, ofType_}) {
    sqlite3_finalize(statement);
  }
  sqlite3_close(database_);
}

sqlite3_stmt* BareStore::prepared(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    fmt::print(stderr, "{}\n", sqlite3_errmsg(database_));
    std::exit(1);
  }
  return statement;
}

void BareStore::insert(const VLAlert& alert, const std::string& encodedAttributes) {
  sqlite3_bind_blob64(insert_, 1, encodedAttributes.data(), encodedAttributes.size(),
                      SQLITE_STATIC);
  bindDate(insert_, 2, alert.creationDate);
  bindText(insert_, 3, *alert.identifier);
  bindDate(insert_, 4, alert.sentDate);
  bindText(insert_, 5, *alert.type);
  bindText(insert_, 6, *alert.bundle);
  bindDate(insert_, 7, alert.readDate);
  bindDate(insert_, 8, alert.resolvedDate);
  if (sqlite3_step(insert_) != SQLITE_DONE) {
    fmt::print(stderr, "{}\n", sqlite3_errmsg(database_));
    std::exit(1);
  }
  sqlite3_reset(insert_);
}

std::size_t BareStore::readByIdentifier(const std::string& identifier) {
  bindText(byIdentifier_, 1, identifier);
  std::size_t bytes = 0;
  if (sqlite3_step(byIdentifier_) == SQLITE_ROW) {
    const Row row(byIdentifier_);
    bytes = row.text[0].size() + row.text[1].size() + row.text[2].size() + row.text[3].size();
  }
  sqlite3_reset(byIdentifier_);
  return bytes;
}

std::size_t BareStore::readOfType(const std::string& type) {
  bindText(ofType_, 1, type);
  std::size_t alerts = 0;
  while (sqlite3_step(ofType_) == SQLITE_ROW) {
    const Row row(ofType_);
    if (!row.text[1].empty()) {
      ++alerts;
    }
  }
  sqlite3_reset(ofType_);
  return alerts;
}

}  // namespace velto::bench
