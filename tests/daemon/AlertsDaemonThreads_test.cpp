// SPDX-License-Identifier: Apache-2.0
// Calls of several connections at once.

#include <future>
#include <list>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "tests/daemon/Callers.h"

namespace velto {
namespace {

constexpr int kThreads = 6;
constexpr int kCallsEach = 250;

/// One root connection, which makes calls at random and knows what must come of those on its own
/// alerts, whatever the others do.
class BusyCaller {
 public:
  BusyCaller(const AlertsDaemonServices& services, unsigned number)
      : root_(AlertsDaemon::initAsRoot(services)),
        nobody_(AlertsDaemon::init(services)),
        name_("caller" + std::to_string(number)),
        random_(number) {}

  void makeCalls() {
    void (BusyCaller::*const calls[])() = {
        &BusyCaller::save,       &BusyCaller::save,   &BusyCaller::post,      &BusyCaller::remove,
        &BusyCaller::removeOld,  &BusyCaller::mark,   &BusyCaller::list,      &BusyCaller::settings,
        &BusyCaller::recipients, &BusyCaller::denied, &BusyCaller::attributes};
    for (int call = 0; call < kCallsEach; ++call) {
      (this->*calls[random_() % std::size(calls)])();
    }
  }

  /// The identifiers of this caller's alerts that must be in the store.
  const std::set<std::string>& expected() const { return expected_; }
  const std::string& name() const { return name_; }

 private:
  VLAlert newAlert() {
    VLAlert alert;
    alert.identifier = name_ + "." + std::to_string(next_++);
    alert.type = "AlmostFull";
    alert.bundle = "Disk";
    alert.sentDate = Date(1000 + next_);
    alert.attributes = PropertyList::Dictionary{{"caller", name_}};
    return alert;
  }

  void save() {
    std::vector<VLAlert> alerts = {newAlert(), newAlert()};
    expected_.insert({*alerts[0].identifier, *alerts[1].identifier});
    VLAlert old = newAlert();
    old.sentDate = Date(1);
    alerts.push_back(old);
    expectDone([&](ErrorReply reply) { root_->saveAlerts(std::move(alerts), std::move(reply)); });
  }

  void post() {
    const VLAlert alert = newAlert();
    expectDone([&](ErrorReply reply) { root_->postAlert(alert, std::move(reply)); });
    // With both channels off, as another caller may have left it, an alert is not stored.
    Answer<AlertSequence> found;
    root_->getAlertsOfType("AlmostFull", found.block());
    while (const VLAlert* each = found.data->current(nullptr)) {
      if (each->identifier == alert.identifier) {
        expected_.insert(*alert.identifier);
      }
      found.data->advance();
    }
  }

  void remove() {
    if (!expected_.empty()) {
      const std::string identifier = *expected_.begin();
      expected_.erase(identifier);
      expectDone([&](ErrorReply reply) {
        root_->deleteAlertsWithIds(std::vector{identifier}, std::move(reply));
      });
    }
  }

  void removeOld() {
    Answer<std::int64_t> answer;
    root_->deleteAlertsBeforeDate(Date(2), answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.error, std::nullopt);
  }

  void mark() {
    if (!expected_.empty()) {
      expectDone([&](ErrorReply reply) {
        root_->markAlertAsReadWithAlertId(*expected_.rbegin(), std::move(reply));
      });
    }
  }

  void list() {
    Answer<AlertSequence> answer;
    root_->getAlertsFromDate(Date(500), Date(1e12), answer.block());
    ASSERT_TRUE(answer.data);
    std::set<std::string> own;
    while (const VLAlert* alert = answer.data->current(&answer.error)) {
      const std::string& identifier = *alert->identifier;
      EXPECT_EQ(*alert->attributes,
                (PropertyList::Dictionary{{"caller", identifier.substr(0, identifier.find('.'))}}));
      if (identifier.starts_with(name_ + ".")) {
        own.insert(identifier);
      }
      answer.data->advance();
    }
    EXPECT_EQ(answer.error, std::nullopt);
    EXPECT_EQ(own, expected_);
  }

