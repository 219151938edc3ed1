// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Shared.h"

#include <gtest/gtest.h>

namespace velto {
namespace {

struct Thing {
  static Thing& sharedThing() { return Shared<Thing>::object("Thing::sharedThing"); }
};

struct OtherThing {};

TEST(Shared, IsTheInstalledObjectOfTheClass) {
  Thing thing;
  OtherThing other;
  const Shared<Thing> shared(thing);
  const Shared<OtherThing> sharedOther(other);
  EXPECT_EQ(&Thing::sharedThing(), &thing);
  EXPECT_EQ(&Shared<OtherThing>::object("a test"), &other);
}

TEST(Shared, AnotherOneCountsForItsScope) {
  Thing outer;
  const Shared<Thing> shared(outer);
  {
    Thing inner;
    const Shared<Thing> sharedInner(inner);
    EXPECT_EQ(&Thing::sharedThing(), &inner);
  }
  EXPECT_EQ(&Thing::sharedThing(), &outer);
}

TEST(SharedDeathTest, UseBeforeItIsInstalledEndsTheProgram) {
  EXPECT_DEATH(Thing::sharedThing(), "Thing::sharedThing is used before its object is installed");
  {
    Thing thing;
    const Shared<Thing> shared(thing);
  }
  EXPECT_DEATH(Thing::sharedThing(), "Thing::sharedThing is used before its object is installed");
}

}  // namespace
}  // namespace velto
