// SPDX-License-Identifier: Apache-2.0
// The attribute records of ADAlertStore.

#include <limits>

#include "store/ADAttribute.h"
#include "tests/store/StoreTesting.h"

namespace velto {
namespace {

using ::testing::IsEmpty;

class AttributeRecordsTest : public StoreTest {};

using Attributes = std::map<std::string, std::string>;

TEST_F(AttributeRecordsTest, ValuesAreKeptAsTexts) {
  auto store = system_.store();
  std::optional<Error> error;
  EXPECT_TRUE(
      store.setAttributes({{"text", PropertyList("5.0")},
                           {"empty", PropertyList("")},
                           {"number", PropertyList(5)},
                           {"negative", PropertyList(std::numeric_limits<std::int64_t>::min())},
                           {"largest", PropertyList(std::numeric_limits<std::uint64_t>::max())},
                           {"real", PropertyList(0.1)},
                           {"whole", PropertyList(3.0)},
                           {"large", PropertyList(100000.0)},
                           {"larger", PropertyList(1e15)},
                           {"small", PropertyList(0.0001)},
                           {"nothing", PropertyList(-0.0)},
                           {"huge", PropertyList(-1e300)},
                           {"tiny", PropertyList(2.5e-40)},
                           {"yes", PropertyList(true)},
                           {"no", PropertyList(false)}},
                          &error));
  EXPECT_EQ(error, std::nullopt);
  save(store);
  EXPECT_EQ(system_.store().getAttributes(&error), (Attributes{{"text", "5.0"},
                                                               {"empty", ""},
                                                               {"number", "5"},
                                                               {"negative", "-9223372036854775808"},
                                                               {"largest", "18446744073709551615"},
                                                               {"real", "0.1"},
                                                               {"whole", "3"},
                                                               {"large", "100000"},
                                                               {"larger", "1000000000000000"},
                                                               {"small", "0.0001"},
                                                               {"nothing", "0"},
                                                               {"huge", "-1e+300"},
                                                               {"tiny", "2.5e-40"},
                                                               {"yes", "1"},
                                                               {"no", "0"}}));
  EXPECT_EQ(error, std::nullopt);
}

TEST_F(AttributeRecordsTest, TheGivenAreMergedIntoTheStored) {
  auto store = system_.store();
  store.setAttributes({{"kept", PropertyList("1")}, {"changed", PropertyList("1")}}, nullptr);
  save(store);
  auto writer = system_.store();
  EXPECT_TRUE(
      writer.setAttributes({{"changed", PropertyList("2")}, {"new", PropertyList("3")}}, nullptr));
  save(writer);
  EXPECT_EQ(system_.store().getAttributes(nullptr),
            (Attributes{{"kept", "1"}, {"changed", "2"}, {"new", "3"}}));
}

TEST_F(AttributeRecordsTest, AnAbsentValueDeletes) {
  auto store = system_.store();
  store.setAttributes({{"a", PropertyList("1")}, {"b", PropertyList("2")}}, nullptr);
  save(store);
  auto writer = system_.store();
  EXPECT_FALSE(writer.setAttributes({{"unknown", PropertyList()}}, nullptr));
  EXPECT_FALSE(writer.managedObjectContext().hasChanges());
  EXPECT_TRUE(writer.setAttributes({{"a", PropertyList()}}, nullptr));
  save(writer);
  EXPECT_EQ(system_.store().getAttributes(nullptr), (Attributes{{"b", "2"}}));
}

TEST_F(AttributeRecordsTest, AnEqualValueIsAChangeAndNothingIsNone) {
  auto store = system_.store();
  store.setAttributes({{"a", PropertyList("1")}}, nullptr);
  save(store);
  EXPECT_FALSE(store.setAttributes({}, nullptr));
  EXPECT_FALSE(store.managedObjectContext().hasChanges());
  EXPECT_TRUE(store.setAttributes({{"a", PropertyList("1")}}, nullptr));
  EXPECT_TRUE(store.managedObjectContext().hasChanges());
}

TEST_F(AttributeRecordsTest, AValueWithoutAStringFormChangesNothing) {
  const PropertyList values[] = {PropertyList(Date(1)), PropertyList(Data("x")),
                                 PropertyList(PropertyList::Array{}),
                                 PropertyList(PropertyList::Dictionary{})};
  for (const PropertyList& value : values) {
    auto store = system_.store();
    std::optional<Error> error;
    EXPECT_FALSE(store.setAttributes({{"a", PropertyList("1")}, {"b", value}}, &error));
    EXPECT_EQ(error, ownError("Set Attributes: The value of 'b' has no string form."));
    EXPECT_FALSE(store.managedObjectContext().hasChanges());
    EXPECT_FALSE(store.setAttributes({{"b", value}}, nullptr));
  }
}

TEST_F(AttributeRecordsTest, OfTwoRecordsOfANameOneIsSetAndTheLaterOneShows) {
  auto store = system_.store();
  for (const char* value : {"first", "second"}) {
    auto record =
        store.managedObjectContext().insertNewObject<ADAttribute>(ADAttribute::kEntityName);
    record.setName("a");
    record.setValue(value);
  }
  EXPECT_EQ(store.getAttributes(nullptr), (Attributes{{"a", "second"}}));
  EXPECT_TRUE(store.setAttributes({{"a", PropertyList("third")}}, nullptr));
  EXPECT_EQ(store.getAttributes(nullptr), (Attributes{{"a", "second"}}));
}

TEST_F(AttributeRecordsTest, RecordsThatLackSomethingAreLeftOut) {
  auto store = system_.store();
  auto& context = store.managedObjectContext();
  context.insertNewObject<ADAttribute>(ADAttribute::kEntityName).setName("without a value");
  context.insertNewObject<ADAttribute>(ADAttribute::kEntityName).setValue("without a name");
  EXPECT_THAT(store.getAttributes(nullptr), IsEmpty());
}

TEST_F(AttributeRecordsTest, AFailedLookUpCountsAsNoRecord) {
  auto store = brokenStore();
  std::optional<Error> error;
  EXPECT_TRUE(store.setAttributes({{"a", PropertyList("1")}}, &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_FALSE(store.setAttributes({{"a", PropertyList()}}, nullptr));
  EXPECT_FALSE(store.save(nullptr));
  error.reset();
  EXPECT_THAT(store.getAttributes(&error), IsEmpty());
  EXPECT_TRUE(error);
}

}  // namespace
}  // namespace velto
