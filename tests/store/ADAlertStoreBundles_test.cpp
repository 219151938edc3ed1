// SPDX-License-Identifier: Apache-2.0
// The bundle records of ADAlertStore.

#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class BundleRecordsTest : public StoreTest {};

TEST_F(BundleRecordsTest, TwoRecordsOfAKeyOneIsActedOn) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "one");
  store.insertAlertBundle("Disk", "two");
  save(store);
  auto second = system_.store();
  EXPECT_TRUE(second.deleteAlertBundle("Disk", nullptr));
  save(second);
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("Disk"));
}

TEST_F(BundleRecordsTest, ANewBundleIsEnabledWithBothChannels) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  save(store);
  auto reader = system_.store();
  const auto switches = reader.getAlertBundle("Disk", nullptr);
  ASSERT_TRUE(switches);
  EXPECT_EQ(switches->bundle, "Disk");
  EXPECT_EQ(switches->pushEnabled, true);
  EXPECT_EQ(switches->mailEnabled, true);
  EXPECT_EQ(reader.getADAlertBundle("Disk", nullptr)->name(), "Disks");
  EXPECT_THAT(reader.getEnabledAlertBundleNames(nullptr), ElementsAre("Disk"));
  EXPECT_THAT(reader.getAllAlertBundleNames(nullptr), ElementsAre("Disk"));
}

TEST_F(BundleRecordsTest, ADisabledBundleIsOnlyInTheWholeList) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  store.insertAlertBundle("Mail", "Mail");
  store.getADAlertBundle("Disk", nullptr)->setEnabled(false);
  save(store);
  auto reader = system_.store();
  EXPECT_THAT(reader.getEnabledAlertBundleNames(nullptr), ElementsAre("Mail"));
  EXPECT_THAT(reader.getAllAlertBundleNames(nullptr), UnorderedElementsAre("Disk", "Mail"));
}

TEST_F(BundleRecordsTest, TheListOfTheEnabledFollowsEverySaveAndTheHandlesOwnChanges) {
  auto reader = system_.store();
  EXPECT_THAT(reader.getEnabledAlertBundleNames(nullptr), IsEmpty());
  for (const bool enabled : {true, false, true}) {
    auto store = system_.store();
    if (!store.getADAlertBundle("Disk", nullptr)) {
      store.insertAlertBundle("Disk", "Disks");
    }
    store.getADAlertBundle("Disk", nullptr)->setEnabled(enabled);
    const std::vector<std::string> before = reader.getEnabledAlertBundleNames(nullptr);
    const std::vector<std::string> after(enabled ? 1 : 0, "Disk");
    EXPECT_EQ(store.getEnabledAlertBundleNames(nullptr), after);
    EXPECT_EQ(reader.getEnabledAlertBundleNames(nullptr), before) << "not saved yet";
    save(store);
    EXPECT_EQ(store.getEnabledAlertBundleNames(nullptr), after);
    EXPECT_EQ(reader.getEnabledAlertBundleNames(nullptr), after);
    EXPECT_EQ(system_.store().getEnabledAlertBundleNames(nullptr), after);
  }
}

TEST_F(BundleRecordsTest, RenamingToTheSameNameIsNotFound) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  std::optional<Error> error;
  EXPECT_FALSE(store.updateAlertBundle("Disk", "Disks", &error));
  EXPECT_EQ(error, ownError("Update Alert Bundle: Bundle 'Disk' not found."));
  error.reset();
  EXPECT_TRUE(store.updateAlertBundle("Disk", "Volumes", &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(store.getADAlertBundle("Disk", nullptr)->name(), "Volumes");
  EXPECT_FALSE(store.updateAlertBundle("Tape", "Tapes", &error));
  EXPECT_EQ(error, ownError("Update Alert Bundle: Bundle 'Tape' not found."));
}

using Settings = std::map<std::string, AlertBundleSettings>;

/// The stored mail and push switches of the bundle.
std::pair<std::optional<bool>, std::optional<bool>> switches(ADAlertStore& store,
                                                             const std::string& bundle) {
  const auto record = store.getADAlertBundle(bundle, nullptr);
  EXPECT_TRUE(record) << bundle;
  return {record->mailEnabled(), record->pushEnabled()};
}

TEST_F(BundleRecordsTest, TheSwitchesCarryTheKeyThatWasAskedFor) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  auto record = store.getADAlertBundle("Disk", nullptr);
  record->setBundle(std::nullopt);
  record->setPushEnabled(std::nullopt);
  record->setMailEnabled(false);
  const auto found = store.getAlertBundle(std::nullopt, nullptr);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->bundle, std::nullopt);
  EXPECT_EQ(found->pushEnabled, std::nullopt);
  EXPECT_EQ(found->mailEnabled, false);
}

