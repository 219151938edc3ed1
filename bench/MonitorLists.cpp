// SPDX-License-Identifier: Apache-2.0
#include "bench/MonitorLists.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "bench/SampleStore.h"
#include "store/AlertPages.h"

namespace velto::bench {
namespace {

constexpr int kRepetitions = 9;
constexpr double kPageTarget = 5;
constexpr double kTextTarget = 300;
constexpr double kHistoryTarget = 50;

std::string monitorCall(std::string_view method, const std::string& parameters) {
  return fmt::format(R"({{"method":"com.ulmora.velto.AlertsMonitor.{}","parameters":{{{}}}}})",
                     method, parameters) +
         '\0';
}

/// The median, in milliseconds.
double timeOf(MessageSocket& client, const std::string& call) {
  std::vector<double> times;
  for (int repetition = 0; repetition < kRepetitions; ++repetition) {
    const auto start = std::chrono::steady_clock::now();
    const std::string reply = ask(client, call);
    times.push_back(
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
            .count());
    if (reply.find(R"("error")") != std::string::npos) {
      fmt::print(stderr, "{}\n", reply);
    }
  }
  std::nth_element(times.begin(), times.begin() + kRepetitions / 2, times.end());
  return times[kRepetitions / 2];
}

const char* verdict(double most, double target) {
  return most <= target ? "met" : "MISSED";
}

/// `filter` is the parameters, as JSON.
Reading pageReading(MessageSocket& client, std::size_t alerts, const std::string& title,
                    const std::string& filter, double target) {
  const auto after = [&](std::size_t number) {
    return fmt::format(
        R"({}"after":"{}")", filter.empty() ? "" : filter + ",",
        positionText({Date(sampleSentDate(number)), static_cast<std::int64_t>(number + 1)}));
  };
  const double first = timeOf(client, monitorCall("List", filter));
  const double middle = timeOf(client, monitorCall("List", after(alerts / 2)));
  const double last =
      timeOf(client, monitorCall("List", after(std::min<std::size_t>(alerts, 150))));
  return {
      "A page of 100, " + title,
      fmt::format("{:.2f}, {:.2f} and {:.2f} ms at the first, a middle and the last position "
                  "(at most {:g}: {})",
                  first, middle, last, target, verdict(std::max({first, middle, last}), target))};
}

Reading historyReading(MessageSocket& client, std::size_t alerts, int steps) {
  constexpr double kLength = 90 * 86400.0;
  const double to = sampleSentDate(alerts);
  const double time =
      timeOf(client, monitorCall("GetHistory", fmt::format(R"("from":{},"to":{},"step":{})",
                                                           to - kLength, to, kLength / steps)));
  return {fmt::format("A history of 90 days in {} steps", steps),
          fmt::format("{:.1f} ms (at most {:g}: {})", time, kHistoryTarget,
                      verdict(time, kHistoryTarget))};
}

struct Row {
  const char* title;
  std::string filter;
  double target = kPageTarget;
};

}  // namespace

std::vector<Reading> listReadings(const DaemonProcess& daemon, std::size_t alerts) {
  const Row rows[] = {
      {"all", ""},
      {"a bundle's", R"("bundle":"Bundle3")"},
      {"a type's", R"("type":"Type7")"},
      {"from a date on", R"("from":0)"},
      {"to a date", fmt::format(R"("to":{})", sampleSentDate(alerts))},
      {"unread", R"("unread":true)"},
      {"read", R"("unread":false)"},
      {"unresolved", R"("unresolved":true)"},
      {"resolved", R"("unresolved":false)"},
      {"unread and unresolved, with subjects", R"("unread":true,"unresolved":true,"locale":"en")"},
      {"with a text that all have", R"("text":"BY-UUID")"},
      {"with a text that none has", R"("text":"nowhere to be found")", kTextTarget}};
  MessageSocket client = daemon.connect();
  std::vector<Reading> readings;
  for (const Row& row : rows) {
    readings.push_back(pageReading(client, alerts, row.title, row.filter, row.target));
  }
  for (const int steps : {90, 1000}) {
    readings.push_back(historyReading(client, alerts, steps));
  }
  return readings;
}

}  // namespace velto::bench
