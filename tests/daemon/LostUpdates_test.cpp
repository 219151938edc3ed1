// SPDX-License-Identifier: Apache-2.0
// Two clients at the same records. A recovery action that takes its time is at hand: it says that
// it has begun, and ends when the test lets it.

#include <atomic>
#include <fstream>
#include <functional>
#include <future>
#include <sys/stat.h>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/SettledChange.h"
#include "tests/daemon/Callers.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class LostUpdatesTest : public ::testing::Test {
 protected:
  LostUpdatesTest() {
    system_.clock.set(1000);
    system_.addBundle("Disk.bundle",
                      "{ VLAlertTypes = { Full = { RecoveryOptions = (Slow); }; }; }");
    for (const auto& pipe : {begun_, end_}) {
      EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    }
    system_.addAction("Disk.bundle", "Slow",
                      "echo >" + begun_.string() + "; read line <" + end_.string());
    auto store = system_.store();
    store.insertAlertBundle("Disk", "Disks");
    for (const char* identifier : {"a", "b"}) {
      VLAlert alert;
      alert.identifier = identifier;
      alert.type = "Full";
      alert.bundle = "Disk";
      alert.sentDate = Date(identifier[0]);
      alert.attributes = PropertyList::Dictionary{{"volume", "/home"}};
      store.insertAlert(alert);
    }
    EXPECT_TRUE(store.save(nullptr));
  }

  /// Makes the call in a thread of its own, and the others while its actions run: one after each
  /// action has begun.
  template <typename Call>
  void during(Call call, const std::vector<std::function<void()>>& others) {
    std::thread caller(call);
    for (const auto& other : others) {
      std::ifstream(begun_.string()).get();
      other();
      std::ofstream(end_.string()) << "\n";
    }
    caller.join();
  }

  template <typename Operation, typename... Arguments>
  std::optional<Error> call(Operation operation, Arguments... arguments) {
    ErrorAnswer answer;
    ((*root_).*operation)(std::move(arguments)..., answer.block());
    EXPECT_EQ(answer.calls, 1);
    return answer.error;
  }

  void recover(const std::vector<std::function<void()>>& others,
               const std::optional<Error>& expected = std::nullopt) {
    during([&] { EXPECT_EQ(call(&AlertsDaemon::performRecoveryAction, "Slow", "a"), expected); },
           others);
  }

  /// What a period lists that has nothing but what the round resolved.
  std::vector<std::string> round(const std::vector<std::function<void()>>& others) {
    std::vector<std::string> listed;
    during(
        [&] {
          Answer<AlertSequence> answer;
          root_->getAlertsFromDate(Date(5000), Date(6000), answer.block());
          EXPECT_EQ(answer.error, std::nullopt);
          for (; const VLAlert* alert = answer.data->current(nullptr); answer.data->advance()) {
            listed.push_back(alert->identifier.value_or("none"));
          }
        },
        others);
    return listed;
  }

  void read(const std::string& identifier, double when = 2000) {
    system_.clock.set(when);
    EXPECT_EQ(call(&AlertsDaemon::markAlertAsReadWithAlertId, identifier), std::nullopt);
  }
  void resolve(const std::string& identifier, double when = 2000) {
    system_.clock.set(when);
    EXPECT_EQ(call(&AlertsDaemon::markAlertAsResolvedWithAlertId, identifier), std::nullopt);
    system_.clock.set(3000);
  }
  void remove(const std::string& identifier) {
    EXPECT_EQ(call(&AlertsDaemon::deleteAlertsWithIds, std::vector{identifier}), std::nullopt);
  }
  std::optional<VLAlert> alert(const std::string& identifier) {
    return system_.store().getAlertWithIdentifier(identifier, nullptr);
  }

  ScratchSystem system_;
  const std::filesystem::path begun_ = system_.root.path() / "begun";
  const std::filesystem::path end_ = system_.root.path() / "end";
  const std::unique_ptr<AlertsDaemon> root_ = AlertsDaemon::initAsRoot(servicesOf(system_));
};

TEST_F(LostUpdatesTest, WhatIsReadWhileAnActionRunsStaysRead) {
  recover({[&] { read("a"); }});
  EXPECT_EQ(alert("a")->readDate, Date(2000));
  EXPECT_EQ(alert("a")->resolvedDate, Date(2000));
  EXPECT_EQ(alert("a")->attributes, (PropertyList::Dictionary{{"volume", "/home"}}));
}

