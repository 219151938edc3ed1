// SPDX-License-Identifier: Apache-2.0
#include "daemon/ChangeFeed.h"

#include <atomic>
#include <optional>
#include <thread>

#include <boost/json.hpp>
#include <gmock/gmock.h>

#include "store/ADAlert.h"

namespace velto {
namespace {

namespace json = boost::json;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kAlertEntity(ADAlert::kEntityName);
const std::string kBundleEntity = "ADAlertBundle";

/// What a connection does with a stream: asks until there is nothing to tell, and again when it is
/// roused.
class Reader : public ReplyStream::Listener {
 public:
  explicit Reader(std::unique_ptr<ReplyStream> stream) : stream_(std::move(stream)) {
    stream_->setListener(*this);
  }

  void rouse() noexcept override { ++roused; }

  /// The messages that are ready now.
  std::vector<json::object> messages() {
    std::vector<json::object> all;
    std::string text;
    ReplyStream::Part part = stream_->append(text);
    for (; part != ReplyStream::Part::kNone; part = stream_->append(text)) {
      ++parts;
      if (part != ReplyStream::Part::kWhole) continue;
      all.push_back(json::parse(text).as_object());
      text.clear();
    }
    EXPECT_EQ(text, "");
    return all;
  }
  /// Their events, each as its number, kind and identifier.
  std::vector<std::string> events() {
    std::vector<std::string> all;
    for (const json::object& message : messages()) {
      for (const json::value& each : message.at("events").as_array()) {
        const json::object& event = each.as_object();
        const json::object* alert =
            event.contains("alert") ? &event.at("alert").as_object() : &event;
        const json::value* name = alert->if_contains("identifier");
        all.push_back(std::to_string(event.at("sequence").to_number<int>()) + " " +
                      std::string(event.at("kind").as_string()) +
                      (name == nullptr ? "" : " " + std::string(name->as_string())));
      }
    }
    return all;
  }
  void leave() { stream_.reset(); }

  std::atomic<int> roused = 0;
  int parts = 0;

 private:
  std::unique_ptr<ReplyStream> stream_;
};

std::vector<AttributeValue> alertValues(std::string_view identifier, std::string_view bundle = "B",
                                        std::string_view type = "T") {
  return {{}, {}, std::string(identifier), Date(1), std::string(type), std::string(bundle), {}, {}};
}

class ChangeFeedTest : public ::testing::Test {
 protected:
  ChangeFeedTest() {
    feed_.setAlarm([this](milliseconds time) { alarms_.push_back(time); });
  }

  Reader follow(FollowedChanges wanted = {}) { return Reader(feed_.follow(std::move(wanted))); }

  void insert(const std::vector<std::vector<AttributeValue>>& alerts) {
    std::vector<ChangedRow> rows;
    for (const auto& values : alerts) {
      rows.push_back({ChangedRow::Kind::kInserted, &kAlertEntity, &values, {}});
    }
    feed_.add(rows.size(), rows);
  }
  void insert(std::string_view identifier) { insert({alertValues(identifier)}); }
  void insertLarge(std::string_view identifier, std::size_t size) {
    auto values = alertValues(identifier);
    values[4] = std::string(size, 't');
    insert({values});
  }

  /// The next tenth of a second.
  void pace() { feed_.pace(now_ += ChangeFeed::kPause); }

  std::vector<milliseconds> alarms_;
  ChangeFeed::Moment now_ = std::chrono::steady_clock::now();
  ChangeFeed feed_;
};

TEST_F(ChangeFeedTest, TheFirstMessageSaysFromWhereOn) {
  feed_.add(41, {});
  Reader reader = follow();
  const auto messages = reader.messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(json::serialize(messages[0]), R"({"events":[],"sequence":41})");
  insert("a");
  pace();
  EXPECT_THAT(reader.events(), ElementsAre("42 added a"));
}

TEST_F(ChangeFeedTest, TellsWhatHasBeenDone) {
  Reader reader = follow();
  reader.messages();
  const auto values = alertValues("a");
  auto read = values;
  read[6] = Date(2);
  const std::vector<ChangedRow> rows{{ChangedRow::Kind::kInserted, &kAlertEntity, &values, {}},
                                     {ChangedRow::Kind::kUpdated, &kAlertEntity, &read, values},
                                     {ChangedRow::Kind::kDeleted, &kAlertEntity, nullptr, read},
                                     {ChangedRow::Kind::kUpdated, &kBundleEntity, &values, values}};
  feed_.add(rows.size(), rows);
  pace();
  const auto messages = reader.messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0], json::parse(R"({"events":[
      {"sequence":1,"kind":"added",
       "alert":{"identifier":"a","type":"T","bundle":"B","sentDate":1.0}},
      {"sequence":2,"kind":"changed",
       "alert":{"identifier":"a","type":"T","bundle":"B","sentDate":1.0,"readDate":2.0}},
      {"sequence":3,"kind":"deleted","identifier":"a"},
      {"sequence":4,"kind":"settings"}],"sequence":4})"));
}

