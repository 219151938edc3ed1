// SPDX-License-Identifier: Apache-2.0
// The model file of the alert store, and how SQLite answers the store's queries on it.

#include <gmock/gmock.h>
#include <sqlite3.h>

#include "platform/persistence/FetchCursor.h"
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
    return planOf(FetchQuery(EntitySql(entity).select, request, entity, request.fetchLimit()).sql);
  }

  /// Of what a cursor asks for, when it goes on from such a key.
  std::vector<std::string> placePlan(const FetchRequest& request,
                                     const std::optional<AttributeValue>& key = std::nullopt) {
    const FetchPosition after{key.value_or(AttributeValue()), std::int64_t{1}};
    return planOf(FetchQuery("SELECT _id, sentDate FROM ADAlert", request,
                             *store_.model().entity("ADAlert"), 5, key ? &after : nullptr)
                      .sql);
  }

  std::vector<std::string> planOf(const std::string& sql) {
    Statement statement = reader_->statement("EXPLAIN QUERY PLAN " + sql);
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
}

TEST_F(QueryPlanTest, PartsOfListsWalkAnIndexFromWhereTheyGoOn) {
  const auto parts = [&](std::string_view format,
                         std::initializer_list<PredicateArgument> arguments) {
    FetchRequest request = newestFirst(format, arguments);
    request.setOrder(FetchRequest::Order::kIndexed);
    return datedAndUndated(request);
  };
  const AttributeValue key = std::string("key");
  for (const std::string attribute : {"type", "bundle"}) {
    const std::string index = "SEARCH ADAlert USING COVERING INDEX ADAlert(" + attribute +
                              ",sentDate) (" + attribute + "=? AND ";
    const auto two = parts(attribute + " = %@", {key});
    EXPECT_THAT(placePlan(two.at(0).requests.at(0), Date(1)),
                ElementsAre(index + "sentDate>? AND sentDate<?)"));
    EXPECT_THAT(placePlan(two.at(1).requests.at(0), AttributeValue()),
                ElementsAre(index + "sentDate=? AND rowid<?)"));
  }
  FetchRequest sent = newestFirst("sentDate > %@ AND sentDate <= %@", {Date(1), Date(2)});
  sent.setOrder(FetchRequest::Order::kIndexed);
  EXPECT_THAT(
      placePlan(sent, Date(1)),
      ElementsAre(
          "SEARCH ADAlert USING COVERING INDEX ADAlert(sentDate) (sentDate>? AND sentDate<?)"));
}

/// The plan shows which index is entered, but not whether at the position or at the period's end.
TEST_F(QueryPlanTest, APortionOfAPeriodCostsTheSameWhereverItBegins) {
  ASSERT_TRUE(store_.writer().execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
      "INSERT INTO ADAlert (_version, sentDate) SELECT 1, i FROM n"));
  FetchRequest sent = newestFirst("sentDate <= %@", {Date(5000)});
  sent.setOrder(FetchRequest::Order::kIndexed);
  const auto stepsFrom = [&](double date) {
    const FetchPosition after{Date(date), static_cast<std::int64_t>(date)};
    const FetchQuery query("SELECT _id, sentDate FROM ADAlert", sent,
                           *store_.model().entity("ADAlert"), 5, &after);
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(reader_->handle(), query.sql.c_str(), -1, &statement, nullptr),
              SQLITE_OK);
    int parameter = 0;
    for (const double value : {5000.0, date, date, 5.0}) {
      EXPECT_EQ(sqlite3_bind_double(statement, ++parameter, value), SQLITE_OK);
    }
    int rows = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
      ++rows;
    }
    EXPECT_EQ(rows, 5);
    const int steps = sqlite3_stmt_status(statement, SQLITE_STMTSTATUS_VM_STEP, 0);
    sqlite3_finalize(statement);
    return steps;
  };
  EXPECT_EQ(stepsFrom(10), stepsFrom(5000));
}

/// How a walk for a page goes on from a place: through the rest of its date, earlier dates, a
/// period, and those without a date.
TEST_F(QueryPlanTest, PagesWalkAnIndexFromTheirPlace) {
  const std::pair<const char*, std::string> ways[] = {
      {"bundle = 'a' AND ", "ADAlert(bundle,sentDate) (bundle=? AND "},
      {"type = 'a' AND ", "ADAlert(type,sentDate) (type=? AND "},
      {"readDate IS NULL AND ", "ADAlert(readDate,sentDate) (readDate=? AND "},
      {"readDate IS NOT NULL AND ", "ADAlert(sentDate)+readDate ("},
      {"resolvedDate IS NULL AND ", "ADAlert(sentDate)-resolvedDate ("},
      {"resolvedDate IS NOT NULL AND ", "ADAlert(sentDate)+resolvedDate ("},
      {"", "ADAlert(sentDate) ("}};
  const std::pair<const char*, std::string> stretches[] = {
      {"sentDate = 1 AND _id < 7", "sentDate=? AND rowid<?)"},
      {"(sentDate < 1 AND sentDate IS NOT NULL)", "sentDate>? AND sentDate<?)"},
      {"(sentDate <= 1 AND sentDate > 0)", "sentDate>? AND sentDate<?)"},
      {"sentDate IS NULL", "sentDate=?)"},
      {"sentDate IS NULL AND _id < 7", "sentDate=? AND rowid<?)"}};
  for (const auto& [way, index] : ways) {
    for (const auto& [stretch, range] : stretches) {
      const std::string condition = std::string(way) + stretch;
      EXPECT_THAT(planOf("SELECT _id, sentDate, bundle, attributes FROM ADAlert WHERE " +
                         condition + " ORDER BY sentDate DESC, _id DESC"),
                  ElementsAre("SEARCH ADAlert USING INDEX " + index + range))
          << condition;
    }
  }
}

