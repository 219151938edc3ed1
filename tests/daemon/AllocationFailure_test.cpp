// SPDX-License-Identifier: Apache-2.0
// What becomes of the daemon when memory runs out in the middle of a call, on whichever thread, in
// our own code or in the libraries: the call fails or its connection ends, and nobody else notices.

#include <cstdlib>
#include <cstring>
#include <curl/curl.h>
#include <filesystem>
#include <iostream>
#include <malloc.h>
#include <random>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "daemon/DaemonParts.h"
#include "daemon/FeedPacer.h"
#include "daemon/ICUMemory.h"
#include "platform/connection/RunLoop.h"
#include "tests/connection/TestClient.h"
#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/FailingAllocations.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeDeliveryJournal.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

namespace fs = std::filesystem;

/// Before anything uses it.
const bool sqliteFailsToo = [] {
  static const sqlite3_mem_methods methods = {
      .xMalloc = [](int size) { return failableMalloc(static_cast<std::size_t>(size)); },
      .xFree = std::free,
      .xRealloc = [](void* memory,
                     int size) { return failableRealloc(memory, static_cast<std::size_t>(size)); },
      .xSize = [](void* memory) { return static_cast<int>(::malloc_usable_size(memory)); },
      .xRoundup = [](int size) { return (size + 7) / 8 * 8; },
      .xInit = [](void*) { return SQLITE_OK; },
      .xShutdown = [](void*) {},
      .pAppData = nullptr};
  return ::sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) == SQLITE_OK;
}();

const bool libcurlFailsToo = [] {
  return ::curl_global_init_mem(
             CURL_GLOBAL_DEFAULT, [](std::size_t size) { return failableMalloc(size); }, std::free,
             [](void* memory, std::size_t size) { return failableRealloc(memory, size); },
             [](const char* text) {
               const std::size_t size = std::strlen(text) + 1;
               void* const copy = failableMalloc(size);
               return copy == nullptr ? nullptr : static_cast<char*>(std::memcpy(copy, text, size));
             },
             [](std::size_t count, std::size_t size) {
               void* const memory = failableMalloc(count * size);
               return memory == nullptr ? nullptr : std::memset(memory, 0, count * size);
             }) == CURLE_OK;
}();

/// ICU has its reserve then.
const bool icuFailsToo = [] {
  keepMemoryForICU(
      {.allocate = failableMalloc, .reallocate = failableRealloc, .release = kSystemHeap.release});
  return true;
}();

constexpr std::string_view kMailScript = "#!/bin/sh\nexec cat >/dev/null\n";

/// The daemon's own parts in a scratch system, served on a thread.
class Service {
 public:
  Service() {
    delegate_.emplace(parts_->services(), parts_->watching(), parts_->listenerSeams());
    listener_ = Listener::listenerWithPath(runLoop_, parts_->guests, path(), nullptr);
    listener_->setDelegate(&*delegate_);
    runLoop_.add(std::make_unique<FeedPacer>(parts_->watch.feed), Event::kInput);
    listener_->resume();
    thread_ = std::thread([this] { runLoop_.run(); });
  }
  ~Service() {
    runLoop_.stop();
    thread_.join();
  }

  std::string path() const { return (scratch_.root.path() / "socket").string(); }

 private:
  struct Scratch {
    Scratch() {
      environment.set("VELTO_ROOT", root.path().string());
      environment.set("LANGUAGE", "en");
      fs::create_directories(root.path() / "Library/Velto");
      const auto bundle = root.path() / "usr/lib/velto/alert-bundles/Disk.bundle/Contents";
      root.write(bundle / "Info.plist",
                 "{ VLAlertTypes = { Full = { RecoveryOptions = (Free); }; }; }");
      root.write(bundle / "Resources/en.lproj/Alerts.strings",
                 R"("Full.subject" = "%{volume} is full"; "Full.message" = "It is full.";)");
      makeExecutable(root.write(bundle / "Actions/Free", "#!/bin/sh\nexit 0\n"));
      makeExecutable(root.write(root.path() / "usr/sbin/sendmail", kMailScript));
      addCommonBundle();
      // Nobody is there.
      const auto identity = root.write(root.path() / "etc/velto/push/ovix:com.ulmora.alerts.plist",
                                       R"({ Endpoint = "https://127.0.0.1:9/"; })");
      fs::permissions(identity, fs::perms(0600));
    }
    void addCommonBundle() const {
      const fs::path built =
          fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "bundles/Common.bundle";
      const fs::path copy = root.path() / "usr/lib/velto/alert-bundles/Common.bundle";
      fs::copy(built, copy, fs::copy_options::recursive);
      for (const auto& entry : fs::recursive_directory_iterator(copy)) {
        fs::permissions(entry, fs::perms(0755));
      }
      makeExecutable(copy);
    }
    void makeExecutable(const fs::path& file) const {
      for (fs::path each = file; each != root.path(); each = each.parent_path()) {
        fs::permissions(each, fs::perms(0755));
      }
    }

    TemporaryDirectory root;
    ScopedEnvironment environment;
    FakeClock clock{500000000.5};
    FakeLog log;
    FakeDeliveryJournal deliveries;
  };

