// SPDX-License-Identifier: Apache-2.0
#include "bench/Starts.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <fmt/format.h>
#include <sqlite3.h>

#include "bench/SampleStore.h"
#include "bench/ServiceProcesses.h"
#include "platform/foundation/Paths.h"

namespace velto::bench {

namespace {

using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::uintmax_t kLongLog = 16'000'000;
constexpr Milliseconds kTarget(20);
constexpr int kStarts = 9;

/// Another program that has the store open.
class OtherProgram {
 public:
  explicit OtherProgram(const std::string& store) {
    if (sqlite3_open(store.c_str(), &database_) != SQLITE_OK) fail();
    sqlite3_db_config(database_, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  }
  ~OtherProgram() { sqlite3_close(database_); }
  OtherProgram(const OtherProgram&) = delete;
  OtherProgram& operator=(const OtherProgram&) = delete;

  void execute(const char* sql) {
    if (sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) fail();
  }

 private:
  [[noreturn]] void fail() {
    fmt::print(stderr, "{}\n", sqlite3_errmsg(database_));
    std::exit(1);
  }

  sqlite3* database_ = nullptr;
};

/// Saves until the log is long, which a reader that does not end makes it, and kills the daemon.
void leaveLongLog(const std::string& root, const std::string& store, PreparedSaves& saves) {
  OtherProgram reader(store);
  reader.execute("BEGIN; SELECT count(*) FROM sqlite_schema");
  const DaemonProcess daemon(root);
  MessageSocket client = daemon.connect();
  do {
    saves.saveNext(client);
  } while (std::filesystem::file_size(store + "-wal") < kLongLog);
}

/// Each daemon is killed before it would empty the log.
Reading startReading(std::string title, const std::string& root) {
  std::vector<Milliseconds> times;
  for (int start = 0; start < kStarts; ++start) {
    times.emplace_back(DaemonProcess(root).startTime());
  }
  std::sort(times.begin(), times.end());
  const Milliseconds middle = times[kStarts / 2];
  return {std::move(title), fmt::format("{:.1f} ms, {:.1f} to {:.1f} (at most {:g}: {})",
                                        middle.count(), times.front().count(), times.back().count(),
                                        kTarget.count(), middle <= kTarget ? "met" : "MISSED")};
}

}  // namespace

std::vector<Reading> startReadings(const std::string& root, PreparedSaves& saves) {
  const std::string store = root + std::string(kStoreDirectory) + "/alertData.db";
  OtherProgram(store).execute("PRAGMA wal_checkpoint(TRUNCATE)");
  std::vector<Reading> readings = {startReading("Start to ready", root)};
  leaveLongLog(root, store, saves);
  readings.push_back(startReading("Start to ready with a log of 16 MB that a kill has left", root));
  return readings;
}

}  // namespace velto::bench