TEST_F(BundleRecordsTest, ABundleWithoutANameTakesOne) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  store.getADAlertBundle("Disk", nullptr)->setName(std::nullopt);
  EXPECT_TRUE(store.updateAlertBundle("Disk", "", nullptr)) << "absent is not empty";
  EXPECT_FALSE(store.updateAlertBundle("Disk", "", nullptr));
}

TEST_F(BundleRecordsTest, DisablingAndEnablingWorkInAnyState) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  save(store);
  std::optional<Error> error;
  auto writer = system_.store();
  EXPECT_TRUE(writer.enableAlertBundle("Disk", &error)) << "it is enabled already";
  EXPECT_TRUE(writer.managedObjectContext().hasChanges()) << "and written all the same";
  EXPECT_TRUE(writer.disableAlertBundle("Disk", &error));
  EXPECT_TRUE(writer.disableAlertBundle("Disk", &error));
  save(writer);
  EXPECT_THAT(system_.store().getEnabledAlertBundleNames(nullptr), IsEmpty());
  EXPECT_THAT(system_.store().getAllAlertBundleNames(nullptr), ElementsAre("Disk"));
  EXPECT_THAT(system_.store().getAlertBundleSettings(nullptr), IsEmpty());
  EXPECT_TRUE(writer.enableAlertBundle("Disk", &error));
  save(writer);
  EXPECT_THAT(system_.store().getEnabledAlertBundleNames(nullptr), ElementsAre("Disk"));
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(BundleRecordsTest, TheSettingsAreThoseOfTheEnabledBundles) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  store.insertAlertBundle("Tape", "Tapes");
  store.insertAlertBundle("Off", "Nobody");
  store.disableAlertBundle("Off", nullptr);
  store.getADAlertBundle("Tape", nullptr)->setMailEnabled(false);
  save(store);
  EXPECT_EQ(system_.store().getAlertBundleSettings(nullptr),
            (Settings{{"Disk", {"Disks", true, true}}, {"Tape", {"Tapes", true, false}}}));
}

TEST_F(BundleRecordsTest, OfTwoRecordsOfAKeyTheLaterOneShows) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "first");
  store.insertAlertBundle("Disk", "second");
  EXPECT_EQ(store.getAlertBundleSettings(nullptr), (Settings{{"Disk", {"second", true, true}}}));
}

TEST_F(BundleRecordsTest, AnAbsentSwitchOfTheSettingsIsOff) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  std::optional<Error> error;
  EXPECT_TRUE(store.setAlertBundleSettings({{"Disk", {"ignored", std::nullopt, true}}}, &error));
  EXPECT_EQ(switches(store, "Disk"), std::pair(std::optional(true), std::optional(false)));
  EXPECT_EQ(store.getADAlertBundle("Disk", nullptr)->name(), "Disks");
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(BundleRecordsTest, SettingsThatChangeNothingNeedNoSave) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_FALSE(writer.setAlertBundleSettings(
      {{"Disk", {"Disks", true, true}}, {"Nobody's", {"", false, false}}}, &error));
  EXPECT_FALSE(writer.setAlertBundleSettings({}, &error));
  EXPECT_FALSE(writer.managedObjectContext().hasChanges());
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(BundleRecordsTest, SettingsOfAnEmptyStoreChangeNothing) {
  std::optional<Error> error;
  EXPECT_FALSE(system_.store().setAlertBundleSettings({{"Disk", {"", true, true}}}, &error));
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(BundleRecordsTest, SettingsReachEachRecordAlsoThoseOfDisabledBundles) {
  auto store = system_.store();
  store.insertAlertBundle("Disk", "Disks");
  store.insertAlertBundle("Off", "Nobody");
  store.disableAlertBundle("Off", nullptr);
  store.getADAlertBundle("Off", nullptr)->setPushEnabled(std::nullopt);
  EXPECT_TRUE(store.setAlertBundleSettings({{"Disk", {"", true, true}}, {"Off", {"", false, true}}},
                                           nullptr));
  EXPECT_EQ(switches(store, "Off"), std::pair(std::optional(true), std::optional(false)))
      << "an absent switch is not one that is off";
  EXPECT_EQ(store.getADAlertBundle("Off", nullptr)->enabled(), false);
  save(store);
  EXPECT_TRUE(store.setAlertBundleSettings({{"Disk", {"", false, false}}}, nullptr));
  EXPECT_EQ(switches(store, "Disk"), std::pair(std::optional(false), std::optional(false)));
}

TEST_F(BundleRecordsTest, TheErrorOfTheFetchWinsOverNoBundles) {
  std::optional<Error> error;
  EXPECT_FALSE(brokenStore().setAlertBundleSettings({{"Disk", {"", true, true}}}, &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_FALSE(brokenStore().setAlertBundleSettings({{"Disk", {"", true, true}}}, nullptr));
}

}  // namespace
}  // namespace velto
