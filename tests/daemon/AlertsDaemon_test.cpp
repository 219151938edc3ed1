// SPDX-License-Identifier: Apache-2.0
// Roles, queries, settings and recipients of AlertsDaemon.

#include "daemon/AlertsDaemon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/daemon/Callers.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AlertsDaemonTest : public ::testing::Test {
 protected:
  AlertsDaemonTest() {
    auto store = system_.store();
    store.insertAlertBundle("Disk", "Disks");
    store.insertAlertBundle("Off", "Off");
    store.getADAlertBundle("Off", nullptr)->setEnabled(false);
    insert(store, "d1", "Disk", "AlmostFull", 1);
    insert(store, "d2", "Disk", "AlmostFull", 2);
    insert(store, "m1", "Mail", "AlmostFull", 3);
    insert(store, "d3", "Disk", "Failed", 1);
    store.save(nullptr);
  }

  static void insert(ADAlertStore& store, const char* identifier, const char* bundle,
                     const char* type, double sent) {
    VLAlert alert;
    alert.identifier = identifier;
    alert.bundle = bundle;
    alert.type = type;
    alert.sentDate = Date(sent);
    store.insertAlert(alert);
  }

  static std::vector<std::string> identifiers(std::optional<AlertSequence>& alerts) {
    std::vector<std::string> found;
    while (const VLAlert* alert = alerts ? alerts->current(nullptr) : nullptr) {
      found.push_back(alert->identifier.value_or("none"));
      alerts->advance();
    }
    return found;
  }

  ScratchSystem system_;
  const AlertsDaemonServices services_ = servicesOf(system_);
  const std::unique_ptr<AlertsDaemon> root_ = AlertsDaemon::initAsRoot(services_);
  const std::unique_ptr<AlertsDaemon> trusted_ = AlertsDaemon::initAsPrivileged(services_);
  const std::unique_ptr<AlertsDaemon> entitled_ =
      AlertsDaemon::initWithBundleEntitlements(services_, {"Disk", "Unknown"});
  const std::unique_ptr<AlertsDaemon> nobody_ = AlertsDaemon::init(services_);
};

TEST_F(AlertsDaemonTest, TheConstructorsFixTheRole) {
  const std::tuple<const AlertsDaemon&, bool, bool, bool> rows[] = {
      {*root_, true, false, false},
      {*trusted_, false, true, false},
      {*entitled_, false, false, true},
      {*nobody_, false, false, false},
  };
  for (const auto& [object, isRoot, isPrivileged, hasBundles] : rows) {
    EXPECT_EQ(object.isRoot(), isRoot);
    EXPECT_EQ(object.isPrivileged(), isPrivileged);
    EXPECT_EQ(object.bundles().has_value(), hasBundles);
  }
  EXPECT_THAT(*entitled_->bundles(), ElementsAre("Disk", "Unknown"))
      << "also what is not installed";
}

TEST_F(AlertsDaemonTest, TheListOfBundlesIsTakenAsItStands) {
  const auto object = AlertsDaemon::initWithBundleEntitlements(services_, {"A", 5, "A"});
  EXPECT_THAT(*object->bundles(), ElementsAre("A", 5, "A"));
}

TEST_F(AlertsDaemonTest, ThePrivilegeErrorHasTheNameOfItsClass) {
  class Derived : public AlertsDaemon {
   public:
    explicit Derived(const AlertsDaemonServices& services)
        : AlertsDaemon(services, false, false, std::nullopt) {}

   protected:
    std::string className() const override { return "Derived"; }
  };
  EXPECT_EQ(nobody_->privilegeError(), kPrivilegeError);
  Derived derived(services_);
  EXPECT_EQ(derived.privilegeError().domain, "Derived");
  ErrorAnswer answer;
  derived.postAlert(std::nullopt, answer.block());
  EXPECT_EQ(answer.error, makeError("Derived", 150, "Error: Insufficient entitlements."));
}

