// SPDX-License-Identifier: Apache-2.0
// What many clients that save at once get, beside bare SQLite on one thread: the saves of a second,
// and how long one waits. For 1, 2, 4, ... 128 clients, in turn with the baseline.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <fmt/format.h>

#include "bench/BareStore.h"
#include "bench/PreparedSaves.h"
#include "bench/SampleStore.h"
#include "bench/ServiceProcesses.h"
#include "platform/foundation/Paths.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::array<std::size_t, 8> kClients = {1, 2, 4, 8, 16, 32, 64, 128};

/// How much is measured.
struct Extent {
  std::size_t alerts;
  int rounds;
  Milliseconds time;
  std::size_t prepared;
};
constexpr Extent kWhole = {100000, 5, Milliseconds(1000), 40000};
constexpr Extent kQuick = {1000, 1, Milliseconds(20), 1000};

/// What is to be reached.
struct Target {
  std::size_t clients;
  double timesBare;
};
constexpr std::array<Target, 2> kTargets = {{{16, 5}, {64, 8}}};
constexpr Milliseconds kLongestWait(4);
constexpr std::size_t kClientsThatWaitShortly = 16;

/// Milliseconds of each round.
struct Measured {
  std::vector<double> bare;  ///< an insert
  std::vector<double> ours;  ///< from one save to the next one, whoever saves
  std::vector<double> wait;  ///< that 99 of 100 saves do not exceed

  // For each save.
  std::vector<double> switches;   ///< of threads of the daemon
  std::vector<double> kilobytes;  ///< written to files
};

/// The value that so much of the others, of 1, do not exceed.
double quantile(std::vector<double> values, double part) {
  const auto place =
      values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), place, values.end());
  return *place;
}

double median(const std::vector<double>& values) {
  return quantile(values, 0.5);
}

class Writers {
 public:
  explicit Writers(const Extent& extent)
      : extent_(extent),
        root_(preparedSystem(directory_, extent.alerts, 0)),
        copy_(directory_.path() + "/bare.db"),
        attributes_(
            PropertyListSerialization::binaryData(*sampleAlert(0).attributes, nullptr)->view()) {
    std::filesystem::copy(root_ + std::string(kStoreDirectory) + "/alertData.db", copy_);
    bare_ = std::make_unique<BareStore>(copy_);
    daemon_ = std::make_unique<DaemonProcess>(root_);
  }

  void measure(std::size_t clients, Measured& measured) {
    measured.bare.push_back(insertBare());
    saves_.prepare(extent_.prepared);
    const std::size_t switches = daemon_->contextSwitches();
    const std::size_t written = daemon_->writtenBytes();
    const auto start = Clock::now();
    std::vector<std::vector<double>> waits(clients);
    std::vector<std::thread> threads;
    for (std::vector<double>& own : waits) {
      threads.emplace_back([this, &own, end = start + extent_.time] { save(own, end); });
    }
    for (std::thread& thread : threads) {
      thread.join();
    }
    const Milliseconds time = Clock::now() - start;
    std::vector<double> all;
    for (const std::vector<double>& own : waits) {
      all.insert(all.end(), own.begin(), own.end());
    }
    const auto saves = static_cast<double>(all.size());
    measured.ours.push_back(time.count() / saves);
    measured.switches.push_back(static_cast<double>(daemon_->contextSwitches() - switches) / saves);
    measured.kilobytes.push_back(static_cast<double>(daemon_->writtenBytes() - written) / 1000 /
                                 saves);
    measured.wait.push_back(quantile(std::move(all), 0.99));
  }

 private:
  double insertBare() {
    const auto start = Clock::now();
    std::size_t count = 0;
    for (const auto end = start + extent_.time / 4; count == 0 || Clock::now() < end; ++count) {
      bare_->insert(newAlert(bareNumber_++), attributes_);
    }
    return Milliseconds(Clock::now() - start).count() / static_cast<double>(count);
  }

  void save(std::vector<double>& waits, std::chrono::time_point<Clock, Milliseconds> end) {
    MessageSocket client = daemon_->connect();
    Clock::time_point before;
    do {
      before = Clock::now();
      if (!saves_.saveNext(client)) {
        fmt::print(stderr, "an alert was not saved\n");
        std::exit(1);
      }
      waits.push_back(Milliseconds(Clock::now() - before).count());
    } while (before < end);
  }

  const Extent extent_;
  const BenchDirectory directory_;
  const std::string root_;
  const std::string copy_;
  const std::string attributes_;
  std::size_t bareNumber_ = kFirstNew;
  std::unique_ptr<BareStore> bare_;
  std::unique_ptr<DaemonProcess> daemon_;
  PreparedSaves saves_;
};

std::string verdict(std::size_t clients, double ratio, double wait) {
  std::string text;
  for (const Target& target : kTargets) {
    if (target.clients != clients) continue;
    text += fmt::format("at least {:g}: {}", target.timesBare,
                        ratio >= target.timesBare ? "met" : "MISSED");
  }
  if (clients == kClientsThatWaitShortly) {
    text += fmt::format("; {:g} ms: {}", kLongestWait.count(),
                        wait <= kLongestWait.count() ? "met" : "MISSED");
  }
  return text;
}

void print(const std::vector<Measured>& all) {
  fmt::print(
      "| Clients | Bare insert | A save | Ratio of rates | Saves a second | 99 of 100 within | "
      "Switches a save | Written a save | Target |\n|---|---|---|---|---|---|---|---|---|\n");
  for (std::size_t index = 0; index < kClients.size(); ++index) {
    const Measured& measured = all[index];
    const double ours = median(measured.ours);
    const double ratio = median(measured.bare) / ours;
    const double wait = median(measured.wait);
    fmt::print(
        "| {} | {:.1f} µs | {:.1f} µs | {:.2f} | {:.0f} | {:.2f} ms | {:.1f} | {:.1f} KB | {} |\n",
        kClients[index], median(measured.bare) * 1000, ours * 1000, ratio, 1000 / ours, wait,
        median(measured.switches), median(measured.kilobytes),
        verdict(kClients[index], ratio, wait));
  }
}

/// For bench/plot.
void write(const std::string& path, const std::vector<Measured>& all) {
  std::ofstream lines(path);
  lines << "what\tsize\tours ms\tbare ms\n";
  for (std::size_t index = 0; index < kClients.size(); ++index) {
    const Measured& measured = all[index];
    const double bare = median(measured.bare);
    lines << fmt::format(
        "Time from save to save, by clients\t{0}\t{1}\t{3}\n"
        "99 of 100 saves within, by clients\t{0}\t{2}\t{3}\n",
        kClients[index], median(measured.ours), median(measured.wait), bare);
  }
}

int run(const std::vector<std::string>& arguments) {
  std::signal(SIGPIPE, SIG_IGN);
  raiseDescriptorLimit();
  const bool isQuick = !arguments.empty() && arguments.front() == "--quick";
  if (::geteuid() != 0) {
    fmt::print("root alone may save alerts\n");
    return 0;
  }
  const Extent& extent = isQuick ? kQuick : kWhole;
  Writers writers(extent);
  std::vector<Measured> all(kClients.size());
  for (int round = 0; round < extent.rounds; ++round) {
    for (std::size_t index = 0; index < kClients.size(); ++index) {
      writers.measure(kClients[index], all[index]);
    }
  }
  print(all);
  if (!arguments.empty() && !isQuick) write(arguments.front(), all);
  return 0;
}

}  // namespace
}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run({argv + 1, argv + argc});
}
