// SPDX-License-Identifier: Apache-2.0
// What a polite client notices of another user who is anything but, beside what it notices of three
// processes that compute while the daemon has nothing else to do.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <fmt/format.h>

#include "bench/Attacks.h"
#include "bench/SampleStore.h"
#include "bench/ServiceProcesses.h"

namespace velto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::chrono::milliseconds kPause{1};    ///< between two calls of the polite client
constexpr std::chrono::milliseconds kRunUp{300};  ///< until whatever goes on is in full swing
constexpr std::size_t kBusyProcesses = 3;
constexpr double kTarget = 2;

/// The value that so large a share of all does not exceed.
Milliseconds percentile(std::vector<Milliseconds> all, double share) {
  std::sort(all.begin(), all.end());
  return all[static_cast<std::size_t>(share * static_cast<double>(all.size() - 1))];
}

/// How long the calls of a polite client took.
class Waits {
 public:
  void beginRound() { rounds_.emplace_back(); }
  void add(Milliseconds wait) { rounds_.back().push_back(wait); }

  std::size_t count() const {
    std::size_t sum = 0;
    for (const auto& round : rounds_)
      sum += round.size();
    return sum;
  }
  /// That of the rounds' percentiles which stands in the middle, so that a moment in which the
  /// machine did something else decides about one round only.
  Milliseconds middle(double share) const { return percentile(ofRounds(share), 0.5); }
  Milliseconds longest() const { return percentile(ofRounds(1), 1); }

 private:
  std::vector<Milliseconds> ofRounds(double share) const {
    std::vector<Milliseconds> values;
    for (const auto& round : rounds_)
      values.push_back(percentile(round, share));
    return values;
  }

  std::vector<std::vector<Milliseconds>> rounds_;
};

/// How long the client waits for the reply to a call.
Milliseconds call(MessageSocket& client) {
  static const std::string names = callOf("GetAlertBundleNames", "{}");
  const auto begin = Clock::now();
  client.send(names);
  while (client.receive() == 0) {
  }
  return Clock::now() - begin;
}

/// What goes on beside the polite client in one row of the table, and how it fared.
struct Row {
  std::string_view title;
  const Attack* attack = nullptr;  ///< or busy processes
  std::size_t busy = 0;
  Waits waits = {};
  std::vector<Milliseconds> firstWaits = {};  ///< from connecting to the first call's reply
};

std::vector<Row> allRows() {
  std::vector<Row> rows = {{.title = "Nothing else"},
                           {.title = "Three busy loops", .busy = kBusyProcesses}};
  for (const Attack& attack : attacks()) {
    rows.push_back({.title = attack.title, .attack = &attack});
  }
  return rows;
}

/// A polite client connects, calls and rests for a moment, again and again. False when the attacker
/// has ended by itself.
bool measure(Row& row, const DaemonProcess& daemon, std::chrono::milliseconds time) {
  std::vector<HostileProcess> hostile(row.busy);
  if (row.attack != nullptr) hostile.emplace_back(*row.attack, daemon.socketPath());
  std::this_thread::sleep_for(std::min(kRunUp, time));
  const auto begin = Clock::now();
  MessageSocket client = daemon.connect();
  call(client);
  row.firstWaits.emplace_back(Clock::now() - begin);
  row.waits.beginRound();
  const auto end = Clock::now() + time;
  do {
    row.waits.add(call(client));
    std::this_thread::sleep_for(kPause);
  } while (Clock::now() < end);
  return std::all_of(hostile.begin(), hostile.end(),
                     [](const HostileProcess& each) { return each.isRunning(); });
}

std::string verdict(double p99, double longest) {
  return p99 <= kTarget && longest <= kTarget ? "met" : "MISSED";
}

void printTable(const std::vector<Row>& rows) {
  const Waits& baseline = rows[1].waits;
  fmt::print(
      "\nTimes in milliseconds.\n\n| Meanwhile | Calls | p50 | p99 | Ratio | Longest of a round | "
      "Ratio | At most {:g} | "
      "Longest of all | First |\n"
      "|---|---|---|---|---|---|---|---|---|---|\n",
      kTarget);
  for (const Row& row : rows) {
    const Milliseconds p99 = row.waits.middle(0.99);
    const Milliseconds longest = row.waits.middle(1);
    const double p99Ratio = p99 / baseline.middle(0.99);
    const double longestRatio = longest / baseline.middle(1);
    const auto first = percentile(row.firstWaits, 1);
    fmt::print("| {} | {} | {:.2f} | {:.2f} | {:.2f} | {:.2f} | {:.2f} | {} | {:.2f} | {:.2f} |\n",
               row.title, row.waits.count(), row.waits.middle(0.5).count(), p99.count(), p99Ratio,
               longest.count(), longestRatio,
               row.attack == nullptr ? "" : verdict(p99Ratio, longestRatio),
               row.waits.longest().count(), first.count());
  }
}

/// Has posts mailed, by a program that takes its time.
void addMailProgram(const std::string& root) {
  const std::string program = root + "/usr/sbin/sendmail";
  writeFile(program, "#!/bin/sh\nexec /bin/sleep 0.2\n");
  ::chmod(program.c_str(), 0755);
}

void addRecipient(const DaemonProcess& daemon) {
  MessageSocket root = daemon.connect();
  root.send(callOf("AddMailRecipients", R"({"recipients":["ann@example.org"]})"));
  while (root.receive() == 0) {
  }
}

int run(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  raiseDescriptorLimit();
  const bool isQuick = argc > 1 && std::string_view(argv[1]) == "--quick";
  const std::string_view wanted = argc > 1 && !isQuick ? argv[1] : "";
  if (::geteuid() != 0) {
    fmt::print("root alone can be several users\n");
    return 0;
  }
  const BenchDirectory directory;
  const std::string root =
      preparedSystem(directory, isQuick ? 2000 : 100000, isQuick ? 100 : 10000);
  addMailProgram(root);
  const DaemonProcess daemon(root);
  addRecipient(daemon);
  auto rows = allRows();
  std::erase_if(rows, [&](const Row& row) {
    return row.attack != nullptr && row.title.find(wanted) == std::string_view::npos;
  });
  // Around, so that all rows see the same good and bad times of the machine.
  for (int round = isQuick ? 1 : 9; round > 0; --round) {
    for (Row& row : rows) {
      if (!measure(row, daemon, std::chrono::milliseconds(isQuick ? 20 : 1500))) {
        fmt::print(stderr, "this has ended by itself: {}\n", row.title);
        return 1;
      }
    }
  }
  printTable(rows);
  return 0;
}

}  // namespace
}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run(argc, argv);
}
