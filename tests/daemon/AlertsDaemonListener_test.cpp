// SPDX-License-Identifier: Apache-2.0
// Admission of connections and discovery of bundles.

#include "daemon/AlertsDaemonListener.h"

#include <cstring>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "daemon/AlertsMonitor.h"
#include "platform/connection/RunLoop.h"
#include "platform/foundation/Paths.h"
#include "platform/identity/GuestTable.h"
#include "protocol/ArgumentClasses.h"
#include "tests/daemon/Callers.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

constexpr const char* kWarning = "Connection attempt with insufficient privileges";

class FakeConnection : public Connection {
 public:
  FakeConnection(uid_t user, gid_t group) : user_(user), group_(group) {}
  uid_t effectiveUserIdentifier() const override { return user_; }
  gid_t effectiveGroupIdentifier() const override { return group_; }
  const AuditToken& auditToken() const override { return token_; }
  void setExportedInterface(std::shared_ptr<const Interface> exported) override {
    interface = std::move(exported);
  }
  void addExportedObject(std::unique_ptr<ExportedObject> exported) override {
    if (object == nullptr) {
      object.reset(dynamic_cast<AlertsDaemon*>(exported.release()));
    } else {
      monitor.reset(dynamic_cast<AlertsMonitor*>(exported.release()));
    }
  }
  void setMaximumCallSize(std::size_t bytes) override { maximumCallSize = bytes; }
  void resume() override {
    resumed = object != nullptr && monitor != nullptr && interface != nullptr;
  }

  std::shared_ptr<const Interface> interface;
  std::size_t maximumCallSize = 0;
  std::unique_ptr<AlertsDaemon> object;
  std::unique_ptr<AlertsMonitor> monitor;
  bool resumed = false;

 private:
  const uid_t user_;
  const gid_t group_;
  const AuditToken token_;
};

/// Knows one guest, by the address of its token, entitled to what a test says.
class FakeCodeSigning : public CodeSigning {
 public:
  SecStatus copyGuestWithAttributes(const std::map<std::string, Data>& attributes, std::uint32_t,
                                    std::unique_ptr<CodeReference>& code) override {
    asked = attributes;
    code = std::make_unique<CodeReference>();
    return guestStatus;
  }
  SecStatus copySigningInformation(const CodeReference&, std::uint32_t flags,
                                   std::optional<PropertyList::Dictionary>& information) override {
    EXPECT_EQ(flags, 4u);
    information = signingInformation;
    return informationStatus;
  }
  void entitle(PropertyList value) {
    signingInformation = PropertyList::Dictionary{
        {std::string(kSecCodeInfoEntitlementsDict),
         PropertyList::Dictionary{{"com.ulmora.velto.alert-bundles", std::move(value)}}}};
  }

  std::map<std::string, Data> asked;
  SecStatus guestStatus = kSecSuccess;
  SecStatus informationStatus = kSecSuccess;
  std::optional<PropertyList::Dictionary> signingInformation;
};

class NoListing : public FileManager {
 public:
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string&,
                                                              ErrorSlot) const override {
    return std::nullopt;
  }
};

/// Keeps the requests, and answers them when a test says so.
class FakeEvents : public VLEDaemonClient {
 public:
  void loadMonitorBundleWithPath(const std::string& path, ErrorReply reply) override {
    requests.emplace_back("load " + path, std::move(reply));
  }
  void enableMonitorBundleWithName(const std::string& name, ErrorReply reply) override {
    requests.emplace_back("enable " + name, std::move(reply));
  }

  /// Answers the first request that waits; gives what it was.
  std::string answer(std::optional<Error> error = std::nullopt) {
    if (requests.empty()) {
      return "nothing";
    }
    const auto [request, reply] = std::move(requests.front());
    requests.erase(requests.begin());
    reply(std::move(error));
    return request;
  }

  std::vector<std::pair<std::string, ErrorReply>> requests;
};

class ListenerTest : public ::testing::Test {
 protected:
  std::unique_ptr<AlertsDaemonListener> start(const FileManager& files = FileManager::system()) {
    return std::make_unique<AlertsDaemonListener>(
        servicesOf(system_), watching_,
        AlertsDaemonListenerSeams{signing_, files, system_.bundlesDirectory().string(), events_});
  }