  Scratch scratch_;
  std::unique_ptr<DaemonParts> parts_{new DaemonParts{
      .clock = scratch_.clock, .log = scratch_.log, .deliveries = scratch_.deliveries}};
  RunLoop runLoop_;
  std::optional<AlertsDaemonListener> delegate_;
  std::unique_ptr<Listener> listener_;
  std::thread thread_;
};

/// The Service, for as long as the tests of this program run: what is broken by one call shows in
/// those after it.
Service& service() {
  static Service made;
  return made;
}

/// Somebody follows all the time, and reads nothing.
constexpr std::string_view kFollow =
    R"({"method":"com.ulmora.velto.AlertsMonitor.Follow","more":true})";
constexpr std::string_view kMonitor = "com.ulmora.velto.AlertsMonitor.";

std::string asked(TestClient& client, std::string_view method, std::string_view parameters = "{}",
                  std::string_view interface = "com.ulmora.velto.AlertsDaemon.") {
  const auto reply = client.ask(std::string(R"({"method":")")
                                    .append(interface)
                                    .append(method)
                                    .append(R"(","parameters":)")
                                    .append(parameters)
                                    .append("}"));
  return reply.value_or("closed");
}

/// Takes out the dates that no two calls have alike.
std::string withoutSentDates(std::string text) {
  constexpr std::string_view kKey = R"("sentDate":5000000)";
  for (auto at = text.find(kKey); at != std::string::npos; at = text.find(kKey)) {
    text.erase(at, text.find_first_of(",}", at) - at);
  }
  return text;
}

/// How many alerts there are, as the service counts them.
std::string counts(TestClient& client) {
  const std::string status = asked(client, "GetStatus", "{}", kMonitor);
  const auto start = status.find(R"("counts")");
  return status.substr(start, status.find('}', start) - start);
}

/// All that the store holds.
std::string state(TestClient& client) {
  std::string text = counts(client) + "\n";
  for (const char* method : {"GetAttributes", "GetAlertBundleSettings", "GetMailRecipients",
                             "GetPushRecipients", "GetAlertsOfBundle"}) {
    const bool ofBundle = method == std::string_view("GetAlertsOfBundle");
    text += asked(client, method, ofBundle ? R"({"bundle":"Disk"})" : "{}") + "\n";
  }
  return withoutSentDates(text);
}

void reset(TestClient& client) {
  constexpr std::pair<const char*, const char*> kCalls[] = {
      {"DeleteAlertsBeforeDate", R"({"date":1e12})"},
      {"SaveAlerts", R"({"alerts":[
          {"identifier":"1","bundle":"Disk","type":"Full","sentDate":1,"attributes":{"volume":"a"}},
          {"identifier":"2","bundle":"Disk","type":"Full","sentDate":2,"attributes":{"volume":"b"}}
        ]})"},
      {"SetAttributes", R"({"attributes":{"new":null,"old":"value"}})"},
      {"SetMailRecipients", R"({"recipients":[{"address":"a@example.org","locale":"en"},
                                              {"address":"b@example.org","locale":"fr"}]})"},
      {"SetPushRecipients", R"({"recipients":[
          {"guid":"1","token":"aGVsbG8=","name":"one","locale":"en","enabled":true},
          {"guid":"2","token":"aGVsbG9v","name":"two","locale":"fr","enabled":true}]})"},
      {"EnableAlertBundle", R"({"bundle":"Disk"})"},
      {"SetAlertBundleSettings",
       R"({"settings":{"Disk":{"name":"Disk","pushEnabled":true,"mailEnabled":true}}})"}};
  for (const auto& [method, parameters] : kCalls) {
    ASSERT_EQ(asked(client, method, parameters).find("error"), std::string::npos) << method;
  }
}

struct Operation {
  const char* method;
  const char* parameters = "{}";
  std::string_view interface = "com.ulmora.velto.AlertsDaemon.";
};

