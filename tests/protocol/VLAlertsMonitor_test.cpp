// SPDX-License-Identifier: Apache-2.0
#include "protocol/VLAlertsMonitor.h"

#include <algorithm>

#include <boost/json.hpp>
#include <gtest/gtest.h>

namespace velto {
namespace {

namespace json = boost::json;

/// Tells three things, and then nothing.
class ThreeThings : public ReplyStream {
 public:
  Part append(std::string& text) override {
    if (told_ == 3) return Part::kNone;
    text += "{\"told\":" + std::to_string(++told_) + "}";
    return Part::kWhole;
  }
  void setListener(Listener& listener) override { listener_ = &listener; }

 private:
  int told_ = 0;
  Listener* listener_ = nullptr;
};

/// Offers all methods but GetStatus, and notes what it was called with.
class SomeMonitor : public VLAlertsMonitor {
 public:
  MonitorOutcome<MonitorPage> list(const MonitorListQuery& wanted) override {
    query = wanted;
    if (wanted.after) return invalidPosition();
    MonitorPage page{.items = {{.subject = "s"}, {}}, .next = "n"};
    page.items[0].alert.type = "t";
    return page;
  }
  MonitorOutcome<MonitorAlert> getAlert(const std::string& identifier,
                                        const std::optional<std::string>& locale) override {
    if (identifier == "none") return noSuchAlert(identifier);
    if (identifier == "closed") return monitorNotPermitted();
    if (identifier == "broken") return storeUnavailable(makeError("D", 1, "no store"));
    MonitorAlert alert{.subject = locale, .actions = {{.name = "Free", .title = "Free space"}}};
    alert.alert.identifier = identifier;
    return alert;
  }
  MonitorOutcome<MonitorHistory> getHistory(Date from, Date to, double step) override {
    return MonitorHistory{{.start = from, .bundle = "b", .count = 2},
                          {.start = to, .bundle = {}, .count = static_cast<std::int64_t>(step)}};
  }
  MonitorOutcome<std::unique_ptr<ReplyStream>> follow(std::optional<std::string> bundle,
                                                      std::optional<std::string> type) override {
    followed = {bundle.value_or("any"), type.value_or("any")};
    return std::make_unique<ThreeThings>();
  }

  MonitorListQuery query;
  std::pair<std::string, std::string> followed;
};

class VLAlertsMonitorTest : public ::testing::Test {
 protected:
  CallReply reply(std::string_view wireName, std::string_view parameters, bool more = false) {
    const auto& methods = alertsMonitorProtocol().methods;
    const auto row = std::find_if(methods.begin(), methods.end(),
                                  [&](const ProtocolMethod& m) { return m.wireName == wireName; });
    auto pending = std::make_shared<PendingReply>(receiver_);
    row->invoke({.object = monitor_, .parameters = parameters, .classes = nullptr, .more = more},
                ReplyPromise(pending));
    EXPECT_TRUE(pending->hasArrived());
    return pending->take();
  }

  json::value message(std::string_view wireName, std::string_view parameters) {
    return json::parse(reply(wireName, parameters).text());
  }

  void expectWrong(std::string_view wireName, std::string_view parameters, std::string_view path) {
    const json::value expected{{"error", "org.varlink.service.InvalidParameter"},
                               {"parameters", {{"parameter", path}}}};
    EXPECT_EQ(message(wireName, parameters), expected) << wireName << parameters;
  }

  struct : ReplyReceiver {
    void goOnWithReply() noexcept override {}
  } receiver_;
  SomeMonitor monitor_;
};

TEST_F(VLAlertsMonitorTest, TheMethodsAreThoseOfTheInterfaceFileInItsOrder) {
  const auto& protocol = alertsMonitorProtocol();
  std::size_t at = 0;
  for (const auto& method : protocol.methods) {
    const auto declared =
        protocol.description.find("\nmethod " + std::string(method.wireName) + "(", at);
    ASSERT_NE(declared, std::string_view::npos) << method.wireName;
    EXPECT_EQ(protocol.description.substr(at + 1, declared - at).find("\nmethod "),
              std::string_view::npos);
    at = declared;
  }
  EXPECT_EQ(protocol.description.find("\nmethod ", at + 1), std::string_view::npos);
  EXPECT_NE(protocol.description.find("interface " + std::string(protocol.name) + "\n"),
            std::string_view::npos);
}

TEST_F(VLAlertsMonitorTest, ReadsWhatToList) {
  const auto page = message(
      "List", R"({"bundle":"b","type":"t","from":1,"to":2.5,"unread":true,"unresolved":false,)"
              R"("text":"x","locale":"de","limit":20})");
  EXPECT_EQ(monitor_.query.filter.bundle, "b");
  EXPECT_EQ(monitor_.query.filter.type, "t");
  EXPECT_EQ(monitor_.query.filter.from, Date(1));
  EXPECT_EQ(monitor_.query.filter.to, Date(2.5));
  EXPECT_EQ(monitor_.query.filter.unread, true);
  EXPECT_EQ(monitor_.query.filter.unresolved, false);
  EXPECT_EQ(monitor_.query.filter.text, "x");
  EXPECT_EQ(monitor_.query.locale, "de");
  EXPECT_EQ(monitor_.query.limit, 20);
  EXPECT_EQ(monitor_.query.after, std::nullopt);
  EXPECT_EQ(page, json::parse(R"({"parameters":{"items":[{"alert":{"type":"t"},"subject":"s"},
                                 {"alert":{}}],"next":"n"}})"));
}

