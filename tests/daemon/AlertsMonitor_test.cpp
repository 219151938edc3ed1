// SPDX-License-Identifier: Apache-2.0
// The state of the service, and who may ask for it.
#include "daemon/AlertsMonitor.h"

#include <thread>

#include <gtest/gtest.h>

#include "store/SettledChange.h"
#include "tests/daemon/Callers.h"

namespace velto {
namespace {

constexpr const char* kNotPermitted =
    R"({"error":"com.ulmora.velto.AlertsMonitor.NotPermitted","parameters":{}})";

VLAlert alertNamed(std::string identifier) {
  VLAlert alert;
  alert.identifier = std::move(identifier);
  return alert;
}

class AlertsMonitorTest : public ::testing::Test {
 protected:
  AlertsMonitor monitor(bool isPermitted = true) {
    return AlertsMonitor(services_, watching_, connections_, isPermitted);
  }
  MonitorStatus status() { return std::get<MonitorStatus>(monitor().getStatus()); }

  void change(const std::function<bool(ADAlertStore&)>& work) {
    EXPECT_EQ(saveSettled(stores_, work), std::nullopt);
  }
  void insert(int count) {
    change([count](ADAlertStore& store) {
      for (int index = 0; index < count; ++index) {
        store.insertAlert(alertNamed(std::to_string(index)));
      }
      return true;
    });
  }

  ScratchSystem system_;
  StoreWatch watch_;
  DeliveryCounts deliveries_{system_.deliveries, system_.clock};
  ServiceCounts connections_;
  const AlertsMonitorServices watching_{watch_, deliveries_, Date(5)};
  StoreContainer stores_{resourceDirectory(),
                         system_.path(kStoreDirectory).string(),
                         {.bundles = system_.bundles,
                          .languages = system_.languages,
                          .entries = DirectoryEntries::system(),
                          .clock = system_.clock,
                          .log = system_.log,
                          .observer = &watch_}};
  const AlertsDaemonServices services_{stores_,        system_.bundles, system_.pusher,
                                       system_.mailer, system_.clock,   system_.log};
};

TEST_F(AlertsMonitorTest, WhoMayNotWatchIsToldSoByEveryMethod) {
  AlertsMonitor closed = monitor(false);
  EXPECT_EQ(std::get<CallReply>(closed.getStatus()).text(), kNotPermitted);
  EXPECT_EQ(std::get<CallReply>(closed.list({})).text(), kNotPermitted);
  EXPECT_EQ(std::get<CallReply>(closed.getAlert("i", {})).text(), kNotPermitted);
  EXPECT_EQ(std::get<CallReply>(closed.getHistory(Date(0), Date(1), 1)).text(), kNotPermitted);
  EXPECT_EQ(std::get<CallReply>(closed.follow({}, {})).text(), kNotPermitted);
  EXPECT_FALSE(watch_.feed.isFollowed());
}

TEST_F(AlertsMonitorTest, NothingIsAskedOfWhoSavesBeforeSomebodyWatches) {
  insert(1);
  EXPECT_FALSE(watch_.wantsRows());
  status();
  EXPECT_TRUE(watch_.wantsRows());
}

TEST_F(AlertsMonitorTest, CountsWhatIsThereAndWhatComes) {
  insert(10);
  EXPECT_EQ(status().counts, (MonitorCounts{10, 10, 10}));
  change([](ADAlertStore& store) {
    return store.markAlertAsRead("1", Date(1), nullptr) &&
           store.markAlertAsResolved("2", Date(1), nullptr);
  });
  EXPECT_EQ(status().counts, (MonitorCounts{10, 9, 9}));
  change([](ADAlertStore& store) {
    store.markAlertAsRead("1", Date(2), nullptr);
    return store.deleteAlertsWithIds(std::vector<std::string>{"1", "2", "3"}, nullptr) == 3;
  });
  EXPECT_EQ(status().counts, (MonitorCounts{7, 7, 7}));
  insert(1500);
  change([](ADAlertStore& store) {
    std::vector<std::string> all;
    for (int index = 0; index < 1500; ++index) {
      all.push_back(std::to_string(index));
    }
    return store.deleteAlertsWithIds(all, nullptr) == 1507;
  });
  EXPECT_EQ(status().counts, (MonitorCounts{0, 0, 0}));
  EXPECT_EQ(status().store.failedSaves, 0);
}

/// Asked for the first time amid saves, on several threads.
TEST_F(AlertsMonitorTest, TheFirstCountMissesNoCommitAndCountsNoneTwice) {
  std::vector<std::thread> threads;
  for (int index = 0; index < 3; ++index) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        insert(2);
        if (round % 10 == 5) status();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(status().counts, (MonitorCounts{300, 300, 300}));
}

TEST_F(AlertsMonitorTest, TellsOfTheConnections) {
  connections_.connections = 3;
  connections_.calls = 2;
  connections_.served = 9;
  const MonitorStatus now = status();
  EXPECT_EQ((std::vector{now.connections, now.calls, now.served}),
            (std::vector<std::int64_t>{3, 2, 9}));
  EXPECT_EQ(now.startDate, Date(5));
}

TEST_F(AlertsMonitorTest, TellsWhyThereIsNoStore) {
  system_.root.write("Library/Velto/Alerts/alertData.db", std::string(5000, 'x'));
  const MonitorStatus now = status();
  EXPECT_FALSE(now.store.usable);
  EXPECT_EQ(now.store.problem, stores_.problem());
  EXPECT_EQ(now.store.size, 5000);
  EXPECT_EQ(now.counts, MonitorCounts());
}

TEST_F(AlertsMonitorTest, TellsOfDeliveriesThatFailed) {
  VLAlert alert;
  {
    const DeliveryUnderWay mail(deliveries_, "mail");
    EXPECT_EQ(status().channels.at(0).pending, 1);
    EXPECT_EQ(status().channels.at(1).pending, 0);
  }
  deliveries_.add(alert,
                  {.channel = "mail", .recipients = "a", .locale = "en", .isDelivered = true});
  system_.clock.set(7);
  deliveries_.add(
      alert,
      {.channel = "mail", .recipients = "a", .locale = "en", .status = 3, .reason = "no route"});
  const MonitorChannel mail = status().channels.at(0);
  EXPECT_EQ(mail.name, "mail");
  EXPECT_EQ((std::vector{mail.delivered, mail.failed, mail.pending}),
            (std::vector<std::int64_t>{1, 1, 0}));
  EXPECT_EQ(mail.lastFailure, Date(7));
  EXPECT_EQ(mail.lastError, "no route");
  EXPECT_EQ(system_.deliveries.entries().size(), 2u) << "they are noted all the same";
}

}  // namespace
}  // namespace velto
