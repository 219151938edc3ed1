// SPDX-License-Identifier: Apache-2.0
#include "store/ADAlertStore.h"

#include <functional>

#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

class ADAlertStoreTest : public StoreTest {};

TEST_F(ADAlertStoreTest, LookUpWithAnAbsentKeyFindsARecordWithoutOne) {
  auto store = system_.store();
  store.insertAlert(alert("a"));
  auto without = alert(std::nullopt);
  without.type = "NoIdentifier";
  store.insertAlert(without);
  save(store);
  std::optional<Error> error;
  const auto found = system_.store().getADAlertWithIdentifier(std::nullopt, &error);
  EXPECT_TRUE(found);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(ADAlertStoreTest, LookUpOfNothingIsNoError) {
  std::optional<Error> error;
  auto store = system_.store();
  EXPECT_EQ(store.getADAlertWithIdentifier("none", &error), std::nullopt);
  EXPECT_EQ(store.getADAlertBundle("none", &error), std::nullopt);
  EXPECT_EQ(store.getADMailRecipientForAddress("none", &error), std::nullopt);
  EXPECT_EQ(store.getADPushRecipientWithGUID("none", &error), std::nullopt);
  EXPECT_EQ(store.getADPushRecipientWithToken(Data("none"), &error), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(ADAlertStoreTest, LooksUpPushRecipientsByBothKeys) {
  auto store = system_.store();
  auto record = store.managedObjectContext().insertNewObject<ADPushRecipient>("ADPushRecipient");
  record.setGuid("phone");
  record.setToken(Data("\x01\x02"));
  save(store);
  auto other = system_.store();
  const auto byGuid = other.getADPushRecipientWithGUID("phone", nullptr);
  const auto byToken = other.getADPushRecipientWithToken(Data("\x01\x02"), nullptr);
  ASSERT_TRUE(byGuid);
  EXPECT_EQ(byGuid, byToken);
  EXPECT_EQ(other.getADPushRecipientWithToken(Data("\x01"), nullptr), std::nullopt);
}

/// What an operation gives when the fetch fails; true when it is nothing.
struct Reading {
  const char* name;
  std::function<bool(ADAlertStore&, ErrorSlot)> givesNothing;
};

void PrintTo(const Reading& row, std::ostream* out) {
  *out << row.name;
}

class FailedFetchTest : public StoreTest, public ::testing::WithParamInterface<Reading> {};

TEST_P(FailedFetchTest, GivesNothingAndTheErrorOfTheFetch) {
  for (std::optional<Error> error : {std::optional<Error>(), std::optional(kEarlier)}) {
    auto store = brokenStore();
    EXPECT_TRUE(GetParam().givesNothing(store, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  }
  auto store = brokenStore();
  EXPECT_TRUE(GetParam().givesNothing(store, nullptr));
}

/// A reading by one key, or by none.
template <auto kOperation, typename... Keys>
Reading reading(const char* name, Keys... keys) {
  return {name, [=](ADAlertStore& store, ErrorSlot error) {
            const auto result = (store.*kOperation)(keys..., error);
            if constexpr (requires { result.has_value(); }) {
              return !result.has_value();
            } else {
              return result.empty();
            }
          }};
}

using S = ADAlertStore;

const Reading kReadings[] = {
    reading<&S::getADAlertWithIdentifier>("RecordOfAnAlert", "a"),
    reading<&S::getADAlertBundle>("RecordOfABundle", "Disk"),
    reading<&S::getADMailRecipientForAddress>("RecordOfAnAddress", "a@b"),
    reading<&S::getADPushRecipientWithGUID>("RecordOfAGuid", "g"),
    reading<&S::getADPushRecipientWithToken>("RecordOfAToken", Data("t")),
    reading<&S::getAlertWithIdentifier>("Alert", "a"),
    reading<&S::getAlertsFromDate>("AlertsOfAPeriod", Date(0), Date(1)),
    reading<&S::getAlertsOfType>("AlertsOfAType", "AlmostFull"),
    reading<&S::getAlertsOfBundle>("AlertsOfABundle", "Disk"),
    reading<&S::getUnresolvedAlertSubclasses>("UnresolvedAlerts"),
    reading<&S::getLastAlertOfType>("LastAlertOfAType", "AlmostFull"),
    reading<&S::getLastAlertOfBundle>("LastAlertOfABundle", "Disk"),
    reading<&S::getEnabledAlertBundleNames>("EnabledBundles"),
    reading<&S::getAllAlertBundleNames>("AllBundles"),
    reading<&S::getAlertBundleSettings>("BundleSettings"),
    reading<&S::getAttributes>("Attributes"),
    reading<&S::getMailRecipients>("MailRecipients"),
    reading<&S::getMailRecipientsByLocalization>("MailRecipientsByLocalization"),
    reading<&S::getPushRecipients>("PushRecipients"),
    reading<&S::getPushRecipientsByLocalization>("PushRecipientsByLocalization"),
};

INSTANTIATE_TEST_SUITE_P(Store, FailedFetchTest, ::testing::ValuesIn(kReadings),
                         [](const auto& row) { return row.param.name; });

/// An operation that finds no record.
struct NotFound {
  const char* name;
  std::function<bool(ADAlertStore&, ErrorSlot)> call;
  const char* message;
};

void PrintTo(const NotFound& row, std::ostream* out) {
  *out << row.name;
}

class NotFoundTest : public StoreTest, public ::testing::WithParamInterface<NotFound> {};

TEST_P(NotFoundTest, IsReportedIntoAnEmptySlot) {
  std::optional<Error> error;
  auto store = system_.store();
  EXPECT_FALSE(GetParam().call(store, &error));
  EXPECT_EQ(error, ownError(GetParam().message));
  EXPECT_FALSE(store.managedObjectContext().hasChanges());
}

TEST_P(NotFoundTest, LeavesAnEarlierErrorInTheSlot) {
  std::optional<Error> error = kEarlier;
  auto store = system_.store();
  EXPECT_FALSE(GetParam().call(store, &error));
  EXPECT_EQ(error, kEarlier);
}

TEST_P(NotFoundTest, NeedsNoSlot) {
  auto store = system_.store();
  EXPECT_FALSE(GetParam().call(store, nullptr));
}

TEST_P(NotFoundTest, GivesWayToTheErrorOfTheFetch) {
  for (std::optional<Error> error : {std::optional<Error>(), std::optional(kEarlier)}) {
    auto store = brokenStore();
    EXPECT_FALSE(GetParam().call(store, &error));
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  }
  auto store = brokenStore();
  EXPECT_FALSE(GetParam().call(store, nullptr));
}

const NotFound kNotFound[] = {
    {"UpdateAlert",
     [](ADAlertStore& store, ErrorSlot error) { return store.updateAlert(alert("a"), error); },
     "Update Alert: Alert not found."},
    {"DeleteAlert",
     [](ADAlertStore& store, ErrorSlot error) { return store.deleteAlert(alert("a"), error); },
     "Delete Alert: Alert 'a' not found."},
    {"GetAlertBundle",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.getAlertBundle("Disk", error).has_value();
     },
     "Get Alert Bundle: Bundle 'Disk' not found."},
    {"GetAlertBundleWithoutAKey",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.getAlertBundle(std::nullopt, error).has_value();
     },
     "Get Alert Bundle: Bundle '(null)' not found."},
    {"UpdateAlertBundle",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.updateAlertBundle("Disk", "Disks", error);
     },
     "Update Alert Bundle: Bundle 'Disk' not found."},
    {"DeleteAlertBundle",
     [](ADAlertStore& store, ErrorSlot error) { return store.deleteAlertBundle("Disk", error); },
     "Delete Alert Bundle: Bundle 'Disk' not found."},
    {"EnableAlertBundle",
     [](ADAlertStore& store, ErrorSlot error) { return store.enableAlertBundle("Disk", error); },
     "Enable Alert Bundle: Bundle 'Disk' not found."},
    {"DisableAlertBundle",
     [](ADAlertStore& store, ErrorSlot error) { return store.disableAlertBundle("Disk", error); },
     "Disable Alert Bundle: Bundle 'Disk' not found."},
    {"DeleteMailRecipient",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.deleteMailRecipientWithAddress("a@b", error);
     },
     "Delete Mail Recipient: Address 'a@b' not found."},
    {"DeletePushRecipient",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.deletePushRecipientWithGUID("g", error);
     },
     "Delete Push Recipient: guid 'g' not found."},
    {"EnablePushRecipient",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.enablePushRecipientWithGUID("g", error);
     },
     "Enable Push Recipient: guid 'g' not found."},
    {"DisablePushRecipient",
     [](ADAlertStore& store, ErrorSlot error) {
       return store.disablePushRecipientWithGUID("g", error);
     },
     "Disable Push Recipient: guid 'g' not found."},
};

INSTANTIATE_TEST_SUITE_P(Store, NotFoundTest, ::testing::ValuesIn(kNotFound),
                         [](const auto& row) { return row.param.name; });

}  // namespace
}  // namespace velto
