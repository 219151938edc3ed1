// SPDX-License-Identifier: Apache-2.0
// The model file of the alert store, and how SQLite answers the store's queries on it.

#include <gmock/gmock.h>

#include "platform/persistence/FetchQuery.h"
#include "platform/persistence/ManagedObjectModel.h"
#include "tests/persistence/OpenStore.h"

namespace velto {
namespace {

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::shared_ptr<const ManagedObjectModel> alertsModel() {
  return ManagedObjectModel::mergedModelFromDirectory(VELTO_MODEL_DIRECTORY);
}

/// The entity's attributes as "name:type", the types numbered as declared.
std::vector<std::string> attributes(const ManagedObjectModel& model, std::string_view name) {
  static constexpr std::array kTypes{"string", "date", "data", "boolean"};
  std::vector<std::string> attributes;
  for (const AttributeDescription& attribute : model.entity(name)->attributes()) {
    attributes.push_back(attribute.name + ":" +
                         kTypes.at(static_cast<std::size_t>(attribute.type)));
  }
  return attributes;
}

TEST(AlertsModel, HoldsTheFiveEntities) {
  const auto model = alertsModel();
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->entities().size(), 5U);
  EXPECT_THAT(
      attributes(*model, "ADAlert"),
      ElementsAre("attributes:data", "creationDate:date", "identifier:string", "sentDate:date",
                  "type:string", "bundle:string", "readDate:date", "resolvedDate:date"));
  EXPECT_THAT(attributes(*model, "ADAlertBundle"),
              ElementsAre("name:string", "enabled:boolean", "pushEnabled:boolean",
                          "mailEnabled:boolean", "bundle:string"));
  EXPECT_THAT(attributes(*model, "ADAttribute"), ElementsAre("name:string", "value:string"));
  EXPECT_THAT(attributes(*model, "ADMailRecipient"),
              ElementsAre("address:string", "localization:string", "enabled:boolean"));
  EXPECT_THAT(attributes(*model, "ADPushRecipient"),
              ElementsAre("enabled:boolean", "guid:string", "localization:string", "token:data",
                          "name:string"));
}

/// How SQLite would run the fetches of the store.
class QueryPlanTest : public ::testing::Test {
 protected:
  std::vector<std::string> plan(const FetchRequest& request) {
    const EntityDescription& entity = *store_.model().entity(request.entityName());
    const FetchQuery query(EntitySql(entity).select, request, entity, request.fetchLimit());
    Statement statement = reader_->statement("EXPLAIN QUERY PLAN " + query.sql);
    std::vector<std::string> steps;
    while (statement.step() == Statement::Step::kRow) {
      steps.push_back(std::get<std::string>(statement.value(3, AttributeType::kString)));
    }
    return steps;
  }

  static FetchRequest request(std::string_view entity, std::string_view format,
                              std::initializer_list<PredicateArgument> arguments = {}) {
    FetchRequest request{std::string(entity)};
    request.setPredicate(Predicate::withFormat(format, arguments));
    return request;
  }

  static FetchRequest newestFirst(std::string_view format,
                                  std::initializer_list<PredicateArgument> arguments = {}) {
    FetchRequest listing = request("ADAlert", format, arguments);
    listing.setSortDescriptors({{"sentDate", false}});
    return listing;
  }

