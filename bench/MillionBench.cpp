// SPDX-License-Identifier: Apache-2.0
// How the store's work grows with the store, from 1,000 alerts to 1,000,000, each beside bare
// SQLite doing the same in the same run. Prints a line a measurement, which bench/plot draws.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

#include <fmt/format.h>

#include "bench/MillionStore.h"
#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Paths.h"

namespace velto::bench {
namespace {

constexpr const char* kAllColumns =
    "SELECT attributes, creationDate, identifier, sentDate, type, bundle, readDate, resolvedDate "
    "FROM ADAlert ";
constexpr double kFarFuture = 1e10;

void print(const char* what, std::size_t size, const Cost& ours, const Cost& bare) {
  fmt::print("{}\t{}\t{:.3f}\t{:.3f}\t{}\t{}\n", what, size, ours.milliseconds, bare.milliseconds,
             ours.peakKiB, bare.peakKiB);
  std::fflush(stdout);
}

/// Has the alerts as a reply has them, a piece at a time.
void drain(AlertSequence alerts) {
  constexpr std::size_t kPiece = std::size_t{64} * 1024;
  std::string piece;
  do {
    piece.assign(1, '[');
  } while (alerts.appendElements(piece, kPiece, nullptr));
}

using List = AlertSequence (*)(ADAlertStore&);

void measureList(const char* what, const MillionStore& store, List list, const std::string& bare) {
  const auto container = store.open();
  container->persistentStoreCoordinator();
  BareMillion sqlite(store.path());
  const std::string select = kAllColumns + bare;
  // Once before, so that both find the file in memory.
  sqlite.read(select);
  const auto first = [&] {
    ADAlertStore handle(*container);
    list(handle);
  };
  const auto whole = [&] {
    ADAlertStore handle(*container);
    drain(list(handle));
  };
  first();
  print(fmt::format("{}, first piece", what).c_str(), store.alerts(), costOf(first),
        costOf([&] { sqlite.read(select, 1); }));
  print(what, store.alerts(), costOf(whole), costOf([&] { sqlite.read(select); }));
}

void measurePeriod(const MillionStore& store) {
  const auto container = store.open();
  container->persistentStoreCoordinator();
  BareMillion sqlite(store.path());
  const double to = sampleSentDate(store.alerts() / 2) + 20;
  const double from = to - 30 * 100;
  const auto ours = [&] {
    ADAlertStore handle(*container);
    std::optional<Error> error;
    drain(handle.recoverableAlerts(&error));
    drain(handle.alertsFromDate(Date(from), Date(to), &error));
    if (error) {
      fmt::print(stderr, "{}\n", error->localizedDescription());
    }
  };
  const std::string select =
      kAllColumns + fmt::format(
                        "WHERE (sentDate > {0} AND sentDate <= {1}) OR (readDate > {0} AND "
                        "readDate <= {1}) OR (resolvedDate > {0} AND resolvedDate <= {1}) "
                        "ORDER BY +sentDate DESC",
                        from, to);
  ours();
  sqlite.read(select);
  print("period of 100", store.alerts(), costOf(ours), costOf([&] { sqlite.read(select); }));
}

/// The longest that the disk takes to sync a page of another file, until it is done. It asks now
/// and then, so that the disk has other work.
double longestSync(const std::string& file, const std::atomic<bool>& isDone) {
  const FileDescriptor probe(::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  const std::string page(4096, 'x');
  double longest = 0;
  while (!isDone) {
    longest = std::max(longest, milliseconds([&] {
                         if (::pwrite(probe.get(), page.data(), page.size(), 0) > 0) {
                           ::fdatasync(probe.get());
                         }
                       }));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return longest;
}

struct Waits {
  double save;  ///< the longest that anybody else's save takes meanwhile
  double sync;  ///< and that the disk takes for a sync
};

Waits longestWaits(StoreContainer& container, const std::function<void()>& work) {
  std::atomic<bool> isDone = false;
  double longest = 0;
  double sync = 0;
  std::thread disk([&] { sync = longestSync(container.storePath() + "-probe", isDone); });
  std::thread other([&] {
    for (std::size_t number = 0; !isDone; ++number) {
      longest = std::max(longest, milliseconds([&] {
                           ADAlertStore handle(container);
                           VLAlert alert = newAlert(number);
                           alert.bundle = "Other";
                           alert.sentDate = Date(kFarFuture);
                           alert.identifier = fmt::format("other{}", number);
                           handle.insertAlert(alert);
                           handle.save(nullptr);
                         }));
    }
  });
  work();
  isDone = true;
  other.join();
  disk.join();
  return {longest, sync};
}

using Delete = std::function<std::uint64_t(ADAlertStore&)>;

/// Half of the store, and once more while somebody else saves.
void measureDeletion(const char* what, const MillionStore& store, const Delete& remove,
                     const std::string& bare) {
  const auto deletion = [&](StoreContainer& container) {
    return [&] {
      ADAlertStore handle(container);
      const auto count = remove(handle);
      handle.save(nullptr);
      if (count < store.alerts() / 20) {
        fmt::print(stderr, "{}: only {} were deleted\n", what, count);
      }
    };
  };
  Cost ours{};
  Waits waits{};
  {
    const auto container = store.openIn(store.copy("ours"));
    container->persistentStoreCoordinator();
    ours = costOf(deletion(*container));
  }
  {
    const auto container = store.openIn(store.copy("ours"));
    container->persistentStoreCoordinator();
    waits = longestWaits(*container, deletion(*container));
  }
  BareMillion sqlite(store.copy("bare"));
  print(what, store.alerts(), ours, costOf([&] { sqlite.execute(bare); }));
  print(fmt::format("{}, longest wait of another save, and of a sync", what).c_str(),
        store.alerts(), {waits.save, 0}, {waits.sync, 0});
}

void measureDeletions(const MillionStore& store) {
  const double half = sampleSentDate(store.alerts() / 2);
  measureDeletion(
      "delete half by date", store,
      [&](ADAlertStore& handle) { return handle.deleteAlertsBeforeDate(Date(half), nullptr); },
      fmt::format("DELETE FROM ADAlert WHERE sentDate < {}", half));
  std::vector<std::string> identifiers;
  for (std::size_t number = 0; number < store.alerts(); number += 2) {
    identifiers.push_back(*sampleAlert(number).identifier);
  }
  // The list that a caller has sent is there before the deletion begins.
  const AlertIdentifiers sent(std::move(identifiers));
  measureDeletion(
      "delete half by identifier", store,
      [&](ADAlertStore& handle) { return handle.deleteAlertsWithIds(sent, nullptr); },
      "DELETE FROM ADAlert WHERE _id % 2 = 1");
  std::vector<std::string> twice;
  for (std::size_t number = 0; number < store.alerts(); ++number) {
    twice.push_back(*sampleAlert(number / 2 * 2).identifier);
  }
  const AlertIdentifiers sentTwice(std::move(twice));
  measureDeletion(
      "delete half by identifier, each twice", store,
      [&](ADAlertStore& handle) { return handle.deleteAlertsWithIds(sentTwice, nullptr); },
      "DELETE FROM ADAlert WHERE _id % 2 = 1");
  measureDeletion(
      "delete a tenth by bundle", store,
      [](ADAlertStore& handle) { return handle.deleteAlertsWithBundleIDs({"Bundle3"}, nullptr); },
      "DELETE FROM ADAlert WHERE bundle = 'Bundle3'");
}

void measureStart(const MillionStore& store) {
  store.open()->persistentStoreCoordinator();
  const Cost ours = costOf([&] { store.open()->persistentStoreCoordinator(); });
  print("open and close", store.alerts(), ours,
        costOf([&] { BareMillion(store.copy("bare")).read("SELECT count(*) FROM ADAttribute"); }));
}

/// So many attributes, twice: new ones, and known ones.
void measureAttributes(const BenchDirectory& directory, std::size_t count) {
  StoreParts parts(directory);
  StoreContainer container(resourceDirectory(), directory.make(fmt::format("a{}", count)),
                           parts.services());
  PropertyList::Dictionary attributes;
  for (std::size_t number = 0; number < count; ++number) {
    attributes.emplace(fmt::format("name{}", number), static_cast<std::int64_t>(number));
  }
  for (const char* what : {"set new attributes", "set known attributes"}) {
    print(what, count, costOf([&] {
            ADAlertStore handle(container);
            handle.setAttributes(attributes, nullptr);
            handle.save(nullptr);
          }),
          {});
  }
}

/// All that are unresolved, as the daemon does after it has asked about them: a few in a save.
void measureResolving(const MillionStore& store) {
  constexpr std::size_t kFew = 500;
  std::vector<VLAlert> unresolved;
  for (std::size_t number = 0; number < store.alerts(); ++number) {
    if (number % 10 >= 3) unresolved.push_back(sampleAlert(number));
  }
  const auto container = store.openIn(store.copy("ours"));
  container->persistentStoreCoordinator();
  const Cost ours = costOf([&] {
    for (std::size_t begin = 0; begin < unresolved.size(); begin += kFew) {
      ADAlertStore handle(*container);
      for (std::size_t at = begin; at < std::min(begin + kFew, unresolved.size()); ++at) {
        handle.resolveAlert(unresolved[at], Date(kFarFuture), nullptr);
      }
      handle.save(nullptr);
    }
  });
  BareMillion sqlite(store.copy("bare"));
  print("resolve", unresolved.size(), ours, costOf([&] {
          sqlite.execute("UPDATE ADAlert SET resolvedDate = 1 WHERE resolvedDate IS NULL");
        }));
}

/// So many at once, added and removed.
void measureRecipients(const BenchDirectory& directory, std::size_t count) {
  StoreParts parts(directory);
  StoreContainer container(resourceDirectory(), directory.make(fmt::format("r{}", count)),
                           parts.services());
  const auto measureEach = [&](const char* what, const auto& change) {
    print(what, count, costOf([&] {
            ADAlertStore handle(container);
            for (std::size_t number = 0; number < count; ++number) {
              change(handle, fmt::format("name{}@example.com", number));
            }
            handle.save(nullptr);
          }),
          {});
  };
  measureEach("add recipients", [](ADAlertStore& handle, const std::string& address) {
    handle.insertMailRecipientWithAddress(address, "en");
  });
  measureEach("remove recipients", [](ADAlertStore& handle, const std::string& address) {
    handle.deleteMailRecipientWithAddress(address, nullptr);
  });
}

void measureLists(const MillionStore& store) {
  measureList(
      "list of all", store,
      [](ADAlertStore& handle) {
        return handle.alertsFromDate(std::nullopt, Date(kFarFuture), nullptr);
      },
      "ORDER BY sentDate DESC");
  measureList(
      "list of a period with all", store,
      [](ADAlertStore& handle) {
        return handle.alertsFromDate(Date(0), Date(kFarFuture), nullptr);
      },
      "WHERE sentDate > 0 ORDER BY sentDate DESC");
  measureList(
      "list of a bundle", store,
      [](ADAlertStore& handle) { return handle.alertsOfBundle("Bundle3", nullptr); },
      "WHERE bundle = 'Bundle3' ORDER BY sentDate DESC");
  measurePeriod(store);
}

/// All of it, or the part of that name.
void measure(const BenchDirectory& directory, std::size_t alerts, std::string_view part) {
  const auto isWanted = [&](std::string_view name) { return part.empty() || part == name; };
  const MillionStore store(directory, alerts);
  if (isWanted("lists")) measureLists(store);
  if (isWanted("start")) measureStart(store);
  if (isWanted("deletions")) measureDeletions(store);
  if (isWanted("attributes") && alerts <= 100000) {
    measureAttributes(directory, alerts);
    measureRecipients(directory, alerts);
    measureResolving(store);
  }
}

}  // namespace
}  // namespace velto::bench

int main(int argc, char** argv) {
  using namespace velto::bench;
  const bool isQuick = argc > 1 && std::strcmp(argv[1], "--quick") == 0;
  const std::string_view part = argc > 1 && !isQuick ? argv[1] : "";
  const BenchDirectory directory;
  fmt::print("what\tsize\tours ms\tbare ms\tours KiB\tbare KiB\n");
  for (std::size_t alerts = 1000; alerts <= (isQuick ? 10000 : 1000000); alerts *= 10) {
    measure(directory, alerts, part);
  }
  return 0;
}
