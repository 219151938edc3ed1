// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/Predicate.h"

#include <gmock/gmock.h>

#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Names = std::vector<std::string>;

/// Finds records among those pending in a context, in the file, and among changed ones over the
/// file: all three must agree.
class PredicateTest : public ::testing::Test {
 protected:
  Thing add(std::string_view name) { return insertThing(*context_, name); }

  Names found(std::string_view format, std::initializer_list<PredicateArgument> arguments = {}) {
    const FetchRequest request = thingRequest(format, arguments);
    const Names asPending = names(*context_, request);
    expectSaved(*context_);
    const Names inFile = names(*store_.context(), request);
    for (Thing& thing : fetchThings(*context_, thingRequest())) {
      thing.setEnabled(thing.enabled());
    }
    EXPECT_EQ(names(*context_, request), inFile) << format;
    EXPECT_EQ(asPending, inFile) << format;
    return inFile;
  }

 private:
  const TestStore store_;
  const std::unique_ptr<ManagedObjectContext> context_ = store_.context();
};

AttributeValue text(std::string_view value) {
  return std::string(value);
}

TEST_F(PredicateTest, TextComparesByBytes) {
  add("");
  add("B");
  add("a");
  add("a b");
  add({"a\0", 2});
  add({"a\0b", 3});
  add("\xc3\xa4");
  add("unset").setName(std::nullopt);
  EXPECT_THAT(found("name = %@", {text("a")}), ElementsAre("a"));
  EXPECT_THAT(found("name = %@", {text({"a\0b", 3})}), ElementsAre(std::string("a\0b", 3)));
  EXPECT_THAT(found("name = %@", {text("")}), ElementsAre(""));
  EXPECT_THAT(found("name = %@", {text("b")}), IsEmpty());
  EXPECT_THAT(found("name < %@", {text("a")}), ElementsAre("", "B"));
  EXPECT_THAT(found("name <= %@", {text("a")}), ElementsAre("", "B", "a"));
  EXPECT_THAT(found("name > %@", {text({"a\0", 2})}),
              ElementsAre("a b", std::string("a\0b", 3), "\xc3\xa4"));
  EXPECT_THAT(found("name >= %@", {text("a b")}), ElementsAre("a b", "\xc3\xa4"));
  EXPECT_THAT(found("name > %@ AND name < %@", {text("z"), text("\xff")}), ElementsAre("\xc3\xa4"));
}

TEST_F(PredicateTest, EqualityWithNilMatchesTheAbsent) {
  add("present");
  add("absent").setDate(std::nullopt);
  EXPECT_THAT(found("date = nil"), ElementsAre("absent"));
  EXPECT_THAT(found("date = %@", {AttributeValue()}), ElementsAre("absent"));
  EXPECT_THAT(found("date != nil"), ElementsAre("present"));
  EXPECT_THAT(found("date != %@", {AttributeValue()}), ElementsAre("present"));
}

TEST_F(PredicateTest, InequalityMatchesWhateverEqualityDoesNot) {
  add("a");
  add("b");
  add("c").setName(std::nullopt);
  EXPECT_THAT(found("name != %@", {text("a")}), ElementsAre("b", "-"));
}

TEST_F(PredicateTest, OrderComparisonWithAbsentMatchesNothing) {
  add("present");
  add("absent").setDate(std::nullopt);
  for (const char* comparison : {"<", "<=", ">", ">="}) {
    const std::string key = "date " + std::string(comparison);
    EXPECT_THAT(found(key + " nil"), IsEmpty());
    EXPECT_THAT(found(key + " %@", {AttributeValue()}), IsEmpty());
  }
  EXPECT_THAT(found("date < %@ OR date >= %@", {Date(0), Date(0)}), ElementsAre("present"));
  EXPECT_THAT(found("date < nil OR name = %@", {text("absent")}), ElementsAre("absent"));
}

TEST_F(PredicateTest, DatesCompareWithTheirFractions) {
  add("long ago").setDate(Date(-1e300));
  add("before").setDate(Date(-0.5));
  add("reference").setDate(Date(0));
  add("after").setDate(Date(0.1));
  add("now").setDate(Date(725846400.25));
  EXPECT_THAT(found("date = %@", {Date(725846400.25)}), ElementsAre("now"));
  EXPECT_THAT(found("date = %@", {Date(0.1)}), ElementsAre("after"));
  EXPECT_THAT(found("date = %@", {Date(0.1000001)}), IsEmpty());
  EXPECT_THAT(found("date = %@", {Date(-0.0)}), ElementsAre("reference"));
  EXPECT_THAT(found("date < %@", {Date(0)}), ElementsAre("long ago", "before"));
  EXPECT_THAT(found("date > %@ AND date <= %@", {Date(0), Date(725846400.25)}),
              ElementsAre("after", "now"));
  EXPECT_THAT(found("date >= %@", {Date(0.1)}), ElementsAre("after", "now"));
}

TEST_F(PredicateTest, DataComparesByBytes) {
  add("empty").setData(Data());
  add("zero").setData(Data(std::string_view("\0", 1)));
  add("high").setData(Data("\xff"));
  add("absent");
  EXPECT_THAT(found("data = %@", {Data()}), ElementsAre("empty"));
  EXPECT_THAT(found("data = %@", {Data(std::string_view("\0", 1))}), ElementsAre("zero"));
  EXPECT_THAT(found("data > %@", {Data()}), ElementsAre("zero", "high"));
  EXPECT_THAT(found("data < %@", {Data("\x80")}), ElementsAre("empty", "zero"));
  EXPECT_THAT(found("data != %@", {Data()}), ElementsAre("zero", "high", "absent"));
}