TEST_F(LostUpdatesTest, WhatIsResolvedWhileAnActionRunsKeepsItsDate) {
  recover({[&] { resolve("a"); }});
  EXPECT_EQ(alert("a")->resolvedDate, Date(2000));
}

TEST_F(LostUpdatesTest, WhatWasResolvedBeforeAnActionIsResolvedAgain) {
  resolve("a");
  recover({[] {}});
  EXPECT_EQ(alert("a")->resolvedDate, Date(3000));
}

TEST_F(LostUpdatesTest, WhatIsDeletedWhileAnActionRunsStaysDeleted) {
  recover({[&] { remove("a"); }},
          makeError("VeltoAlertsStore", 100, "Update Alert: Alert not found."));
  EXPECT_EQ(alert("a"), std::nullopt);
}

TEST_F(LostUpdatesTest, AnUpdateWhileAnActionRunsIsKept) {
  recover({[&] {
    auto changed = *alert("a");
    changed.attributes = PropertyList::Dictionary{{"volume", "/var"}};
    auto store = system_.store();
    EXPECT_TRUE(store.updateAlert(changed, nullptr));
    EXPECT_TRUE(store.save(nullptr));
  }});
  EXPECT_EQ(alert("a")->attributes, (PropertyList::Dictionary{{"volume", "/var"}}));
  EXPECT_EQ(alert("a")->resolvedDate, Date(1000));
}

TEST_F(LostUpdatesTest, ARoundKeepsWhatWasReadMeanwhile) {
  EXPECT_THAT(round({[&] { read("a"); }, [&] { read("b"); }}), ElementsAre("b", "a"));
  for (const char* identifier : {"a", "b"}) {
    EXPECT_EQ(alert(identifier)->readDate, Date(2000));
    EXPECT_EQ(alert(identifier)->resolvedDate, Date(2000));
  }
}

TEST_F(LostUpdatesTest, ARoundLeavesOutWhatOthersHaveResolved) {
  EXPECT_THAT(round({[] {}, [&] { resolve("b"); }}), ElementsAre("a"));
  EXPECT_EQ(alert("b")->resolvedDate, Date(2000));
  EXPECT_EQ(alert("a")->resolvedDate, Date(3000));
}

TEST_F(LostUpdatesTest, ARoundGoesOnWithoutWhatIsDeletedMeanwhile) {
  EXPECT_THAT(round({[] {}, [&] { remove("b"); }}), ElementsAre("a"));
  EXPECT_EQ(alert("a")->resolvedDate, Date(1000));
  EXPECT_THAT(system_.log.lines(), IsEmpty());
}

TEST_F(LostUpdatesTest, SettingsAndRecipientsAreSavedWhileAnActionRuns) {
  recover({[&] {
    EXPECT_EQ(call(&AlertsDaemon::disableAlertBundle, "Disk"), std::nullopt);
    EXPECT_EQ(
        call(&AlertsDaemon::addMailRecipients, std::vector<MailRecipientOrAddress>{"a@b.org"}),
        std::nullopt);
    EXPECT_EQ(call(&AlertsDaemon::setAttributes, PropertyList::Dictionary{{"a", "b"}}),
              std::nullopt);
  }});
  auto store = system_.store();
  EXPECT_THAT(store.getEnabledAlertBundleNames(nullptr), IsEmpty());
  EXPECT_THAT(store.getMailRecipients(nullptr), SizeIs(1));
  EXPECT_THAT(store.getAttributes(nullptr), SizeIs(1));
  EXPECT_EQ(alert("a")->resolvedDate, Date(1000));
}

// --- Changes that meet ---

/// Makes a change and, the first few times, another one between its reading and its save.
class SettledChangeTest : public LostUpdatesTest {
 protected:
  template <typename Change, typename Other>
  int save(Change change, Other other, int times = 1) {
    int calls = 0;
    EXPECT_EQ(saveSettled(system_.container,
                          [&](ADAlertStore& store) {
                            const bool changed = change(store);
                            if (++calls <= times) {
                              auto others = system_.store();
                              other(others);
                              EXPECT_TRUE(others.save(nullptr));
                            }
                            return changed;
                          }),
              std::nullopt);
    return calls;
  }
};