  /// The object that a new connection of this caller exports.
  std::unique_ptr<AlertsDaemon> admit(uid_t user, gid_t group) {
    FakeConnection connection(user, group);
    EXPECT_TRUE(listener_->shouldAcceptNewConnection(*door_, connection));
    EXPECT_TRUE(connection.resumed);
    return std::move(connection.object);
  }

  std::optional<std::string> nameOf(const std::string& key) {
    auto store = system_.store();
    const auto record = store.getADAlertBundle(key, nullptr);
    return record ? record->name() : std::nullopt;
  }

  ScratchSystem system_;
  StoreWatch watch_;
  DeliveryCounts deliveries_{system_.deliveries, system_.clock};
  const AlertsMonitorServices watching_{watch_, deliveries_, Date(0)};
  FakeCodeSigning signing_;
  FakeEvents events_;
  GuestTable guests_;
  RunLoop runLoop_;
  std::unique_ptr<Listener> door_ =
      Listener::listenerWithPath(runLoop_, guests_, system_.path("/socket").string(), nullptr);
  std::unique_ptr<AlertsDaemonListener> listener_ = start();
};

TEST_F(ListenerTest, UidZeroOrGidZeroIsRoot) {
  signing_.entitle("Disk");
  for (const auto& [user, group] : {std::pair<uid_t, gid_t>{0, 0}, {0, 12}, {1000, 0}, {214, 0}}) {
    const auto object = admit(user, group);
    EXPECT_TRUE(object->isRoot());
    EXPECT_FALSE(object->isPrivileged());
  }
  EXPECT_THAT(system_.log.lines(), IsEmpty());
}

TEST_F(ListenerTest, TrustedAccountsArePrivilegedWhateverTheyAreEntitledTo) {
  signing_.entitle("Disk");
  for (const uid_t user : {27u, 83u, 84u, 94u, 214u, 220u, 235u}) {
    EXPECT_TRUE(listener_->isPrivilegedUID(user));
    const auto object = admit(user, 5);
    EXPECT_TRUE(object->isPrivileged());
    EXPECT_EQ(object->bundles(), std::nullopt);
  }
  EXPECT_THAT(signing_.asked, IsEmpty()) << "nobody asked for the entitlement";
  EXPECT_EQ(AlertsDaemonListener::allowedUIDs().size(), 7u);
  EXPECT_FALSE(listener_->isPrivilegedUID(26));
}

TEST_F(ListenerTest, TheEntitlementGivesTheListOfBundles) {
  signing_.entitle(PropertyList::Array{"Mail", 5, "Mail"});
  EXPECT_THAT(*admit(1000, 1000)->bundles(), ElementsAre("Mail", 5, "Mail"));
  signing_.entitle("X");
  EXPECT_THAT(*admit(1000, 1000)->bundles(), ElementsAre("X"));
  EXPECT_THAT(system_.log.lines(), IsEmpty());
}

TEST_F(ListenerTest, OtherEntitlementsGiveNothing) {
  const PropertyList values[] = {PropertyList::Array{}, 5, PropertyList::Dictionary{{"a", "b"}},
                                 true, Data("X")};
  for (const auto& value : values) {
    signing_.entitle(value);
    const auto object = admit(1000, 1000);
    EXPECT_FALSE(object->isRoot() || object->isPrivileged() || object->bundles());
  }
  std::vector<std::string> lines(std::size(values), kWarning);
  // Once for each user and program, beside the first.
  lines.insert(lines.begin() + 1, "No rights for process 0 of user 0: a program that is not seen");
  EXPECT_EQ(system_.log.lines(), lines);
}

TEST_F(ListenerTest, EveryFailureOfTheLookUpGivesNothing) {
  const AuditToken token;
  signing_.entitle("X");
  EXPECT_TRUE(listener_->entitledBundlesForAuditToken(token));
  signing_.guestStatus = -5;
  EXPECT_EQ(listener_->entitledBundlesForAuditToken(token), std::nullopt);
  signing_.guestStatus = kSecSuccess;
  signing_.informationStatus = 1;
  EXPECT_EQ(listener_->entitledBundlesForAuditToken(token), std::nullopt);
  signing_.informationStatus = kSecSuccess;
  signing_.signingInformation->clear();
  EXPECT_EQ(listener_->entitledBundlesForAuditToken(token), std::nullopt);
  signing_.signingInformation.reset();
  EXPECT_EQ(listener_->entitledBundlesForAuditToken(token), std::nullopt);
}

