// SPDX-License-Identifier: Apache-2.0
// The recipient records of ADAlertStore.

#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecipientRecordsTest : public StoreTest {};

TEST_F(RecipientRecordsTest, MailRecipientsTakeTheirLanguageFromTheAddress) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("a@example.fr", std::nullopt);
  store.insertMailRecipientWithAddress("b@example.fr", "de");
  store.insertMailRecipientWithAddress(std::nullopt, "de");
  save(store);
  EXPECT_THAT(
      system_.store().getMailRecipients(nullptr),
      ElementsAre(MailRecipient{"a@example.fr", "fr"}, MailRecipient{"b@example.fr", "de"}));
}

TEST_F(RecipientRecordsTest, OnlyEnabledRecipientsWithBothValuesAreListed) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("off@example.fr", std::nullopt);
  store.getADMailRecipientForAddress("off@example.fr", nullptr)->setEnabled(false);
  store.insertMailRecipientWithAddress("nowhere@example.fr", std::nullopt);
  store.getADMailRecipientForAddress("nowhere@example.fr", nullptr)->setLocalization(std::nullopt);
  store.insertMailRecipientWithAddress("empty@example.fr", "");
  save(store);
  auto reader = system_.store();
  EXPECT_THAT(reader.getMailRecipients(nullptr),
              ElementsAre(MailRecipient{"empty@example.fr", ""}));
  EXPECT_EQ(reader.getMailRecipientsByLocalization(nullptr),
            (std::map<std::string, std::vector<std::string>>{
                {ADAlertStore::preferredLocalizationIdentifier(),
                 {"nowhere@example.fr", "empty@example.fr"}}}));
}

TEST_F(RecipientRecordsTest, RecipientsOfALanguageStandTogetherInOrder) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("1@example.org", "fr");
  store.insertMailRecipientWithAddress("2@example.org", "en");
  store.insertMailRecipientWithAddress("3@example.org", "fr");
  store.insertMailRecipientWithAddress("3@example.org", "fr");
  save(store);
  EXPECT_EQ(
      system_.store().getMailRecipientsByLocalization(nullptr),
      (std::map<std::string, std::vector<std::string>>{
          {"en", {"2@example.org"}}, {"fr", {"1@example.org", "3@example.org", "3@example.org"}}}));
}

PushRecipient push(const std::string& guid, std::string_view token, const std::string& name,
                   const std::string& locale, bool enabled = true) {
  return {.guid = guid, .token = Data(token), .name = name, .locale = locale, .enabled = enabled};
}

TEST_F(RecipientRecordsTest, ANewPushRecipientIsEnabled) {
  auto store = system_.store();
  store.insertPushRecipientWithName("Phone", "g1", Data("\x01\x02"), "fr");
  save(store);
  EXPECT_THAT(system_.store().getPushRecipients(nullptr),
              ElementsAre(push("g1", "\x01\x02", "Phone", "fr")));
}

TEST_F(RecipientRecordsTest, APushRecipientIsGivenANameAndALanguage) {
  auto store = system_.store();
  store.insertPushRecipientWithName(std::nullopt, "g1", Data("t"), std::nullopt);
  store.insertPushRecipientWithName("", "g2", Data(""), "");
  EXPECT_THAT(
      store.getPushRecipients(nullptr),
      ElementsAre(push("g1", "t", "Unkown", ADAlertStore::preferredLocalizationIdentifier()),
                  push("g2", "", "", "")));
}

TEST_F(RecipientRecordsTest, WithoutAGuidOrATokenNothingIsInserted) {
  auto store = system_.store();
  store.insertPushRecipientWithName("Phone", std::nullopt, Data("t"), "en");
  store.insertPushRecipientWithName("Phone", "g", std::nullopt, "en");
  EXPECT_FALSE(store.managedObjectContext().hasChanges());
}

TEST_F(RecipientRecordsTest, InsertingTwiceMakesTwoRecords) {
  auto store = system_.store();
  for (int time = 0; time < 2; ++time) {
    store.insertPushRecipientWithName("Phone", "g", Data("t"), "en");
  }
  save(store);
  EXPECT_EQ(system_.store().getPushRecipients(nullptr).size(), 2U);
  auto writer = system_.store();
  EXPECT_TRUE(writer.deletePushRecipientWithGUID("g", nullptr));
  save(writer);
  EXPECT_EQ(system_.store().getPushRecipients(nullptr).size(), 1U);
}

