// SPDX-License-Identifier: Apache-2.0
// What a bundle's texts cost after the first time, beside a look-up in a map.

#include <map>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include "alerts/AlertBundleRegistry.h"
#include "bench/Comparisons.h"
#include "bench/SampleStore.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Log.h"

namespace velto::bench {

namespace {

constexpr int kLanguages = 12;

/// A bundle without code, in twelve languages.
void writeBundle(const std::string& directory) {
  writeFile(directory + "/Disk.bundle/Contents/Info.plist", "{ VLAlertTypes = { Full = {}; }; }");
  for (const char* language :
       {"de", "en", "es", "fi", "fr", "it", "ja", "nb", "nl", "pl", "pt", "zh"}) {
    writeFile(fmt::format("{}/Disk.bundle/Contents/Resources/{}.lproj/Alerts.strings", directory,
                          language),
              "\"Full.subject\" = \"%{volume} is almost full\";");
  }
}

/// The registry of the benchmarks, and an alert of its bundle.
struct Bundles {
  Bundles() : registry(directory.path(), FileManager::system(), Clock::system(), Log::system()) {
    writeBundle(directory.path());
    alert.bundle = "Disk";
    alert.type = "Full";
    alert.attributes = PropertyList::Dictionary{{"volume", PropertyList("/home")}};
    for (int number = 0; number < kLanguages; ++number) {
      byName.emplace(fmt::format("bundle {}", number), "a text");
    }
  }

  const BenchDirectory directory;
  AlertBundleRegistry registry;
  VLAlert alert;
  std::map<std::string, std::string, std::less<>> byName;
};

std::unique_ptr<Bundles> bundles;

void lookUpInMap(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(bundles->byName.find("bundle 7")->second);
  }
  state.SetItemsProcessed(state.iterations());
}

void alertSubclass(benchmark::State& state) {
  for (auto _ : state) {
    if (bundles->registry.alertSubclass(bundles->alert, nullptr) == nullptr) {
      state.SkipWithError("the bundle is not known");
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void subject(benchmark::State& state) {
  const auto alert = bundles->registry.alertSubclass(bundles->alert, nullptr);
  for (auto _ : state) {
    if (alert->subject("fr_CA") != "/home is almost full") {
      state.SkipWithError("another text");
    }
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(lookUpInMap);
BENCHMARK(alertSubclass);
BENCHMARK(subject);

int run(int argc, char** argv) {
  takeArguments(argc, argv);
  bundles = std::make_unique<Bundles>();
  const int status =
      runAndCompare({{"An alert as an object of its bundle beside a look-up in a map of 12",
                      "lookUpInMap", "alertSubclass", Comparison::Goal::kTimeAtMost, 0},
                     {"Its subject in a language beside the same", "lookUpInMap", "subject",
                      Comparison::Goal::kTimeAtMost, 0}},
                    {});
  bundles.reset();
  return status;
}

}  // namespace

}  // namespace velto::bench

int main(int argc, char** argv) {
  return velto::bench::run(argc, argv);
}