TEST_F(ListenerTest, TheLookUpIsGivenTheAddressOfTheToken) {
  const AuditToken token;
  static_cast<void>(listener_->entitledBundlesForAuditToken(token));
  ASSERT_EQ(signing_.asked.size(), 1u);
  const auto& [key, value] = *signing_.asked.begin();
  EXPECT_EQ(key, kSecGuestAttributeAudit);
  const AuditToken* address = nullptr;
  ASSERT_EQ(value.size(), sizeof address);
  std::memcpy(&address, value.bytes().data(), sizeof address);
  EXPECT_EQ(address, &token);
}

TEST_F(ListenerTest, TheExportedInterfaceHasThreeWhiteLists) {
  FakeConnection connection(0, 0);
  listener_->shouldAcceptNewConnection(*door_, connection);
  const auto classesOf = [&](const ProtocolMethod& method) {
    return connection.interface->row(std::string(alertsDaemonProtocol().name) + "." +
                                     std::string(method.wireName))
        ->classes;
  };
  std::map<std::string_view, ArgumentClasses> lists;
  for (const auto& method : alertsDaemonProtocol().methods) {
    if (const auto classes = classesOf(method)) lists.emplace(method.selector, *classes);
  }
  const std::map<std::string_view, ArgumentClasses> expected = {
      {"saveAlerts:callback:", {kVLAlertClass, kArrayClass}},
      {"deleteAlertsWithIds:callback:", {kStringClass, kArrayClass}},
      {"addMailRecipients:callback:", {kStringClass, kDictionaryClass, kArrayClass}}};
  EXPECT_EQ(lists, expected);
}

TEST_F(ListenerTest, AllConnectionsShareOneTable) {
  FakeConnection root(0, 0);
  FakeConnection other(1000, 1000);
  listener_->shouldAcceptNewConnection(*door_, root);
  listener_->shouldAcceptNewConnection(*door_, other);
  EXPECT_EQ(root.interface, other.interface);
}

TEST_F(ListenerTest, ANewBundleIsInsertedUnderItsKey) {
  system_.addBundle("X.bundle", "{ CFBundleGetInfoString = Example; }");
  system_.addBundle("Y.bundle", "{ CFBundleGetInfoString = \"\"; }");
  system_.addBundle("Z.bundle", "{ }");
  system_.addBundle("a.bundle.old", "{ }");
  system_.addBundle("b.bundles", "{ }");
  system_.addBundle("c.folder", "{ }");
  start();
  EXPECT_THAT(system_.store().getEnabledAlertBundleNames(nullptr),
              UnorderedElementsAre("X", "Y", "Z", "a.bundle", "b"));
  EXPECT_EQ(nameOf("X"), "Example");
  EXPECT_EQ(nameOf("Y"), "Y");
  EXPECT_EQ(nameOf("Z"), "Z");
}

TEST_F(ListenerTest, ANewBundleIsLoadedAndThenEnabledAsAMonitor) {
  system_.addBundle("X.bundle", "{ }");
  start();
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("X"))
      << "nobody waits for the events service";
  EXPECT_EQ(events_.answer(), "load " + system_.bundlesDirectory().string() + "/X.bundle");
  EXPECT_EQ(events_.answer(), "enable X");
  EXPECT_EQ(events_.answer(), "nothing");
  EXPECT_THAT(system_.log.lines(), IsEmpty()) << "success is not logged";
}

TEST_F(ListenerTest, AKnownBundleIsNoConcernOfTheEventsService) {
  system_.addBundle("X.bundle", "{ }");
  start();
  events_.requests.clear();
  start();
  std::filesystem::remove_all(system_.bundlesDirectory() / "X.bundle");
  start();
  EXPECT_EQ(events_.answer(), "nothing");
}

TEST_F(ListenerTest, ABundleThatTheEventsServiceDoesNotTakeStaysInserted) {
  const Error refusal = makeError("Events", 1, "no");
  system_.addBundle("X.bundle", "{ }");
  start();
  events_.answer(refusal);
  EXPECT_EQ(events_.answer(), "nothing") << "what is not loaded is not enabled";
  const std::string monitors = "Alerts work, but nothing monitors for their bundles: no";
  EXPECT_THAT(system_.log.lines(), ElementsAre("Error Loading Alert Bundle: X", monitors));
  system_.addBundle("Y.bundle", "{ }");
  start();
  events_.answer();
  EXPECT_EQ(events_.answer(refusal), "enable Y");
  EXPECT_THAT(system_.log.lines(), ElementsAre("Error Loading Alert Bundle: X", monitors,
                                               "Error Enabling Alert Bundle: Y"));
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), UnorderedElementsAre("X", "Y"));
}