TEST_F(ChangeFeedTest, TellsAtOnceAfterAQuietTimeAndThenATenthOfASecondLater) {
  Reader reader = follow();
  reader.messages();
  insert("a");
  EXPECT_THAT(alarms_, ElementsAre(milliseconds(1)));
  EXPECT_EQ(reader.roused, 0);
  feed_.pace(std::chrono::steady_clock::now());
  EXPECT_EQ(reader.roused, 1);
  EXPECT_THAT(reader.events(), ElementsAre("1 added a"));

  insert("b");
  insert("c");
  ASSERT_EQ(alarms_.size(), 2u);
  EXPECT_GT(alarms_[1], milliseconds(1));
  EXPECT_LE(alarms_[1], ChangeFeed::kPause);
  // Asked before its time, it says nothing.
  EXPECT_THAT(reader.events(), IsEmpty());
  EXPECT_EQ(reader.roused, 1);
  pace();
  EXPECT_EQ(reader.roused, 2);
  const auto messages = reader.messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].at("events").as_array().size(), 2u);
}

TEST_F(ChangeFeedTest, CostsNothingWhileNobodyFollows) {
  insert("a");
  Reader reader = follow();
  EXPECT_TRUE(feed_.isFollowed());
  reader.leave();
  EXPECT_FALSE(feed_.isFollowed());
  insert("b");
  EXPECT_THAT(alarms_, IsEmpty());
}

TEST_F(ChangeFeedTest, RousesThoseAloneForWhomThereIsSomething) {
  Reader bundle = follow({.bundle = "B", .type = {}});
  Reader type = follow({.bundle = {}, .type = "T"});
  Reader both = follow({.bundle = "B", .type = "T"});
  Reader all = follow();
  for (Reader* reader : {&bundle, &type, &both, &all}) {
    reader->messages();
    EXPECT_THAT(reader->messages(), IsEmpty());
  }
  insert({alertValues("a", "B", "x")});
  pace();
  EXPECT_EQ(std::vector({+bundle.roused, +type.roused, +both.roused, +all.roused}),
            (std::vector{1, 0, 0, 1}));
  insert({alertValues("b", "x", "T"), alertValues("c"), alertValues("d", "x", "x")});
  const auto values = alertValues("B");
  const ChangedRow setting{ChangedRow::Kind::kInserted, &kBundleEntity, &values, {}};
  feed_.add(1, {&setting, 1});
  pace();
  EXPECT_THAT(bundle.events(), ElementsAre("1 added a", "3 added c"));
  EXPECT_THAT(type.events(), ElementsAre("2 added b", "3 added c"));
  EXPECT_THAT(both.events(), ElementsAre("3 added c"));
  EXPECT_THAT(all.events(),
              ElementsAre("1 added a", "2 added b", "3 added c", "4 added d", "5 settings"));
}

TEST_F(ChangeFeedTest, AMessageHasAllUpToItsBeginningInParts) {
  Reader reader = follow();
  reader.messages();
  for (int index = 0; index < 10; ++index) {
    insertLarge("a", 20'000);
  }
  pace();
  const int before = reader.parts;
  const auto messages = reader.messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].at("events").as_array().size(), 10u);
  EXPECT_EQ(reader.parts - before, 3);
}