constexpr Operation kOperations[] = {
    {"GetAttributes"},
    {"SetAttributes", R"({"attributes":{"new":"a value that takes some memory","old":null}})"},
    {"PostAlert", R"({"alert":{"identifier":"3","bundle":"Disk","type":"Full",
                      "attributes":{"volume":"a name of some length","percent":99.5}}})"},
    {"SaveAlerts", R"({"alerts":[{"identifier":"3","bundle":"Disk","type":"Full","sentDate":3},
                                 {"identifier":"4","bundle":"Disk","type":"Full","sentDate":4}]})"},
    {"MarkAlertAsReadWithAlertId", R"({"alertId":"1"})"},
    {"MarkAlertAsResolvedWithAlertId", R"({"alertId":"1"})"},
    {"PerformRecoveryAction", R"({"action":"Free","alertId":"1"})"},
    {"GetAlertsFromDate", R"({"fromDate":0,"toDate":100})"},
    {"GetAlertsOfType", R"({"type":"Full"})"},
    {"GetAlertsOfBundle", R"({"bundle":"Disk"})"},
    {"GetLastAlertOfType", R"({"type":"Full"})"},
    {"GetLastAlertOfBundle", R"({"bundle":"Disk"})"},
    {"DeleteAlertsBeforeDate", R"({"date":100})"},
    {"DeleteAlertsWithIds", R"({"alertIds":["1","2"]})"},
    {"DeleteUnsupportedAlerts"},
    {"EnableAlertBundle", R"({"bundle":"Disk"})"},
    {"DisableAlertBundle", R"({"bundle":"Disk"})"},
    {"GetAlertBundleNames"},
    {"GetAlertBundleSettings"},
    {"SetAlertBundleSettings",
     R"({"settings":{"Disk":{"name":"Disk","pushEnabled":false,"mailEnabled":true}}})"},
    {"GetMailRecipients"},
    {"SetMailRecipients", R"({"recipients":[{"address":"c@example.org"},{"address":"d@e.f"}]})"},
    {"AddMailRecipients", R"({"recipients":[{"address":"c@example.org"},"d@example.org"]})"},
    {"GetPushRecipients"},
    {"SetPushRecipients", R"({"recipients":[{"guid":"3","token":"aGVsbG8=","name":"three"}]})"},
    {"AddPushRecipients", R"({"recipients":[{"guid":"3","token":"aGVsbG8=","name":"three"}]})"},
    {"GetStatus", "{}", kMonitor},
    {"List", R"({"bundle":"Disk","text":"a","locale":"en"})", kMonitor},
    {"GetAlert", R"({"identifier":"1","locale":"en"})", kMonitor},
    {"GetHistory", R"({"from":0,"to":100,"step":10})", kMonitor},
    {"Follow", R"({"bundle":"Disk"})", kMonitor}};

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
  return out << operation.method;
}

/// Which allocation is next to fail: all of the first ones, then some.
class Sample {
 public:
  std::int64_t next() {
    number_ += number_ < kAll ? 1 : 1 + static_cast<std::int64_t>(random_() % kStride);
    return number_;
  }
  std::string description() const {
    return "allocation " + std::to_string(number_) +
           ", VELTO_RANDOM_SEED=" + std::to_string(seed());
  }

 private:
  static constexpr std::int64_t kAll = 300;
  static constexpr std::uint32_t kStride = 40;

  static std::uint32_t seed() {
    static const char* const given = std::getenv("VELTO_RANDOM_SEED");
    static const auto chosen = given != nullptr
                                   ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
                                   : std::random_device()();
    return chosen;
  }

  std::mt19937 random_{seed()};
  std::int64_t number_ = 0;
};

using Lasts = FailingAllocation::Lasts;
class AllocationFailure : public testing::TestWithParam<std::tuple<Operation, Lasts>> {
 protected:
  void SetUp() override {
    ASSERT_TRUE(sqliteFailsToo && libcurlFailsToo && icuFailsToo);
    if (::geteuid() != 0) skipOrFail("only root may call every operation");
  }
};

TEST_P(AllocationFailure, EndsAtMostTheCallOrItsConnection) {
  const auto& [operation, lasts] = GetParam();
  TestClient follower(service().path());
  ASSERT_NE(follower.ask(kFollow), std::nullopt);
  TestClient bystander(service().path());
  reset(bystander);
  const std::string before = state(bystander);
  {
    TestClient client(service().path());
    ASSERT_NE(asked(client, operation.method, operation.parameters, operation.interface), "closed");
  }
  const std::string after = state(bystander);
  reset(bystander);
  ASSERT_EQ(state(bystander), before);

  Sample sample;
  bool hasFailed = true;
  int lost = 0;
  while (hasFailed && !HasFailure()) {
    const std::int64_t number = sample.next();
    SCOPED_TRACE(sample.description());
    TestClient client(service().path());
    ASSERT_NE(asked(client, "GetAlertBundleNames"), "closed");  // it has been admitted
    {
      const FailingAllocation failing(number, lasts);
      lost +=
          asked(client, operation.method, operation.parameters, operation.interface) == "closed";
      hasFailed = failing.hasFailed();
    }
    const std::string now = state(bystander);
    EXPECT_TRUE(now == before || now == after) << now << "\nneither\n"
                                               << before << "\nnor\n"
                                               << after;
    if (now != before) reset(bystander);
  }
  EXPECT_GT(lost, 0);
}

INSTANTIATE_TEST_SUITE_P(, AllocationFailure,
                         testing::Combine(testing::ValuesIn(kOperations),
                                          testing::Values(Lasts::kOnce, Lasts::kToTheEnd)),
                         [](const auto& one) {
                           return std::string(std::get<0>(one.param).method) +
                                  (std::get<1>(one.param) == Lasts::kOnce ? "Once" : "ToTheEnd");
                         });

TEST(AllocationFailureTable, HasEveryOperation) {
  std::vector<std::string_view> named;
  for (const Operation& operation : kOperations)
    named.push_back(operation.method);
  std::vector<std::string_view> all;
  for (const Protocol* protocol : {&alertsDaemonProtocol(), &alertsMonitorProtocol()}) {
    for (const ProtocolMethod& method : protocol->methods) {
      all.push_back(method.wireName);
    }
  }
  EXPECT_EQ(named, all);
}

}  // namespace
}  // namespace velto
