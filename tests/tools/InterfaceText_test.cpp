// SPDX-License-Identifier: Apache-2.0
#include "tools/service/InterfaceText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {
namespace {

using testing::ElementsAre;

constexpr std::string_view kDescription = R"(# Words (with: colons) in comments are none.
interface org.example.test

type Alert (
  identifier: ?string,  # its name
  sentDate: ?float,
  attributes: ?[string]object
)

type AlertCount (count: int)

type Settings (mailEnabled: ?bool, kind: (mail, push))

method Save(alerts: []Alert, isNew: bool) -> (error: ?string)
method SaveAll(settings: [string]Settings, names: ?[]string) -> ()
)";

std::string typeOf(std::string_view method, std::string_view path) {
  const auto place = placeInParameters(kDescription, method, path);
  return place ? place->type : "nothing";
}

TEST(InterfaceText, HasTheTypeOfEachPlace) {
  EXPECT_EQ(typeOf("Save", "alerts"), "[]Alert");
  EXPECT_EQ(typeOf("Save", "alerts[12]"), "Alert");
  EXPECT_EQ(typeOf("Save", "alerts[12].sentDate"), "float");
  EXPECT_EQ(typeOf("Save", "alerts[0].attributes.any"), "object");
  EXPECT_EQ(typeOf("Save", "alerts[0].attributes.any.more[3]"), "object");
  EXPECT_EQ(typeOf("Save", "isNew"), "bool");
  EXPECT_EQ(typeOf("SaveAll", "settings.Disk"), "Settings");
  EXPECT_EQ(typeOf("SaveAll", "settings.Disk.kind"), "(mail, push)");
  EXPECT_EQ(typeOf("SaveAll", "names[3]"), "string");
}

TEST(InterfaceText, HasTheNeighboursOfWhatThereIsNot) {
  const auto place = placeInParameters(kDescription, "SaveAll", "settings.Disk.mailEnabeld");
  ASSERT_TRUE(place);
  EXPECT_EQ(place->type, "");
  EXPECT_THAT(place->neighbours, ElementsAre("mailEnabled", "kind"));
}

TEST(InterfaceText, LeadsNowhereElse) {
  for (const char* path :
       {"alerts.sentDate", "isNew[0]", "alerts[0].sentDate.more", "none.more", ""}) {
    const auto place = placeInParameters(kDescription, "Save", path);
    EXPECT_TRUE(!place || place->type.empty()) << path;
  }
  EXPECT_EQ(placeInParameters(kDescription, "None", "alerts"), std::nullopt);
  EXPECT_EQ(placeInParameters("", "Save", "alerts"), std::nullopt);
  EXPECT_EQ(placeInParameters("\nmethod Save(", "Save", "alerts"), std::nullopt);
}

TEST(InterfaceText, NamesItsMethods) {
  EXPECT_THAT(methodNames(kDescription), ElementsAre("Save", "SaveAll"));
}

}  // namespace
}  // namespace velto
