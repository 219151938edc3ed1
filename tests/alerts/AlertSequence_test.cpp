// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertSequence.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {
namespace {

using ::testing::ElementsAre;

VLAlert named(const std::string& identifier) {
  VLAlert alert;
  alert.identifier = identifier;
  return alert;
}

/// The identifiers of what is left, and the error in `error`.
std::vector<std::string> rest(AlertSequence& alerts, std::optional<Error>& error) {
  std::vector<std::string> identifiers;
  while (const VLAlert* alert = alerts.current(&error)) {
    identifiers.push_back(*alert->identifier);
    alerts.advance();
  }
  return identifiers;
}

TEST(AlertSequence, GoesThroughListSourceAndWhatIsAppended) {
  std::optional<Error> error;
  AlertSequence list(std::vector<VLAlert>{named("a"), named("b")});
  list.append({named("c")});
  EXPECT_THAT(rest(list, error), ElementsAre("a", "b", "c"));

  int times = 0;
  AlertSequence drawn([&](ErrorSlot) {
    return ++times <= 2 ? std::vector<VLAlert>{named(std::to_string(times))}
                        : std::vector<VLAlert>();
  });
  drawn.append({named("last")});
  EXPECT_THAT(rest(drawn, error), ElementsAre("1", "2", "last"));
  EXPECT_EQ(times, 3);
  EXPECT_EQ(error, std::nullopt);
}

/// What is left in arrays of that length or a little longer, and the error in `error`.
std::vector<std::string> restAsText(AlertSequence& alerts, std::size_t length,
                                    std::optional<Error>& error) {
  std::vector<std::string> texts;
  do {
    texts.emplace_back("[");
  } while (alerts.appendElements(texts.back(), length, &error));
  return texts;
}

TEST(AlertSequence, IsTextFromWhereverItIsTakenAsText) {
  std::optional<Error> error;
  int values = 0;
  std::vector<std::string> texts = {",5", "4"};
  AlertSequence alerts(
      [&](ErrorSlot) {
        ++values;
        return std::vector<VLAlert>{named("0"), named("1")};
      },
      [&](std::string& text, std::size_t length, ErrorSlot) {
        if (text.size() < length) {
          text += texts.back();
          texts.pop_back();
        }
        return !texts.empty();
      });
  alerts.append({named("last")});
  EXPECT_EQ(alerts.current(&error)->identifier, "0");
  alerts.advance();
  EXPECT_THAT(restAsText(alerts, 5, error),
              ElementsAre(R"([{"identifier":"1"})", "[4", R"([,5,{"identifier":"last"})"));
  EXPECT_EQ(values, 1);
  EXPECT_TRUE(texts.empty());
  EXPECT_EQ(error, std::nullopt);
}

TEST(AlertSequence, AsksNoTextSourceAgainThatHasFailed) {
  std::optional<Error> error;
  int times = 0;
  AlertSequence alerts([](ErrorSlot) { return std::vector<VLAlert>{named("never")}; },
                       [&](std::string& text, std::size_t, ErrorSlot slot) {
                         ++times;
                         text += "4";
                         replaceError(slot, makeError("D", 8, "it broke off"));
                         return false;
                       });
  alerts.append({named("appended")});
  EXPECT_THAT(restAsText(alerts, 100, error), ElementsAre(R"([4,{"identifier":"appended"})"));
  EXPECT_EQ(times, 1);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, 8);
}

TEST(AlertSequence, AsksNoSourceAgainThatHasFailed) {
  std::optional<Error> error;
  int times = 0;
  AlertSequence alerts([&](ErrorSlot slot) {
    ++times;
    replaceError(slot, makeError("D", 8, "it broke off"));
    return std::vector<VLAlert>{named("read before")};
  });
  alerts.append({named("appended")});
  EXPECT_THAT(rest(alerts, error), ElementsAre("read before", "appended"));
  EXPECT_EQ(times, 1);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, 8);
}

}  // namespace
}  // namespace velto