TEST_F(PredicateTest, IntegersCompareWithBooleans) {
  add("on").setEnabled(true);
  add("off").setEnabled(false);
  add("absent");
  EXPECT_THAT(found("enabled = 1"), ElementsAre("on"));
  EXPECT_THAT(found("enabled = 0"), ElementsAre("off"));
  EXPECT_THAT(found("enabled != 1"), ElementsAre("off", "absent"));
  EXPECT_THAT(found("enabled = 2"), IsEmpty());
  EXPECT_THAT(found("enabled < 2"), ElementsAre("on", "off"));
  EXPECT_THAT(found("enabled > -1"), ElementsAre("on", "off"));
  EXPECT_THAT(found("enabled = %@", {true}), ElementsAre("on"));
  EXPECT_THAT(found("enabled = nil"), ElementsAre("absent"));
}

TEST_F(PredicateTest, ListMatchesEachOfItsStringsOnce) {
  add("a");
  add("b");
  add({"a\0", 2});
  add("a");
  add("absent").setName(std::nullopt);
  EXPECT_THAT(found("name IN %@", {Names{"x", "a", "a"}}), ElementsAre("a", "a"));
  EXPECT_THAT(found("name IN %@", {Names{std::string("a\0", 2)}}),
              ElementsAre(std::string("a\0", 2)));
  EXPECT_THAT(found("name IN %@", {Names{}}), IsEmpty());
  EXPECT_THAT(found("name IN %@ OR name IN %@", {Names{"b"}, Names{"a"}}),
              ElementsAre("a", "b", "a"));
}

TEST_F(PredicateTest, ListMayBeLong) {
  add("99999");
  add("-1");
  add("0");
  Names list;
  for (int number = 0; number < 100000; ++number) {
    list.push_back(std::to_string(number));
  }
  EXPECT_THAT(found("name IN %@", {list}), ElementsAre("99999", "0"));
}

TEST_F(PredicateTest, AndBindsTighterThanOr) {
  add("a").setEnabled(true);
  add("b").setEnabled(true);
  add("c").setEnabled(false);
  const auto a = text("a");
  const auto c = text("c");
  EXPECT_THAT(found("name = %@ OR name = %@ AND enabled = 1", {a, c}), ElementsAre("a"));
  EXPECT_THAT(found("enabled = 0 AND name = %@ OR name = %@", {c, a}), ElementsAre("a", "c"));
  EXPECT_THAT(found("(name = %@ OR name = %@) AND enabled = 0", {a, c}), ElementsAre("c"));
  EXPECT_THAT(found("((name=%@))OR(name=%@)", {a, c}), ElementsAre("a", "c"));
  EXPECT_THAT(found("name != nil AND enabled = 1 AND name = %@", {a}), ElementsAre("a"));
}

TEST(Predicate, OutlivesItsArguments) {
  std::optional<Predicate> predicate;
  {
    const std::string argument = "a";
    predicate = Predicate::withFormat("name = %@", {argument});
  }
  const auto model = thingModel();
  const std::vector<AttributeValue> values{std::string("a"), {}, {}, {}};
  EXPECT_TRUE(predicate->matches(*model->entity(kThing), values));
}

TEST(PredicateDeathTest, MistakesEndTheProcessSayingWhere) {
  const auto parse = [](std::string_view format,
                        std::initializer_list<PredicateArgument> arguments = {}) {
    Predicate::withFormat(format, arguments);
  };
  EXPECT_DEATH(parse(""), "character 0: expected a key");
  EXPECT_DEATH(parse("name"), "character 4: expected an operator");
  EXPECT_DEATH(parse("name = "), "character 7: expected an operand");
  EXPECT_DEATH(parse("name = 'x'"), "expected an operand");
  EXPECT_DEATH(parse("name = %@"), "no argument is left");
  EXPECT_DEATH(parse("name = nil", {text("a")}), "more arguments than %@");
  EXPECT_DEATH(parse("name = nil name"), "character 11: expected the end");
  EXPECT_DEATH(parse("(name = nil"), "expected \\)");
  EXPECT_DEATH(parse("name = nil AND"), "expected a key");
  EXPECT_DEATH(parse("name IN %@", {text("a")}), "not a list");
  EXPECT_DEATH(parse("name IN nil"), "expected an operand");
  EXPECT_DEATH(parse("name = %@", {Names{}}), "list only goes with IN");
}

TEST(PredicateDeathTest, WhatDoesNotFitTheEntityEndsTheProcess) {
  const auto match = [](std::string_view format, const AttributeValue& argument) {
    const std::vector<AttributeValue> values(4);
    const auto model = thingModel();
    Predicate::withFormat(format, {argument}).matches(*model->entity(kThing), values);
  };
  EXPECT_DEATH(match("title = %@", text("a")), "no attribute title");
  EXPECT_DEATH(match("date = %@", text("a")), "another type than attribute date");
  EXPECT_DEATH(match("date = 1 OR name = %@", text("a")), "another type than attribute date");
}

}  // namespace
}  // namespace velto