TEST_F(AlertsDaemonTest, AlertsOfATypeByRole) {
  const std::tuple<AlertsDaemon&, const char*, std::vector<std::string>, std::optional<Error>>
      rows[] = {
          {*root_, "AlmostFull", {"m1", "d2", "d1"}, std::nullopt},
          {*trusted_, "AlmostFull", {"m1", "d2", "d1"}, std::nullopt},
          {*entitled_, "Failed", {"d3"}, std::nullopt},
          {*entitled_, "AlmostFull", {}, kPrivilegeError},  // the newest is of another bundle
          {*entitled_, "Unheard", {}, std::nullopt},
          {*nobody_, "Failed", {}, kPrivilegeError},
      };
  for (const auto& [object, type, expected, error] : rows) {
    Answer<AlertSequence> answer;
    object.getAlertsOfType(type, answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(identifiers(answer.data), expected) << type;
    EXPECT_EQ(answer.error, error) << type;
    EXPECT_EQ(answer.data.has_value(), !error) << type;
  }
}

TEST_F(AlertsDaemonTest, AlertsOfABundleByRole) {
  const std::tuple<AlertsDaemon&, std::optional<std::string>, std::vector<std::string>,
                   std::optional<Error>>
      rows[] = {
          {*root_, "Disk", {"d2", "d3", "d1"}, std::nullopt},
          {*trusted_, "Mail", {"m1"}, std::nullopt},
          {*entitled_, "Disk", {"d2", "d3", "d1"}, std::nullopt},
          {*entitled_, "Unknown", {}, std::nullopt},
          {*entitled_, "Mail", {}, kPrivilegeError},
          {*entitled_, std::nullopt, {}, kPrivilegeError},
          {*nobody_, "Disk", {}, kPrivilegeError},
      };
  for (const auto& [object, bundle, expected, error] : rows) {
    Answer<AlertSequence> answer;
    object.getAlertsOfBundle(bundle, answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(identifiers(answer.data), expected);
    EXPECT_EQ(answer.error, error);
    EXPECT_EQ(answer.data.has_value(), !error);
  }
}

TEST_F(AlertsDaemonTest, LastAlertByRole) {
  using Identifier = std::optional<std::string>;
  const std::tuple<AlertsDaemon&, bool, const char*, Identifier, std::optional<Error>> rows[] = {
      {*root_, true, "AlmostFull", "m1", std::nullopt},
      {*trusted_, true, "Unheard", std::nullopt, std::nullopt},
      {*entitled_, true, "Failed", "d3", std::nullopt},
      {*entitled_, true, "AlmostFull", std::nullopt, kPrivilegeError},
      {*entitled_, true, "Unheard", std::nullopt, std::nullopt},
      {*nobody_, true, "Failed", std::nullopt, kPrivilegeError},
      {*root_, false, "Mail", "m1", std::nullopt},
      {*trusted_, false, "Disk", "d2", std::nullopt},
      {*entitled_, false, "Disk", "d2", std::nullopt},
      {*entitled_, false, "Mail", std::nullopt, kPrivilegeError},
      {*nobody_, false, "Disk", std::nullopt, kPrivilegeError},
  };
  for (const auto& [object, ofType, key, expected, error] : rows) {
    Answer<VLAlert> answer;
    ofType ? object.getLastAlertOfType(key, answer.block())
           : object.getLastAlertOfBundle(key, answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.data ? answer.data->identifier : std::nullopt, expected) << key;
    EXPECT_EQ(answer.error, error) << key;
  }
}

TEST_F(AlertsDaemonTest, EverybodyMayListTheEnabledBundles) {
  for (auto* object : {root_.get(), trusted_.get(), entitled_.get(), nobody_.get()}) {
    Answer<std::vector<std::string>> answer;
    object->getAlertBundleNames(answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_THAT(*answer.data, ElementsAre("Disk"));
    EXPECT_EQ(answer.error, std::nullopt);
  }
}

TEST_F(AlertsDaemonTest, OnlyRootManagesMailRecipients) {
  for (auto* object : {trusted_.get(), entitled_.get(), nobody_.get()}) {
    ErrorAnswer added;
    object->addMailRecipients(std::vector<MailRecipientOrAddress>{"a@b.fr"}, added.block());
    EXPECT_EQ(added.calls, 1);
    EXPECT_EQ(added.error, kPrivilegeError);
    Answer<std::vector<MailRecipient>> listed;
    object->getMailRecipients(listed.block());
    EXPECT_EQ(listed.data, std::nullopt);
    EXPECT_EQ(listed.error, kPrivilegeError);
  }
  EXPECT_THAT(system_.store().getMailRecipients(nullptr), IsEmpty());
}

TEST_F(AlertsDaemonTest, AddingInsertsWhatIsNotThereYet) {
  const auto add = [&](std::optional<std::vector<MailRecipientOrAddress>> recipients) {
    ErrorAnswer answer;
    root_->addMailRecipients(std::move(recipients), answer.block());
    EXPECT_EQ(answer.calls, 1);
    EXPECT_EQ(answer.error, std::nullopt);
  };
  add(std::vector<MailRecipientOrAddress>{MailRecipient{"a@b.org", "ja"}});
  add(std::vector<MailRecipientOrAddress>{"a@b.org", "c@d.fr", MailRecipient{"a@b.org", "de"},
                                          MailRecipient{std::nullopt, "de"}});
  add(std::nullopt);
  add(std::vector<MailRecipientOrAddress>{});
  Answer<std::vector<MailRecipient>> listed;
  root_->getMailRecipients(listed.block());
  EXPECT_THAT(*listed.data,
              ElementsAre(MailRecipient{"a@b.org", "ja"}, MailRecipient{"c@d.fr", "fr"}));
}

TEST_F(AlertsDaemonTest, AnAddressTwiceInOneCallGoesInTwice) {
  ErrorAnswer answer;
  root_->addMailRecipients(std::vector<MailRecipientOrAddress>{"a@b.fr", "a@b.fr"}, answer.block());
  EXPECT_EQ(system_.store().getMailRecipients(nullptr).size(), 2u);
}

TEST_F(AlertsDaemonTest, AStoreThatCannotBeOpenedIsToldInEveryReply) {
  const TemporaryDirectory nothing;
  StoreContainer broken(nothing.path().string(), nothing.path().string(), system_.storeServices);
  const auto object = AlertsDaemon::initAsRoot(
      {broken, system_.bundles, system_.pusher, system_.mailer, system_.clock, system_.log});
  Answer<std::vector<std::string>> names;
  object->getAlertBundleNames(names.block());
  EXPECT_THAT(*names.data, IsEmpty());
  ASSERT_TRUE(names.error);
  EXPECT_EQ(names.error->domain, kPersistenceErrorDomain);
  ErrorAnswer saved;
  object->saveAlerts(std::vector<VLAlert>(1), saved.block());
  ASSERT_TRUE(saved.error);
  ErrorAnswer added;
  object->addMailRecipients(std::vector<MailRecipientOrAddress>{"a@b.fr"}, added.block());
  ASSERT_TRUE(added.error);
}

}  // namespace
}  // namespace velto