  const OpenStore store_{alertsModel()};
  const std::unique_ptr<SQLiteConnection> reader_ = store_.reader();
};

/// One walk through an index and no sorting.
auto walks(const std::string& index) {
  return ElementsAre(AllOf(StartsWith("SEARCH "), HasSubstr(" USING INDEX " + index + " ")));
}

TEST_F(QueryPlanTest, LookupsWalkTheIndexOfTheirKey) {
  const auto first = [](FetchRequest lookup) {
    lookup.setFetchLimit(1);
    return lookup;
  };
  for (const AttributeValue& key : {AttributeValue(std::string("key")), AttributeValue()}) {
    EXPECT_THAT(plan(first(request("ADAlert", "identifier = %@", {key}))),
                walks("ADAlert(identifier)"));
    EXPECT_THAT(plan(first(request("ADAlertBundle", "bundle = %@", {key}))),
                walks("ADAlertBundle(bundle)"));
    EXPECT_THAT(plan(first(request("ADAttribute", "name = %@", {key}))),
                walks("ADAttribute(name)"));
    EXPECT_THAT(plan(first(request("ADMailRecipient", "address = %@", {key}))),
                walks("ADMailRecipient(address)"));
    EXPECT_THAT(plan(first(request("ADPushRecipient", "guid = %@", {key}))),
                walks("ADPushRecipient(guid)"));
  }
  for (const AttributeValue& token : {AttributeValue(Data("token")), AttributeValue()}) {
    EXPECT_THAT(plan(first(request("ADPushRecipient", "token = %@", {token}))),
                walks("ADPushRecipient(token)"));
  }
}

TEST_F(QueryPlanTest, ListingsWalkAnIndexInTheirOrder) {
  for (const std::size_t limit : {0U, 1U}) {
    const auto limited = [limit](FetchRequest listing) {
      listing.setFetchLimit(limit);
      return listing;
    };
    const AttributeValue key = std::string("key");
    EXPECT_THAT(plan(limited(newestFirst("type = %@", {key}))), walks("ADAlert(type,sentDate)"));
    EXPECT_THAT(plan(limited(newestFirst("bundle = %@", {key}))),
                walks("ADAlert(bundle,sentDate)"));
  }
  EXPECT_THAT(plan(newestFirst("resolvedDate = nil")), walks("ADAlert(resolvedDate,sentDate)"));
}

TEST_F(QueryPlanTest, PeriodsUseAnIndexForEachDate) {
  const AttributeValue at = Date(1);
  const FetchRequest bounded = newestFirst(
      "(sentDate > %@ AND sentDate <= %@) OR (readDate > %@ AND readDate <= %@) OR "
      "(resolvedDate > %@ AND resolvedDate <= %@)",
      {at, at, at, at, at, at});
  const FetchRequest open =
      newestFirst("sentDate <= %@ OR readDate <= %@ OR resolvedDate <= %@", {at, at, at});
  for (const FetchRequest& listing : {bounded, open}) {
    const auto steps = plan(listing);
    EXPECT_THAT(steps, Contains("MULTI-INDEX OR"));
    EXPECT_THAT(steps, Contains(HasSubstr("USING INDEX ADAlert(sentDate) ")));
    EXPECT_THAT(steps, Contains(HasSubstr("USING INDEX ADAlert(readDate) ")));
    EXPECT_THAT(steps, Contains(HasSubstr("USING INDEX ADAlert(resolvedDate,sentDate) ")));
    EXPECT_THAT(steps, Each(Not(StartsWith("SCAN"))));
  }
}

TEST_F(QueryPlanTest, DeletionsSearchAnIndex) {
  EXPECT_THAT(plan(request("ADAlert", "sentDate < %@", {Date(1)})),
              ElementsAre(HasSubstr("USING INDEX ADAlert(sentDate) (sentDate<?)"),
                          "USE TEMP B-TREE FOR ORDER BY"));
  const auto steps =
      plan(request("ADAlert", "identifier IN %@", {std::vector<std::string>{"a", "b"}}));
  EXPECT_THAT(steps, Contains(HasSubstr("USING INDEX ADAlert(identifier) (identifier=?)")));
  EXPECT_THAT(steps, Each(Not(StartsWith("SCAN ADAlert"))));
}

TEST_F(QueryPlanTest, EnabledRecordsAreFoundByTheirSwitch) {
  for (const std::string entity : {"ADAlertBundle", "ADMailRecipient", "ADPushRecipient"}) {
    EXPECT_THAT(plan(request(entity, "enabled = 1")), walks(entity + "(enabled)"));
  }
}

TEST_F(QueryPlanTest, WholeEntitiesAreReadInTheOrderOfInsertion) {
  for (const std::string entity : {"ADAlertBundle", "ADAttribute", "ADPushRecipient"}) {
    EXPECT_THAT(plan(FetchRequest(entity)), ElementsAre("SCAN " + entity));
  }
}

}  // namespace
}  // namespace velto