TEST_F(RecipientRecordsTest, ADisabledPushRecipientIsListedButNotReached) {
  auto store = system_.store();
  store.insertPushRecipientWithName("Phone", "g1", Data("1"), "fr");
  store.insertPushRecipientWithName("Tablet", "g2", Data("2"), "fr");
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_TRUE(writer.disablePushRecipientWithGUID("g1", &error));
  EXPECT_EQ(error, std::nullopt);
  save(writer);
  auto reader = system_.store();
  EXPECT_THAT(reader.getPushRecipients(nullptr),
              ElementsAre(push("g1", "1", "Phone", "fr", false), push("g2", "2", "Tablet", "fr")));
  EXPECT_EQ(reader.getPushRecipientsByLocalization(nullptr),
            (std::map<std::string, std::vector<Data>>{{"fr", {Data("2")}}}));
  EXPECT_TRUE(reader.enablePushRecipientWithGUID("g1", nullptr));
  EXPECT_EQ(reader.getPushRecipientsByLocalization(nullptr),
            (std::map<std::string, std::vector<Data>>{{"fr", {Data("1"), Data("2")}}}));
}

TEST_F(RecipientRecordsTest, APushRecordWithoutValuesIsListedEmpty) {
  auto store = system_.store();
  store.managedObjectContext().insertNewObject<ADPushRecipient>(ADPushRecipient::kEntityName);
  EXPECT_THAT(store.getPushRecipients(nullptr), ElementsAre(PushRecipient()));
  EXPECT_THAT(store.getPushRecipientsByLocalization(nullptr), IsEmpty()) << "it is not enabled";
}

TEST_F(RecipientRecordsTest, PushRecipientsWithoutALanguageGetThePreferredOne) {
  auto store = system_.store();
  store.insertPushRecipientWithName("Phone", "g1", Data("1"), "");
  store.insertPushRecipientWithName("Phone", "g2", Data("2"), "xx");
  store.getADPushRecipientWithGUID("g2", nullptr)->setLocalization(std::nullopt);
  store.insertPushRecipientWithName("Phone", "g3", Data("3"), "fr");
  EXPECT_EQ(store.getPushRecipientsByLocalization(nullptr),
            (std::map<std::string, std::vector<Data>>{
                {"fr", {Data("3")}},
                {ADAlertStore::preferredLocalizationIdentifier(), {Data("1"), Data("2")}}}));
}

TEST_F(RecipientRecordsTest, EnabledRecordsWithNothingToReachAreLeftOut) {
  auto store = system_.store();
  auto& context = store.managedObjectContext();
  context.insertNewObject<ADPushRecipient>(ADPushRecipient::kEntityName).setEnabled(true);
  context.insertNewObject<ADMailRecipient>(ADMailRecipient::kEntityName).setEnabled(true);
  EXPECT_THAT(store.getPushRecipientsByLocalization(nullptr), IsEmpty());
  EXPECT_THAT(store.getMailRecipientsByLocalization(nullptr), IsEmpty());
}

TEST_F(RecipientRecordsTest, ADeletedMailRecipientIsGone) {
  auto store = system_.store();
  store.insertMailRecipientWithAddress("a@example.fr", std::nullopt);
  store.insertMailRecipientWithAddress("b@example.fr", std::nullopt);
  save(store);
  auto writer = system_.store();
  std::optional<Error> error;
  EXPECT_FALSE(writer.deleteMailRecipientWithAddress("A@example.fr", nullptr));
  EXPECT_TRUE(writer.deleteMailRecipientWithAddress("a@example.fr", &error));
  EXPECT_EQ(error, std::nullopt);
  save(writer);
  EXPECT_THAT(system_.store().getMailRecipients(nullptr),
              ElementsAre(MailRecipient{"b@example.fr", "fr"}));
}

}  // namespace
}  // namespace velto
