// SPDX-License-Identifier: Apache-2.0
#include "delivery/ADAlertPusher.h"

#include <limits>

#include <boost/json.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

VLAlert diskAlert() {
  VLAlert alert;
  alert.type = "AlmostFull";
  alert.bundle = "Disk";
  alert.sentDate = Date(1.5);
  alert.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 93}};
  return alert;
}

std::vector<Data> dataOf(const std::vector<std::string>& texts) {
  std::vector<Data> all;
  for (const auto& text : texts) {
    all.emplace_back(std::string_view(text));
  }
  return all;
}

class ADAlertPusherTest : public ::testing::Test {
 protected:
  ADAlertPusherTest() { system_.addDiskBundle(); }

  void addRecipient(const std::string& token, const std::string& locale) {
    auto store = system_.store();
    store.insertPushRecipientWithName("Phone", token, Data(token), locale);
    ASSERT_TRUE(store.save(nullptr));
  }

  std::optional<Error> push(const VLAlert& alert = diskAlert()) {
    auto store = system_.store();
    return system_.pusher.sendAlert(alert, store);
  }

  std::optional<Error> sendTo(const std::vector<std::string>& devices,
                              std::string_view message = "text",
                              std::optional<Date> date = Date(0)) {
    return system_.pusher.sendPushNotificationToTokens(dataOf(devices), message, date);
  }

  FakePushProvider& provider() { return *system_.provider; }

  ScratchSystem system_;
};

TEST_F(ADAlertPusherTest, MakesItsProviderForTheIdentityOfTheAlerts) {
  std::vector<std::string> preferences;
  FakePushProvider* made = nullptr;
  ADAlertPusher pusher(system_.bundles, system_.clock, system_.deliveries,
                       [&](const std::string& preference) {
                         preferences.push_back(preference);
                         auto provider = std::make_unique<FakePushProvider>();
                         made = provider.get();
                         return provider;
                       });
  EXPECT_THAT(preferences, ElementsAre("ovix:com.ulmora.alerts"));
  EXPECT_THAT(made->operations, IsEmpty());
}

TEST_F(ADAlertPusherTest, FlushesTheProviderAtItsEnd) {
  struct Flushed : FakePushProvider {
    explicit Flushed(int& count) : count_(count) {}
    void flush() override { ++count_; }
    int& count_;
  };
  int count = 0;
  {
    const ADAlertPusher pusher(
        system_.bundles, system_.clock, system_.deliveries,
        [&](const std::string&) { return std::make_unique<Flushed>(count); });
    EXPECT_EQ(count, 0);
  }
  EXPECT_EQ(count, 1);
}

TEST_F(ADAlertPusherTest, EveryDeviceHearsTheSubjectInItsLanguage) {
  addRecipient("e1", "en");
  addRecipient("f1", "fr");
  addRecipient("e2", "en");
  EXPECT_EQ(push(), std::nullopt);
  const auto sent = [](const std::string& device, const std::string& text) {
    return AllOf(Field(&FakePushProvider::Sent::device, device),
                 Field(&FakePushProvider::Sent::payload, "{\"zel\":{\"alert\":\"" + text + "\"}}"));
  };
  EXPECT_THAT(provider().sent,
              ElementsAre(sent("e1", "/home is almost full"), sent("e2", "/home is almost full"),
                          sent("f1", "/home est presque plein")));
}

TEST_F(ADAlertPusherTest, TheLanguagesOfAnAlertAreABatch) {
  addRecipient("e1", "en");
  addRecipient("f1", "fr");
  EXPECT_EQ(push(), std::nullopt);
  EXPECT_EQ(push(), std::nullopt);
  EXPECT_THAT(provider().batches, ElementsAre(testing::Pair(0, 2), testing::Pair(2, 4)));
}

TEST_F(ADAlertPusherTest, HandlersAreInstalledForTheSpanOfACall) {
  EXPECT_EQ(sendTo({"a", "b"}), std::nullopt);
  EXPECT_THAT(provider().operations,
              ElementsAre("errorHandler", "errorResponseHandler", "send", "send", "no errorHandler",
                          "no errorResponseHandler"));
}

TEST_F(ADAlertPusherTest, WithoutRecipientsTheProviderIsNotUsed) {
  EXPECT_EQ(push(), std::nullopt);
  EXPECT_THAT(provider().operations, IsEmpty());
}

TEST_F(ADAlertPusherTest, DisabledRecipientsHearNothing) {
  addRecipient("e1", "en");
  auto store = system_.store();
  ASSERT_TRUE(store.disablePushRecipientWithGUID("e1", nullptr));
  ASSERT_TRUE(store.save(nullptr));
  EXPECT_EQ(push(), std::nullopt);
  EXPECT_THAT(provider().sent, IsEmpty());
}

TEST_F(ADAlertPusherTest, ThePayloadHoldsTheMessageAndNothingElse) {
  const std::string texts[] = {"plain",
                               "\"quoted\" \\ / text",
                               "\xC3\xA9t\xC3\xA9",
                               "two\nlines\t",
                               std::string("\x01\x1f"),
                               "\xF0\x9F\x94\xA5",
                               ""};
  for (const auto& text : texts) {
    ASSERT_EQ(sendTo({"a"}, text), std::nullopt);
    const std::string& payload = provider().sent.back().payload;
    EXPECT_TRUE(payload.starts_with("{\"zel\":{\"alert\":\"")) << payload;
    EXPECT_TRUE(payload.ends_with("\"}}")) << payload;
    EXPECT_EQ(boost::json::parse(payload), (boost::json::object{{"zel", {{"alert", text}}}}));
  }
}

