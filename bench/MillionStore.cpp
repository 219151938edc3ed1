// SPDX-License-Identifier: Apache-2.0
#include "bench/MillionStore.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <unistd.h>
#include <vector>

#include <fmt/format.h>
#include <sqlite3.h>

#include "platform/foundation/Paths.h"
#include "store/ADAlertAdditions.h"

namespace velto::bench {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(sqlite3* database) {
  fmt::print(stderr, "{}\n", sqlite3_errmsg(database));
  std::exit(1);
}

void bind(sqlite3_stmt* statement, int index, const std::optional<std::string>& text) {
  sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

void bind(sqlite3_stmt* statement, int index, const std::optional<Date>& date) {
  if (date) {
    sqlite3_bind_double(statement, index, date->secondsSinceReference());
  } else {
    sqlite3_bind_null(statement, index);
  }
}

/// Seven of ten are unresolved.
VLAlert alertOf(std::size_t number) {
  VLAlert alert = sampleAlert(number);
  alert.resolvedDate.reset();
  if (number % 10 < 3) {
    alert.resolvedDate = Date(sampleSentDate(number) + 10);
  }
  return alert;
}

/// A figure of this process, in KiB.
std::size_t statusKiB(const std::string& field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field + ":")) {
      return std::strtoul(line.c_str() + field.size() + 1, nullptr, 10);
    }
  }
  return 0;
}

}  // namespace

MillionStore::MillionStore(const BenchDirectory& directory, std::size_t alerts)
    : directory_(directory),
      alerts_(alerts),
      path_(directory.make(fmt::format("store{}", alerts))),
      parts_(std::make_unique<StoreParts>(directory)) {
  writeBundles();
  open()->persistentStoreCoordinator();
  fill();
}

std::unique_ptr<StoreContainer> MillionStore::open() const {
  return openIn(path_);
}

std::unique_ptr<StoreContainer> MillionStore::openIn(const std::string& directory) const {
  return std::make_unique<StoreContainer>(resourceDirectory(), directory, parts_->services());
}

std::string MillionStore::copy(const std::string& name) const {
  const std::string to = directory_.path() + "/" + name;
  fs::remove_all(to);
  fs::copy(path_, to, fs::copy_options::recursive);
  // Else the first sync of what is measured would write the copy.
  ::sync();
  return to;
}

void MillionStore::writeBundles() const {
  std::string types;
  for (int type = 0; type < 20; ++type) {
    types += fmt::format("Type{} = {{}}; ", type);
  }
  for (int bundle = 0; bundle < 10; ++bundle) {
    writeFile(fmt::format("{}/alert-bundles/Bundle{}.bundle/Contents/Info.plist", directory_.path(),
                          bundle),
              "{ VLAlertTypes = { " + types + "}; }");
  }
}

void MillionStore::fill() const {
  BareMillion bare(path_);
  bare.execute("PRAGMA synchronous=OFF; BEGIN");
  for (std::size_t number = 0; number < alerts_; ++number) {
    bare.insert(alertOf(number));
  }
  bare.execute("COMMIT; PRAGMA wal_checkpoint(TRUNCATE)");
}

BareMillion::BareMillion(const std::string& directory) {
  if (sqlite3_open((directory + "/alertData.db").c_str(), &database_) != SQLITE_OK) {
    fail(database_);
  }
  execute("PRAGMA synchronous=FULL");
}

BareMillion::~BareMillion() {
  sqlite3_finalize(insert_);
  sqlite3_close(database_);
}

sqlite3_stmt* BareMillion::prepared(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  if (sqlite3_prepare_v2(database_, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
    fail(database_);
  }
  return statement;
}

void BareMillion::execute(const std::string& sql) {
  if (sqlite3_exec(database_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    fail(database_);
  }
}

void BareMillion::insert(const VLAlert& alert) {
  if (insert_ == nullptr) {
    insert_ = prepared(
        "INSERT INTO ADAlert (_version, attributes, creationDate, identifier, sentDate, type, "
        "bundle, readDate, resolvedDate) VALUES (1, ?, ?, ?, ?, ?, ?, ?, ?)");
  }
  const auto attributes = encodedAttributes(alert.attributes);
  sqlite3_bind_blob64(insert_, 1, attributes->bytes().data(), attributes->size(), SQLITE_STATIC);
  bind(insert_, 2, alert.creationDate);
  bind(insert_, 3, alert.identifier);
  bind(insert_, 4, alert.sentDate);
  bind(insert_, 5, alert.type);
  bind(insert_, 6, alert.bundle);
  bind(insert_, 7, alert.readDate);
  bind(insert_, 8, alert.resolvedDate);
  if (sqlite3_step(insert_) != SQLITE_DONE) {
    fail(database_);
  }
  sqlite3_reset(insert_);
}

std::size_t BareMillion::read(const std::string& sql, std::size_t limit) {
  sqlite3_stmt* const statement = prepared(sql);
  std::size_t rows = 0;
  std::vector<std::string> copies(static_cast<std::size_t>(sqlite3_column_count(statement)));
  while (rows < limit && sqlite3_step(statement) == SQLITE_ROW) {
    ++rows;
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
      copies[static_cast<std::size_t>(column)].assign(
          bytes == nullptr ? "" : bytes,
          static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
  }
  sqlite3_finalize(statement);
  return rows;
}

double milliseconds(const std::function<void()>& work) {
  const auto begun = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begun)
      .count();
}

/// The kernel keeps the highest figure since it was last told to forget it.
Cost costOf(const std::function<void()>& work) {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";
  const std::size_t before = statusKiB("VmRSS");
  const double time = milliseconds(work);
  const std::size_t peak = statusKiB("VmHWM");
  return {time, peak > before ? peak - before : 0};
}

}  // namespace velto::bench