TEST_F(QueryPlanTest, TheTableIsGoneThroughAsItLies) {
  EXPECT_THAT(planOf("SELECT _id, sentDate, bundle FROM ADAlert NOT INDEXED WHERE bundle = 'a' AND "
                     "readDate IS NULL AND sentDate <= 7 AND _id >= 1 AND _id <= 9"),
              ElementsAre("SEARCH ADAlert USING INTEGER PRIMARY KEY (rowid>? AND rowid<?)"));
}

TEST_F(QueryPlanTest, AlertsAreCountedInAnIndexOfTheirBundles) {
  const std::string index = " ADAlert USING COVERING INDEX ADAlert(bundle,sentDate)";
  for (const std::string bundle : {"bundle = 'a'", "bundle IS NULL"}) {
    for (const std::string what : {"count(*)", "sentDate"}) {
      EXPECT_THAT(planOf("SELECT " + what + " FROM ADAlert WHERE " + bundle +
                         " AND sentDate > 1 AND sentDate <= 2" +
                         (what == "sentDate" ? " ORDER BY sentDate, _id" : "")),
                  ElementsAre("SEARCH" + index + " (bundle=? AND sentDate>? AND sentDate<?)"));
    }
  }
  EXPECT_THAT(planOf("SELECT bundle FROM ADAlert ORDER BY bundle"), ElementsAre("SCAN" + index));
  for (const std::string next : {"bundle > 'a'", "bundle IS NOT NULL"}) {
    EXPECT_THAT(planOf("SELECT bundle FROM ADAlert WHERE " + next + " ORDER BY bundle"),
                ElementsAre("SEARCH" + index + " (bundle>?)"));
  }
}

TEST_F(QueryPlanTest, WhatWasReadOrResolvedInAPeriodIsFoundWithoutTheTable) {
  for (const std::string date : {"readDate", "resolvedDate"}) {
    const std::string present = date == "resolvedDate" ? "+resolvedDate" : "";
    const std::string index = "SEARCH ADAlert USING COVERING INDEX ADAlert(" + date + ",sentDate)" +
                              present + " (" + date;
    for (const std::string sent : {"sentDate > %@", "sentDate <= %@"}) {
      FetchRequest bounded = newestFirst(date + " > %@ AND " + date + " <= %@ AND " + sent,
                                         {Date(1), Date(2), Date(2)});
      bounded.setOrder(FetchRequest::Order::kAny);
      EXPECT_THAT(placePlan(bounded), ElementsAre(index + ">? AND " + date + "<?)"));
    }
    FetchRequest open = newestFirst(date + " <= %@ AND sentDate > %@", {Date(2), Date(2)});
    open.setOrder(FetchRequest::Order::kAny);
    EXPECT_THAT(placePlan(open), ElementsAre(index + "<?)"));
    FetchRequest undated = newestFirst(date + " <= %@ AND sentDate = nil", {Date(2)});
    undated.setOrder(FetchRequest::Order::kAny);
    EXPECT_THAT(placePlan(undated), Each(StartsWith("SEARCH ADAlert USING ")));
  }
}

TEST_F(QueryPlanTest, KindsOfTheUnresolvedAreFoundWithoutTheirAlerts) {
  FetchRequest ofKind =
      newestFirst("resolvedDate = nil AND bundle = %@ AND type = %@",
                  {AttributeValue(std::string("a")), AttributeValue(std::string("b"))});
  ofKind.setOrder(FetchRequest::Order::kIndexed);
  EXPECT_THAT(plan(ofKind), walks("ADAlert(bundle,type,sentDate)-resolvedDate"));
  for (const char* condition :
       {"bundle = 'a' AND type > 'b' ORDER BY type", "bundle > 'a' ORDER BY bundle, type",
        "bundle IS NULL AND type IS NOT NULL ORDER BY type"}) {
    EXPECT_THAT(planOf("SELECT bundle, type FROM ADAlert WHERE resolvedDate IS NULL AND " +
                       std::string(condition)),
                walks("ADAlert(bundle,type,sentDate)-resolvedDate"));
  }
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
    EXPECT_THAT(steps, Contains(HasSubstr("USING INDEX ADAlert(readDate,sentDate) ")));
    EXPECT_THAT(steps,
                Contains(HasSubstr("USING INDEX ADAlert(resolvedDate,sentDate)+resolvedDate ")));
    EXPECT_THAT(steps, Each(Not(StartsWith("SCAN"))));
  }
}

TEST_F(QueryPlanTest, DeletionsSearchAnIndex) {
  FetchRequest byDate = request("ADAlert", "sentDate < %@", {Date(1)});
  byDate.setSortDescriptors({{"sentDate", true}});
  byDate.setOrder(FetchRequest::Order::kIndexed);
  EXPECT_THAT(plan(byDate), walks("ADAlert(sentDate)"));
  FetchRequest ofBundle =
      request("ADAlert", "bundle = %@ AND identifier != nil", {AttributeValue(std::string("a"))});
  ofBundle.setSortDescriptors({{"sentDate", true}});
  ofBundle.setOrder(FetchRequest::Order::kIndexed);
  EXPECT_THAT(plan(ofBundle), walks("ADAlert(bundle,sentDate)"));
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