TEST_F(ChangeFeedTest, WhoIsTooSlowIsToldThatSomeAreLost) {
  Reader slow = follow();
  Reader quick = follow();
  slow.messages();
  quick.messages();
  std::size_t told = 0;
  for (int index = 0; index < 30; ++index) {
    insertLarge("a", 50'000);
    pace();
    told += quick.events().size();
  }
  EXPECT_EQ(told, 30u);
  EXPECT_THAT(slow.events(), ElementsAre("30 lost"));
  insert("next");
  pace();
  EXPECT_THAT(slow.events(), ElementsAre("31 added next"));
  EXPECT_THAT(quick.events(), ElementsAre("31 added next"));
}

TEST_F(ChangeFeedTest, WhatIsLostIsToldWithinAMessageThatHasBegun) {
  auto stream = feed_.follow({});
  Reader listener(feed_.follow({.bundle = "nobody's", .type = {}}));
  stream->setListener(listener);
  std::string text;
  ASSERT_EQ(stream->append(text), ReplyStream::Part::kWhole);
  for (int index = 0; index < 5; ++index) {
    insertLarge("a", 50'000);
  }
  pace();
  text.clear();
  ASSERT_EQ(stream->append(text), ReplyStream::Part::kMore);
  for (int index = 0; index < 30; ++index) {
    insertLarge("b", 50'000);
  }
  ASSERT_EQ(stream->append(text), ReplyStream::Part::kWhole);
  const auto message = json::parse(text);
  const auto& events = message.at("events").as_array();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[1].at("sequence"), 2);
  EXPECT_EQ(events[2], json::parse(R"({"sequence":35,"kind":"lost"})"));
  EXPECT_EQ(message.at("sequence"), 35);
}

TEST_F(ChangeFeedTest, NobodyLosesWhatIsNothingToThem) {
  Reader other = follow({.bundle = "Other", .type = {}});
  other.messages();
  EXPECT_THAT(other.messages(), IsEmpty());
  Reader slow = follow();
  insert({alertValues("mine", "Other")});
  for (int index = 0; index < 30; ++index) {
    insertLarge("a", 50'000);
  }
  insert({alertValues("mine too", "Other")});
  pace();
  // The oldest went first, so the one of its own is lost; what came last was kept.
  EXPECT_THAT(other.events(), ElementsAre("32 lost"));
  for (int index = 0; index < 30; ++index) {
    insertLarge("a", 50'000);
  }
  insert({alertValues("mine again", "Other")});
  pace();
  EXPECT_THAT(other.events(), ElementsAre("63 added mine again"));
}

TEST_F(ChangeFeedTest, AnEventThatIsTooLargeIsLostToThoseWhoWantIt) {
  Reader all = follow();
  Reader other = follow({.bundle = "Other", .type = {}});
  all.messages();
  other.messages();
  insertLarge("a", 2 * ChangeFeed::kMostKept);
  insert({alertValues("b", "Other")});
  pace();
  EXPECT_THAT(all.events(), ElementsAre("2 lost"));
  EXPECT_THAT(other.events(), ElementsAre("2 added b"));
}

TEST_F(ChangeFeedTest, ACommitThatBeganBeforeAnybodyFollowedIsLost) {
  Reader reader = follow();
  reader.messages();
  feed_.add(3, {});
  insert("a");
  pace();
  EXPECT_THAT(reader.events(), ElementsAre("4 lost"));
  insert("b");
  pace();
  EXPECT_THAT(reader.events(), ElementsAre("5 added b"));
}

TEST_F(ChangeFeedTest, WhatComesBeforeTheFirstMessageIsNotTold) {
  Reader reader = follow();
  insert("a");
  feed_.add(2, {});
  pace();
  const auto messages = reader.messages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(json::serialize(messages[0]), R"({"events":[],"sequence":3})");
}

TEST_F(ChangeFeedTest, AChangedAlertIsOfTheBundleThatItHasNow) {
  Reader reader = follow({.bundle = "B", .type = {}});
  reader.messages();
  const auto now = alertValues("a", "B");
  const ChangedRow moved{ChangedRow::Kind::kUpdated, &kAlertEntity, &now, alertValues("a", "C")};
  feed_.add(1, {&moved, 1});
  pace();
  EXPECT_THAT(reader.events(), ElementsAre("1 changed a"));
}

/// Commits, pacing, reading, coming and going at the same time: each reader is told all numbers in
/// order, or of what it has lost.
TEST(ChangeFeedThreads, EachReaderIsToldAllInOrder) {
  ChangeFeed feed;
  feed.setAlarm([](milliseconds) {});
  std::atomic<bool> isOver = false;
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    const auto values = alertValues("a");
    const std::vector<ChangedRow> rows(3,
                                       {ChangedRow::Kind::kInserted, &kAlertEntity, &values, {}});
    while (!isOver) {
      feed.add(rows.size(), rows);
    }
  });
  threads.emplace_back([&] {
    while (!isOver) {
      feed.pace(std::chrono::steady_clock::now());
    }
  });
  for (int reader = 0; reader < 3; ++reader) {
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        Reader own(feed.follow({}));
        std::optional<std::uint64_t> last;  // none before the first message; that can say 0
        for (int told = 0; told < 300;) {
          for (const json::object& message : own.messages()) {
            const auto sequence = message.at("sequence").to_number<std::uint64_t>();
            if (!last) last = sequence;
            for (const json::value& event : message.at("events").as_array()) {
              const auto number = event.at("sequence").to_number<std::uint64_t>();
              if (event.at("kind") == "lost") {
                ASSERT_GT(number, *last);
              } else {
                ASSERT_EQ(number, *last + 1);
              }
              last = number;
              ++told;
            }
            ASSERT_EQ(sequence, last);
          }
        }
      }
    });
  }
  for (std::size_t index = 2; index < threads.size(); ++index) {
    threads[index].join();
  }
  isOver = true;
  threads[0].join();
  threads[1].join();
}

}  // namespace
}  // namespace velto