TEST_F(VLAlertsMonitorTest, AbsentAndNullAreOne) {
  for (const auto* parameters : {"{}", R"({"bundle":null,"limit":null,"unread":null})"}) {
    EXPECT_TRUE(message("List", parameters).at("parameters").is_object()) << parameters;
    EXPECT_EQ(monitor_.query.filter.bundle, std::nullopt);
    EXPECT_EQ(monitor_.query.filter.unread, std::nullopt);
    EXPECT_EQ(monitor_.query.limit, std::nullopt);
  }
}

TEST_F(VLAlertsMonitorTest, RepliesTheAlertAndTheHistory) {
  EXPECT_EQ(message("GetAlert", R"({"identifier":"i","locale":"fr"})"),
            json::parse(R"({"parameters":{"alert":{"identifier":"i"},"subject":"fr",
                           "actions":[{"name":"Free","title":"Free space"}]}})"));
  EXPECT_EQ(message("GetHistory", R"({"from":1,"to":9.5,"step":3})"),
            json::parse(R"({"parameters":{"entries":[{"start":1.0,"bundle":"b","count":2},
                           {"start":9.5,"count":3}]}})"));
}

TEST_F(VLAlertsMonitorTest, NamesWhatIsWrongByItsPath) {
  expectWrong("GetStatus", R"({"x":1})", "x");
  expectWrong("List", R"({"limit":"20"})", "limit");
  expectWrong("List", R"({"limit":1.5})", "limit");
  expectWrong("List", R"({"limit":18446744073709551615})", "limit");
  expectWrong("List", R"({"from":"today"})", "from");
  expectWrong("List", R"({"unread":1})", "unread");
  expectWrong("List", R"({"after":[]})", "after");
  expectWrong("List", R"({"order":"up"})", "order");
  expectWrong("GetAlert", "{}", "identifier");
  expectWrong("GetAlert", R"({"identifier":null})", "identifier");
  expectWrong("GetAlert", R"({"identifier":"i","locale":5})", "locale");
  expectWrong("GetHistory", R"({"to":1,"step":1})", "from");
  expectWrong("GetHistory", R"({"from":1,"step":1})", "to");
  expectWrong("GetHistory", R"({"from":1,"to":1})", "step");
  expectWrong("GetHistory", R"({"from":1,"to":1,"step":true})", "step");
  expectWrong("Follow", R"({"type":7})", "type");
  EXPECT_EQ(monitor_.followed.first, "");
}

TEST_F(VLAlertsMonitorTest, RepliesTheErrorsOfTheInterface) {
  const auto error = [this](std::string_view method, std::string_view parameters) {
    return json::serialize(message(method, parameters));
  };
  EXPECT_EQ(error("GetAlert", R"({"identifier":"none"})"),
            R"({"error":"com.ulmora.velto.AlertsMonitor.NoSuchAlert",)"
            R"("parameters":{"identifier":"none"}})");
  EXPECT_EQ(error("GetAlert", R"({"identifier":"closed"})"),
            R"({"error":"com.ulmora.velto.AlertsMonitor.NotPermitted","parameters":{}})");
  EXPECT_EQ(error("List", R"({"after":"x"})"),
            R"({"error":"com.ulmora.velto.AlertsMonitor.InvalidPosition","parameters":{}})");
  EXPECT_EQ(error("GetAlert", R"({"identifier":"broken"})"),
            R"({"error":"com.ulmora.velto.AlertsStore.Unavailable",)"
            R"("parameters":{"description":"no store"}})");
}

TEST_F(VLAlertsMonitorTest, AMethodThatAnObjectLeavesIsNotOffered) {
  EXPECT_EQ(reply("GetStatus", "{}").kind(), CallReply::Kind::kNotOffered);
}

TEST_F(VLAlertsMonitorTest, FollowsWithMoreAloneForLongerThanTheFirstMessage) {
  EXPECT_EQ(message("Follow", R"({"type":"t"})"), json::parse(R"({"parameters":{"told":1}})"));
  EXPECT_EQ(monitor_.followed, std::pair(std::string("any"), std::string("t")));

  CallReply stream = reply("Follow", R"({"bundle":"b"})", true);
  EXPECT_EQ(monitor_.followed, std::pair(std::string("b"), std::string("any")));
  std::string text;
  while (stream.writeNext(text, true)) {
  }
  EXPECT_FALSE(stream.isWritten());
  std::string expected;
  for (const auto* number : {"1", "2", "3"}) {
    expected += std::string(R"({"parameters":{"told":)") + number + R"(},"continues":true})" + '\0';
  }
  EXPECT_EQ(text, expected);
}

}  // namespace
}  // namespace velto