TEST_F(SettledChangeTest, MarksOfOneAlertAreBothKept) {
  EXPECT_EQ(save([](ADAlertStore& store) { return store.markAlertAsRead("a", Date(1), nullptr); },
                 [](ADAlertStore& store) { store.markAlertAsResolved("a", Date(2), nullptr); }),
            2);
  EXPECT_EQ(alert("a")->readDate, Date(1));
  EXPECT_EQ(alert("a")->resolvedDate, Date(2));
}

TEST_F(SettledChangeTest, AMarkOfADeletedAlertFindsNone) {
  std::optional<Error> error;
  EXPECT_EQ(save([&](ADAlertStore& store) { return store.markAlertAsRead("a", Date(1), &error); },
                 [&](ADAlertStore& store) { store.deleteAlert(*alert("a"), nullptr); }),
            2);
  EXPECT_EQ(error, makeError("VeltoAlertsStore", 100, "Update Alert: Alert not found."));
}

TEST_F(SettledChangeTest, ADeletionMeetsAMark) {
  EXPECT_EQ(save([](ADAlertStore& store) { return store.deleteAlertsWithIds({"a"}, nullptr) == 1; },
                 [](ADAlertStore& store) { store.markAlertAsRead("a", Date(1), nullptr); }),
            2);
  EXPECT_EQ(alert("a"), std::nullopt);
}

TEST_F(SettledChangeTest, SwitchesOfOneBundleAreBothKept) {
  EXPECT_EQ(save([](ADAlertStore& store) { return store.disableAlertBundle("Disk", nullptr); },
                 [](ADAlertStore& store) {
                   store.setAlertBundleSettings({{"Disk", {std::nullopt, false, true}}}, nullptr);
                 }),
            2);
  auto store = system_.store();
  EXPECT_THAT(store.getEnabledAlertBundleNames(nullptr), IsEmpty());
  EXPECT_EQ(store.getAlertBundle("Disk", nullptr)->pushEnabled, false);
}

TEST_F(SettledChangeTest, RecipientsAndAttributesMeetToo) {
  auto store = system_.store();
  store.insertPushRecipientWithName("x", "guid", Data("token"), "en");
  store.setAttributes({{"a", "0"}}, nullptr);
  ASSERT_TRUE(store.save(nullptr));
  EXPECT_EQ(
      save([](ADAlertStore& one) { return one.disablePushRecipientWithGUID("guid", nullptr); },
           [](ADAlertStore& other) { other.enablePushRecipientWithGUID("guid", nullptr); }),
      2);
  EXPECT_EQ(system_.store().getPushRecipients(nullptr).at(0).enabled, false);
  EXPECT_EQ(save(
                [](ADAlertStore& one) {
                  return one.setAttributes({{"a", "1"}}, nullptr);
                },
                [](ADAlertStore& other) {
                  other.setAttributes({{"a", "2"}}, nullptr);
                }),
            2);
  EXPECT_EQ(system_.store().getAttributes(nullptr)["a"], "1");
}

TEST_F(SettledChangeTest, NewcomersWaitForWhoTriesAgain) {
  int calls = 0;
  std::atomic<bool> hasNewcomerRun = false;
  std::thread newcomer;
  const auto failure = saveSettled(system_.container, [&](ADAlertStore& store) {
    store.markAlertAsRead("a", Date(++calls), nullptr);
    if (calls == 1) {
      auto others = system_.store();
      others.markAlertAsRead("a", Date(-1), nullptr);
      return others.save(nullptr);
    }
    newcomer = std::thread([&] {
      saveSettled(system_.container, [&](ADAlertStore& own) {
        hasNewcomerRun = true;
        return own.markAlertAsRead("a", Date(9), nullptr);
      });
    });
    while (system_.container.secondAttempters() < 2) {
      std::this_thread::yield();
    }
    EXPECT_FALSE(hasNewcomerRun);
    return true;
  });
  newcomer.join();
  EXPECT_FALSE(failure);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(alert("a")->readDate, Date(9));
}

TEST_F(SettledChangeTest, GivesUpInTheEndWithTheConflict) {
  int calls = 0;
  const auto failure = saveSettled(system_.container, [&](ADAlertStore& store) {
    store.markAlertAsRead("a", Date(++calls), nullptr);
    auto others = system_.store();
    others.markAlertAsRead("a", Date(-calls), nullptr);
    return others.save(nullptr);
  });
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->code, kConflictErrorCode);
  EXPECT_EQ(calls, 100);
  EXPECT_EQ(alert("a")->readDate, Date(-100));
}

}  // namespace
}  // namespace velto
