// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/Interface.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

constexpr ArgumentClass kText{0};
constexpr ArgumentClass kList{1};
constexpr ArgumentClass kLast{31};

const Protocol& protocol() {
  static const Protocol made{.name = "a.b",
                             .description = "",
                             .product = "",
                             .version = "",
                             .methods = {{.selector = "one:two:", .wireName = "One", .invoke = {}},
                                         {.selector = "other", .wireName = "Other", .invoke = {}}}};
  return made;
}

TEST(Interface, findsRowsByTheirWholeNames) {
  const Interface interface = Interface::interfaceWithProtocol(protocol());
  ASSERT_NE(interface.row("a.b.Other"), nullptr);
  EXPECT_EQ(interface.row("a.b.Other")->method, &protocol().methods[1]);
  for (const auto* name : {"Other", "a.b.other", "a.b.Others", "a.b.", "a.b", ""}) {
    EXPECT_EQ(interface.row(name), nullptr) << name;
  }
}

TEST(Interface, hasTheRowsOfSeveralProtocols) {
  static const Protocol second{.name = "a.c",
                               .description = "",
                               .product = "",
                               .version = "",
                               .methods = {{.selector = {}, .wireName = "Other", .invoke = {}}}};
  Interface interface = Interface::interfaceWithProtocol(protocol());
  interface.addProtocol(second);
  const Interface::Row* row = interface.row("a.c.Other");
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(row->method, second.methods.data());
  EXPECT_EQ(row->protocol, &second);
  EXPECT_EQ(row->object, 1u);
  EXPECT_EQ(interface.row("a.b.Other")->protocol, &protocol());
  EXPECT_EQ(interface.row("a.b.Other")->object, 0u);
  EXPECT_EQ(interface.row("a.c.One"), nullptr);
  EXPECT_EQ(interface.protocol("a.c"), &second);
  EXPECT_EQ(interface.protocol("a"), nullptr);
}

TEST(Interface, resolvesClassesToRows) {
  Interface interface = Interface::interfaceWithProtocol(protocol());
  interface.setClasses({kText, kLast}, "one:two:", 0, false);
  const auto& classes = interface.row("a.b.One")->classes;
  ASSERT_TRUE(classes.has_value());
  EXPECT_TRUE(classes->contains(kText));
  EXPECT_TRUE(classes->contains(kLast));
  EXPECT_FALSE(classes->contains(kList));
  EXPECT_EQ(interface.row("a.b.Other")->classes, std::nullopt);
}

TEST(Interface, TakesNoClassesThatNobodyWouldCheck) {
  Interface interface = Interface::interfaceWithProtocol(protocol());
  EXPECT_DEATH(interface.setClasses({kText}, "one:", 0, false), "a.b does not check: one:");
  EXPECT_DEATH(interface.setClasses({kText}, "one:two:", 1, false), "argument 1");
  EXPECT_DEATH(interface.setClasses({kText}, "one:two:", 0, true), "of its reply");
}

}  // namespace
}  // namespace velto