TEST_F(ListenerTest, ASecondStartRefreshesTheName) {
  system_.addBundle("X.bundle", "{ CFBundleGetInfoString = Example; }");
  start();
  auto store = system_.store();
  store.getADAlertBundle("X", nullptr)->setEnabled(false);
  ASSERT_TRUE(store.save(nullptr));
  system_.addBundle("X.bundle", "{ CFBundleGetInfoString = Renamed; }");
  start();
  EXPECT_EQ(nameOf("X"), "Renamed");
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("X"));
  EXPECT_THAT(system_.store().getEnabledAlertBundleNames(nullptr), IsEmpty())
      << "its switches are kept";
}

TEST_F(ListenerTest, WhatIsNoBundleIsSkippedAndLosesItsRecord) {
  system_.addBundle("X.bundle", "{ }");
  start();
  system_.addBundle("X.bundle", "{ broken");
  system_.root.write(system_.bundlesDirectory() / "notes.bundle.txt", "no bundle");
  start();
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), IsEmpty());
}

TEST_F(ListenerTest, ABrokenEntryIsNamedInTheLogAndSoAreSettingsThatAreGone) {
  system_.addBundle("X.bundle", "{ }");
  system_.addBundle("Y.bundle", "{ }");
  start();
  EXPECT_THAT(system_.log.lines(), IsEmpty());
  system_.addBundle("X.bundle", "( a, list )");
  start();
  const std::string file = (system_.bundlesDirectory() / "X.bundle/Contents/Info.plist").string();
  EXPECT_THAT(system_.log.lines(),
              ElementsAre("Entry 'X.bundle' of the alerts directory passed over: Cannot use " +
                              file + ": it holds no dictionary",
                          "Alert bundle 'X' cannot be opened any more: its settings are deleted"));
  start();
  EXPECT_EQ(system_.log.lines().size(), 3U) << "the settings are gone only once";
}

TEST_F(ListenerTest, AnEntryWhoseNameIsNotUTF8IsSkippedWithALine) {
  system_.addBundle("caf\xE9.bundle", "{ }");
  system_.addBundle("caf\xC3\xA9.bundle", "{ }");
  start();
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("caf\xC3\xA9"));
  EXPECT_THAT(system_.log.lines(),
              ElementsAre("Entry 'caf?.bundle' of the alerts directory passed over: "
                          "its name is not UTF-8"));
}

TEST_F(ListenerTest, AnEmptyDirectoryDeletesEveryRecord) {
  system_.addBundle("X.bundle", "{ }");
  system_.addBundle("Y.bundle", "{ }");
  start();
  std::filesystem::remove_all(system_.bundlesDirectory());
  std::filesystem::create_directory(system_.bundlesDirectory());
  start();
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), IsEmpty());
}

TEST_F(ListenerTest, ADirectoryThatCannotBeListedLeavesTheStoreAlone) {
  system_.addBundle("X.bundle", "{ }");
  start();
  std::filesystem::remove_all(system_.bundlesDirectory());
  const auto error = start()->loadAlertBundles();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPOSIXErrorDomain);
  EXPECT_EQ(error->code, ENOENT);
  EXPECT_EQ(start(NoListing())->loadAlertBundles(),
            makeError("VeltoAlertsDaemon", 99, "Unable to read alerts directory."));
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("X"));
}

TEST_F(ListenerTest, AStoreThatCannotBeReadGivesItsErrorAndTheListenerServesAllTheSame) {
  system_.addBundle("X.bundle", "{ }");
  const TemporaryDirectory nothing;
  StoreContainer broken(nothing.path().string(), nothing.path().string(), system_.storeServices);
  AlertsDaemonListener listener(
      {broken, system_.bundles, system_.pusher, system_.mailer, system_.clock, system_.log},
      watching_, {signing_, system_.fileManager, system_.bundlesDirectory().string(), events_});
  const auto error = listener.loadAlertBundles();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_THAT(events_.requests, Not(IsEmpty())) << "every bundle counts as a new one";
}

}  // namespace
}  // namespace velto