  void settings() {
    VLAlertsDaemon::BundleSettings settings;
    settings["Disk"] = {std::nullopt, random_() % 2 == 0, random_() % 2 == 0};
    // Another caller may change the same records at the same time: then nothing of this is saved.
    ErrorAnswer answer;
    root_->setAlertBundleSettings(settings, answer.block());
    EXPECT_TRUE(!answer.error || answer.error->code == kConflictErrorCode ||
                answer.error->domain == kStoreErrorDomain)
        << answer.error->localizedDescription();
    ErrorAnswer enabled;
    root_->enableAlertBundle("Disk", enabled.block());
    EXPECT_EQ(enabled.error, std::nullopt);
    Answer<std::vector<std::string>> names;
    nobody_->getAlertBundleNames(names.block());
    EXPECT_EQ(names.data, std::vector<std::string>{"Disk"});
  }

  void recipients() {
    expectDone([&](ErrorReply reply) {
      root_->addMailRecipients({{MailRecipientOrAddress(name_ + "@example.org")}},
                               std::move(reply));
    });
    Answer<std::vector<MailRecipient>> answer;
    root_->getMailRecipients(answer.block());
    EXPECT_THAT(*answer.data,
                testing::Contains(testing::Field(&MailRecipient::address, name_ + "@example.org")));
  }

  void attributes() {
    const std::string value = std::to_string(random_());
    expectDone([&](ErrorReply reply) {
      root_->setAttributes(PropertyList::Dictionary{{name_, value}}, std::move(reply));
    });
    Answer<VLAlertsDaemon::Attributes> answer;
    root_->getAttributes(answer.block());
    EXPECT_EQ((*answer.data)[name_], value);
  }

  void denied() {
    ErrorAnswer answer;
    nobody_->saveAlerts(std::vector{newAlert()}, answer.block());
    EXPECT_EQ(answer.error, kPrivilegeError);
  }

  /// Waits for the reply, which may come on another thread.
  template <typename Call>
  void expectDone(Call call) {
    const auto replied = std::make_shared<std::promise<std::optional<Error>>>();
    call([replied](std::optional<Error> error) { replied->set_value(std::move(error)); });
    const std::optional<Error> error = replied->get_future().get();
    EXPECT_EQ(error, std::nullopt) << error->localizedDescription();
  }

  const std::unique_ptr<AlertsDaemon> root_;
  const std::unique_ptr<AlertsDaemon> nobody_;
  const std::string name_;
  std::minstd_rand random_;
  int next_ = 0;
  std::set<std::string> expected_;
};

TEST(AlertsDaemonThreads, CallsOfSeveralConnectionsAreIndependent) {
  ScratchSystem system;
  system.clock.set(5000);
  system.addDiskBundle();
  system.setMailProgram("cat > /dev/null");
  {
    auto store = system.store();
    store.insertAlertBundle("Disk", "Disks");
    ASSERT_TRUE(store.save(nullptr));
  }
  std::list<BusyCaller> callers;
  std::vector<std::thread> threads;
  for (unsigned number = 1; number <= kThreads; ++number) {
    BusyCaller& caller = callers.emplace_back(servicesOf(system), number);
    threads.emplace_back([&] { caller.makeCalls(); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  auto store = system.store();
  std::set<std::string> stored;
  for (const VLAlert& alert : store.getAlertsOfType("AlmostFull", nullptr)) {
    if (alert.sentDate >= Date(500)) {
      EXPECT_TRUE(stored.insert(*alert.identifier).second) << *alert.identifier << " twice";
    }
  }
  std::set<std::string> expected;
  for (const BusyCaller& caller : callers) {
    expected.insert(caller.expected().begin(), caller.expected().end());
  }
  EXPECT_EQ(stored, expected);
}

}  // namespace
}  // namespace velto