TEST_F(ADAlertPusherTest, TheIdentifierIsTheLow32BitsOfTheMilliseconds) {
  const std::pair<std::optional<Date>, std::vector<std::uint8_t>> rows[] = {
      {std::nullopt, {0, 0, 0, 0}},
      {Date(0), {0, 0, 0, 0}},
      {Date(1.5), {0xDC, 0x05, 0, 0}},
      {Date(0.0019), {1, 0, 0, 0}},
      {Date(-0.0019), {0xFF, 0xFF, 0xFF, 0xFF}},
      {Date(4294967.295), {0xFF, 0xFF, 0xFF, 0xFF}},
      {Date(4294967.296), {0, 0, 0, 0}},
      {Date(4294968.796), {0xDC, 0x05, 0, 0}},
      {Date(1e300), {0xFF, 0xFF, 0xFF, 0xFF}},
      {Date(-1e300), {0, 0, 0, 0}},
      {Date(std::numeric_limits<double>::quiet_NaN()), {0, 0, 0, 0}},
  };
  for (const auto& [date, bytes] : rows) {
    sendTo({"a"}, "text", date);
    EXPECT_EQ(provider().sent.back().identifier, Data(bytes))
        << (date ? date->secondsSinceReference() : -1);
  }
}

TEST_F(ADAlertPusherTest, NotificationsOfAnAlertShareIdentifierAndExpiry) {
  addRecipient("e", "en");
  addRecipient("f", "fr");
  system_.clock.set(1000);
  EXPECT_EQ(push(), std::nullopt);
  EXPECT_THAT(provider().sent,
              AllOf(SizeIs(2), Each(AllOf(Field(&FakePushProvider::Sent::identifier,
                                                Data(std::vector<std::uint8_t>{0xDC, 0x05, 0, 0})),
                                          Field(&FakePushProvider::Sent::expiry, Date(2593000))))));
}

TEST_F(ADAlertPusherTest, AFailureKeepsItsCodeAndInformationAndTellsItsDomain) {
  provider().fail("b", {"Elsewhere", 7, {{"NSLocalizedDescription", "no way"}, {"more", 1}}});
  EXPECT_EQ(
      sendTo({"a", "b", "c"}),
      (Error{"UlmoraPushProvider",
             7,
             {{"NSLocalizedDescription", "no way"}, {"more", 1}, {"ParentDomain", "Elsewhere"}}}));
  EXPECT_THAT(provider().sent, SizeIs(3)) << "the others are served all the same";
}

TEST_F(ADAlertPusherTest, AnErrorResponseIsTheErrorsDescriptionAsData) {
  provider().refuse("a", 410, "gone");
  EXPECT_EQ(sendTo({"a"}), (Error{"UlmoraPushProvider",
                                  410,
                                  {{"NSLocalizedDescription", Data(std::string_view("gone"))}}}));
}

TEST_F(ADAlertPusherTest, OfSeveralReportsTheFirstCounts) {
  provider().refuse("a", 410, "gone");
  provider().fail("b", {"Elsewhere", 7, {}});
  EXPECT_EQ(sendTo({"a", "b"})->code, 410);
  EXPECT_EQ(sendTo({"b", "a"})->code, 7);
  EXPECT_EQ(sendTo({"c"}), std::nullopt) << "nothing is kept from one call to the next";
}

TEST_F(ADAlertPusherTest, TheFirstLanguagesErrorCountsAndTheOthersAreTried) {
  addRecipient("e", "en");
  addRecipient("f", "fr");
  provider().refuse("e", 410, "gone");
  provider().refuse("f", 500, "down");
  EXPECT_EQ(push()->code, 410);
  EXPECT_THAT(provider().sent, SizeIs(2));
}

TEST_F(ADAlertPusherTest, EveryLanguageLeavesAnEntryInTheJournal) {
  addRecipient("e", "en");
  addRecipient("f", "fr");
  addRecipient("g", "fr");
  provider().refuse("f", 410, "gone");
  push();
  EXPECT_THAT(system_.deliveries.entries(), ElementsAre("push en:  to Phone: delivered 0",
                                                        "push fr:  to Phone, Phone: failed 410"));
}

TEST_F(ADAlertPusherTest, ALaterLanguagesErrorCountsWhenItIsTheFirst) {
  addRecipient("e", "en");
  addRecipient("f", "fr");
  provider().refuse("f", 500, "down");
  EXPECT_EQ(push()->code, 500);
}

TEST_F(ADAlertPusherTest, ABadDeviceStaysARecipient) {
  addRecipient("e", "en");
  provider().refuse("e", 410, "gone");
  push();
  EXPECT_THAT(system_.store().getPushRecipientsByLocalization(nullptr), SizeIs(1));
}

TEST_F(ADAlertPusherTest, AnUnknownTypeSendsNothing) {
  addRecipient("e", "en");
  auto alert = diskAlert();
  alert.type = "Unheard";
  const auto error = push(alert);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kBundleErrorDomain);
  EXPECT_THAT(provider().operations, IsEmpty());
}

TEST_F(ADAlertPusherTest, AStoreThatCannotBeReadSendsNothing) {
  const TemporaryDirectory nothing;
  StoreContainer broken(nothing.path().string(), nothing.path().string(), system_.storeServices);
  ADAlertStore store(broken);
  const auto error = system_.pusher.sendAlert(diskAlert(), store);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_THAT(provider().operations, IsEmpty());
}

}  // namespace
}  // namespace velto
