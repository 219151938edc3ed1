// SPDX-License-Identifier: Apache-2.0
#include "bench/SampleStore.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"

namespace velto::bench {

namespace {

namespace fs = std::filesystem;

constexpr double kFirstSent = 7e8;
constexpr double kSecondsApart = 30;
constexpr std::size_t kAlertsASave = 10000;

}  // namespace

BenchDirectory::BenchDirectory() {
  const char* chosen = std::getenv("VELTO_BENCH_DIRECTORY");
  std::string name =
      (chosen == nullptr ? fs::temp_directory_path() : fs::path(chosen)) / "velto-bench-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    fmt::print(stderr, "cannot make a directory like {}\n", name);
    std::exit(1);
  }
  path_ = name;
}

BenchDirectory::~BenchDirectory() {
  fs::remove_all(path_);
}

std::string BenchDirectory::make(const std::string& name) const {
  std::string directory = path_ + "/" + name;
  fs::create_directory(directory);
  return directory;
}

StoreParts::StoreParts(const BenchDirectory& directory)
    : alertsDirectory_(directory.make("alert-bundles")),
      bundles_(alertsDirectory_, FileManager::system(), Clock::system(), Log::system()),
      languages_(alertsDirectory_, FileManager::system(), preferredLanguages) {}

StoreServices StoreParts::services() {
  return {.bundles = bundles_,
          .languages = languages_,
          .entries = DirectoryEntries::system(),
          .clock = Clock::system(),
          .log = Log::system()};
}

void writeFile(const std::string& path, const std::string& content) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path) << content;
}

VLAlert sampleAlert(std::size_t number) {
  VLAlert alert;
  alert.type = fmt::format("Type{}", number % 20);
  alert.bundle = fmt::format("Bundle{}", number % 10);
  const double sent = sampleSentDate(number);
  // As the daemon makes them.
  alert.identifier = fmt::format("{}:{:x}", *alert.type, static_cast<std::uint64_t>(sent * 1e6));
  alert.creationDate = Date(sent - 1);
  alert.sentDate = Date(sent);
  if (number % 2 == 0) {
    alert.readDate = Date(sent + 5);
  }
  if (number % 3 == 0) {
    alert.resolvedDate = Date(sent + 10);
  }
  alert.attributes = PropertyList::Dictionary{
      {"volume", PropertyList("/home")},
      {"percent", PropertyList(std::int64_t{93})},
      {"device", PropertyList("/dev/disk/by-uuid/" + std::to_string(number))}};
  return alert;
}

VLAlert newAlert(std::size_t number) {
  VLAlert alert = sampleAlert(number);
  alert.readDate.reset();
  alert.resolvedDate.reset();
  return alert;
}

double sampleSentDate(std::size_t number) {
  return kFirstSent + kSecondsApart * static_cast<double>(number);
}

void fill(StoreContainer& container, std::size_t alerts, std::size_t listed) {
  for (std::size_t number = 0; number < alerts;) {
    ADAlertStore store(container);
    for (const std::size_t end = std::min(alerts, number + kAlertsASave); number < end; ++number) {
      VLAlert alert = sampleAlert(number);
      if (number < listed) {
        alert.type = kListedType;
      }
      store.insertAlert(alert);
    }
    std::optional<Error> error;
    if (!store.save(&error)) {
      fmt::print(stderr, "{}\n", error->localizedDescription());
      std::exit(1);
    }
  }
}

}  // namespace velto::bench
