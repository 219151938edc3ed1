// SPDX-License-Identifier: Apache-2.0
#include "store/ADAlertAdditions.h"

#include <cmath>

#include <gtest/gtest.h>

#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

class ADAlertAdditionsTest : public ::testing::Test {
 protected:
  /// What another handle reads after the alert was saved.
  VLAlert roundTrip(const VLAlert& alert) {
    auto store = system_.store();
    store.insertAlert(alert);
    std::optional<Error> error;
    EXPECT_TRUE(store.save(&error));
    auto reader = system_.store();
    const auto record = reader.getADAlertWithIdentifier(alert.identifier, &error);
    return record ? initWithADAlert(*record) : VLAlert();
  }

  ScratchSystem system_;
};

VLAlert fullAlert() {
  VLAlert alert;
  alert.identifier = "id";
  alert.type = "type";
  alert.bundle = "bundle";
  alert.creationDate = Date(-0.1);
  alert.sentDate = Date(817344000.123456789);
  alert.readDate = Date(1e-300);
  alert.resolvedDate = Date(1e15);
  return alert;
}

TEST_F(ADAlertAdditionsTest, EverythingComesBackAsItWas) {
  auto alert = fullAlert();
  alert.attributes = PropertyList::Dictionary{
      {"text", "Größe 😀"},
      {"negative", -5},
      {"huge", std::uint64_t{18446744073709551615u}},
      {"real", 0.1},
      {"yes", true},
      {"one", 1},
      {"when", Date(12.5)},
      {"bytes", Data(std::string_view("\0\xff", 2))},
      {"list", PropertyList::Array{1, "two", PropertyList::Array{}, PropertyList::Dictionary{}}},
      {"map", PropertyList::Dictionary{{"inner", PropertyList::Array{false, 2.0}}}},
  };
  EXPECT_EQ(roundTrip(alert), alert);
}

TEST_F(ADAlertAdditionsTest, AbsentStaysAbsent) {
  const VLAlert alert;
  EXPECT_EQ(roundTrip(alert), alert);
}

TEST_F(ADAlertAdditionsTest, AnEmptyDictionaryIsNotAnAbsentOne) {
  auto alert = fullAlert();
  alert.attributes = PropertyList::Dictionary();
  const auto back = roundTrip(alert);
  ASSERT_TRUE(back.attributes);
  EXPECT_TRUE(back.attributes->empty());
}

TEST_F(ADAlertAdditionsTest, AbsentValuesAmongTheAttributesAreLeftOut) {
  auto alert = fullAlert();
  const PropertyList::Dictionary held{{"fine", 2}, {"absent", PropertyList()}};
  alert.attributes = PropertyList::Dictionary{
      {"fine", 1},
      {"absent", PropertyList()},
      {"list", PropertyList::Array{PropertyList(), PropertyList("kept"), PropertyList(held)}},
      {"held", held}};
  const PropertyList::Dictionary kept{{"fine", 2}};
  alert = roundTrip(alert);
  EXPECT_EQ(alert.attributes,
            (PropertyList::Dictionary{
                {"fine", 1},
                {"list", PropertyList::Array{PropertyList("kept"), PropertyList(kept)}},
                {"held", kept}}));
}

TEST_F(ADAlertAdditionsTest, BytesThatAreNoDictionaryReadAsAbsent) {
  for (const auto* bytes : {"bplist00garbage", "<plist>", "word", "(1, 2)", "{ a = "}) {
    auto store = system_.store();
    auto record =
        insertADAlertObjectInManagedObjectContext(fullAlert(), store.managedObjectContext());
    record.setAttributes(Data(std::string_view(bytes)));
    const auto back = initWithADAlert(record);
    EXPECT_EQ(back, fullAlert()) << bytes;
  }
}

TEST_F(ADAlertAdditionsTest, AttributesOfAnyFormatAreRead) {
  auto store = system_.store();
  auto record =
      insertADAlertObjectInManagedObjectContext(fullAlert(), store.managedObjectContext());
  record.setAttributes(Data(std::string_view("{ a = b; }")));
  EXPECT_EQ(initWithADAlert(record).attributes, (PropertyList::Dictionary{{"a", "b"}}));
}

}  // namespace
}  // namespace velto
