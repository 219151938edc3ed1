// SPDX-License-Identifier: Apache-2.0
#include "protocol/VLAlertsDaemon.h"

#include <algorithm>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "platform/foundation/Paths.h"

namespace velto {
namespace {

namespace json = boost::json;

/// Offers some operations, and notes what it was called with.
class SomeDaemon : public VLAlertsDaemon {
 public:
  void postAlert(std::optional<VLAlert> alert, ErrorReply reply) override {
    posted = std::move(alert);
    reply(postError);
  }
  void saveAlerts(std::optional<AlertSequence>, ErrorReply reply) override {
    kept = std::move(reply);
  }
  void performRecoveryAction(std::optional<std::string> action, std::optional<std::string> alertId,
                             ErrorReply reply) override {
    performed = {action.value_or("none"), alertId.value_or("none")};
    reply(std::nullopt);
  }
  void getAlertsOfType(std::optional<std::string>, Reply<AlertSequence> reply) override {
    reply(sequence ? std::exchange(sequence, std::nullopt) : std::optional<AlertSequence>(alerts),
          error);
  }
  void deleteUnsupportedAlerts(Reply<std::uint64_t> reply) override { reply(0, postError); }

  std::optional<VLAlert> posted;
  std::optional<Error> postError;
  ErrorReply kept;
  std::pair<std::string, std::string> performed;
  std::optional<std::vector<VLAlert>> alerts;
  std::optional<AlertSequence> sequence;
  std::optional<Error> error = makeError("D", 7, "with data");
};

class VLAlertsDaemonTest : public ::testing::Test {
 protected:
  std::shared_ptr<PendingReply> invoke(std::string_view wireName, std::string_view parameters) {
    const auto& methods = alertsDaemonProtocol().methods;
    const auto row = std::find_if(methods.begin(), methods.end(),
                                  [&](const ProtocolMethod& m) { return m.wireName == wireName; });
    auto pending = std::make_shared<PendingReply>(receiver_);
    row->invoke({object_, parameters, nullptr}, ReplyPromise(pending));
    return pending;
  }

  CallReply reply(std::string_view wireName, std::string_view parameters) {
    const auto pending = invoke(wireName, parameters);
    EXPECT_TRUE(pending->hasArrived());
    return pending->take();
  }

  /// The messages that a reply consists of, written part by part.
  static std::vector<json::object> messages(CallReply reply, bool more) {
    std::string text;
    while (!reply.isWritten()) {
      reply.writeNext(text, more);
    }
    std::vector<json::object> all;
    for (std::size_t end = 0; !text.empty(); text.erase(0, end + 1)) {
      end = text.find('\0');
      all.push_back(json::parse(text.substr(0, end)).as_object());
    }
    return all;
  }

  /// The parameters of a reply's messages.
  static std::vector<json::value> pieces(CallReply reply, bool more = false) {
    std::vector<json::value> all;
    for (json::object& message : messages(std::move(reply), more)) {
      all.push_back(message.at("parameters"));
    }
    return all;
  }

  struct : ReplyReceiver {
    void goOnWithReply() noexcept override {}
  } receiver_;
  SomeDaemon object_;
};

/// The wire name that belongs to a selector.
std::string wireNameOf(std::string_view selector) {
  std::string name(selector.substr(0, selector.find(':')));
  if (name.ends_with("WithCallback")) {
    name.resize(name.size() - std::string_view("WithCallback").size());
  }
  name[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[0])));
  return name;
}

TEST_F(VLAlertsDaemonTest, TheMethodsAreThoseOfTheInterfaceFileInItsOrder) {
  const auto& protocol = alertsDaemonProtocol();
  EXPECT_EQ(protocol.name, VLAlertsXPCServiceName);
  ASSERT_EQ(protocol.methods.size(), 26u);
  std::size_t at = 0;
  for (const auto& method : protocol.methods) {
    EXPECT_EQ(method.wireName, wireNameOf(method.selector));
    const auto found = protocol.description.find("# " + std::string(method.selector), at);
    ASSERT_NE(found, std::string_view::npos) << method.selector;
    const auto declared =
        protocol.description.find("\nmethod " + std::string(method.wireName) + "(", found);
    ASSERT_NE(declared, std::string_view::npos) << method.wireName;
    at = declared;
  }
  EXPECT_EQ(protocol.description.find("\nmethod ", at + 1), std::string_view::npos);
}

TEST_F(VLAlertsDaemonTest, AbsentNullAndLeftOutAreOne) {
  for (const auto* parameters : {"{}", R"({"alert": null})"}) {
    object_.posted = VLAlert();
    EXPECT_EQ(pieces(reply("PostAlert", parameters)), (std::vector{json::parse("{}")}));
    EXPECT_EQ(object_.posted, std::nullopt);
  }
}

TEST_F(VLAlertsDaemonTest, SeveralParametersGoByName) {
  EXPECT_EQ(pieces(reply("PerformRecoveryAction", R"({"alertId": "i", "action": "a"})")),
            (std::vector{json::parse("{}")}));
  EXPECT_EQ(object_.performed, (std::pair<std::string, std::string>("a", "i")));
}

TEST_F(VLAlertsDaemonTest, AParameterThatDoesNotFitIsNamedAndNothingIsCalled) {
  const std::tuple<std::string_view, std::string_view, std::string_view> rows[] = {
      {"PostAlert", R"({"alert": 5})", "alert"},
      {"PostAlert", R"({"alert": {"type": 5}})", "alert.type"},
      {"PostAlert", R"({"alert": {"typ": "a"}})", "alert.typ"},
      {"PostAlert", R"({"alert": 5, "alarm": 1})", "alarm"},
      {"PostAlert", R"({"alert": {"attributes": {"a": [1, {"$what": 1}]}}})",
       "alert.attributes.a[1]"},
      {"SaveAlerts", R"({"alerts": [{}, {"sentDate": "now"}]})", "alerts[1].sentDate"},
      {"SetAlertBundleSettings", R"({"settings": {"Disk": {"mailEnabeld": true}}})",
       "settings.Disk.mailEnabeld"},
      {"SetPushRecipients", R"({"recipients": [{"guid": "g", "token": "?"}]})",
       "recipients[0].token"},
      {"AddPushRecipients", R"({"recipients": [5, {"guid": 5}]})", "recipients[1].guid"},
      {"AddMailRecipients", R"({"recipients": ["a", 5]})", "recipients[1]"},
      {"DeleteAlertsWithIds", R"({"alertIds": 5})", "alertIds"},
      {"SetAttributes", R"({"attributes": {"a": {"$date": null}}})", "attributes.a"},
      {"PostAlert", R"({"alarm": {}})", "alarm"},
      {"PostAlert", R"({"": 1})", ""},
      {"PerformRecoveryAction", R"({"action": "a", "alertId": 1})", "alertId"},
      {"PerformRecoveryAction", R"({"action": 1, "alertId": 1})", "action"},
      {"GetAlertBundleNames", R"({"x": null})", "x"},
  };
  for (const auto& [method, parameters, name] : rows) {
    const json::object expected{{"error", "org.varlink.service.InvalidParameter"},
                                {"parameters", {{"parameter", name}}}};
    EXPECT_EQ(messages(reply(method, parameters), false), std::vector{expected}) << parameters;
  }
  EXPECT_EQ(object_.posted, std::nullopt);
  EXPECT_EQ(object_.performed.first, "");
}

TEST_F(VLAlertsDaemonTest, AnOperationThatIsNotOfferedIsNotImplemented) {
  EXPECT_EQ(reply("GetAttributes", "{}").kind(), CallReply::Kind::kNotOffered);
  EXPECT_EQ(reply("AddPushRecipients", R"({"recipients": []})").kind(),
            CallReply::Kind::kNotOffered);
}

TEST_F(VLAlertsDaemonTest, AReplyMayComeAfterTheOperationHasReturned) {
  const auto pending = invoke("SaveAlerts", "{}");
  EXPECT_FALSE(pending->hasArrived());
  object_.kept(makeError("D", 5, "late"));
  object_.kept = nullptr;
  ASSERT_TRUE(pending->hasArrived());
  EXPECT_EQ(pieces(pending->take())[0].at("error").at("code"), 5);
}

TEST_F(VLAlertsDaemonTest, AReplyThatWillNeverComeIsTold) {
  const auto pending = invoke("SaveAlerts", "{}");
  object_.kept = nullptr;
  ASSERT_TRUE(pending->hasArrived());
  EXPECT_EQ(pending->take().kind(), CallReply::Kind::kNotOffered);
}

TEST_F(VLAlertsDaemonTest, DataAndErrorTravelTogether) {
  object_.alerts = std::vector<VLAlert>(1);
  const auto whole = pieces(reply("GetAlertsOfType", "{}"));
  ASSERT_EQ(whole.size(), 1u);
  EXPECT_EQ(whole[0].at("alerts"), json::parse("[{}]"));
  EXPECT_EQ(whole[0].at("error").at("code"), 7);
  object_.alerts.reset();
  EXPECT_EQ(pieces(reply("GetAlertsOfType", "{}"), true),
            (std::vector{json::parse(R"({"error": {"domain": "D", "code": 7, "userInfo":
                         {"NSLocalizedDescription": "with data"}}})")}));
}

TEST_F(VLAlertsDaemonTest, ZeroIsToldAndNotLeftOut) {
  EXPECT_EQ(pieces(reply("DeleteUnsupportedAlerts", "{}")),
            (std::vector{json::parse(R"({"count": 0})")}));
}

TEST_F(VLAlertsDaemonTest, ALongListComesInBoundedPiecesWhenAskedFor) {
  VLAlert alert;
  alert.bundle = std::string(1000, 'x');
  object_.alerts = std::vector<VLAlert>(1000, alert);
  for (std::size_t i = 0; i < 1000; ++i) {
    (*object_.alerts)[i].identifier = std::to_string(i);
  }
  const auto inPieces = pieces(reply("GetAlertsOfType", "{}"), true);
  std::size_t seen = 0;
  for (const json::value& piece : inPieces) {
    EXPECT_LT(json::serialize(piece).size(), 98'000u);
    EXPECT_EQ(piece.as_object().contains("error"), &piece == &inPieces.back());
    for (const auto& each : piece.at("alerts").as_array()) {
      EXPECT_EQ(each.at("identifier").as_string(), std::to_string(seen++));
    }
  }
  EXPECT_EQ(seen, 1000u);
  EXPECT_GT(inPieces.size(), 10u);
}

TEST_F(VLAlertsDaemonTest, ALongListIsOneObjectInBoundedPartsOtherwise) {
  VLAlert alert;
  alert.bundle = std::string(1000, 'x');
  object_.alerts = std::vector<VLAlert>(1000, alert);
  CallReply inParts = reply("GetAlertsOfType", "{}");
  std::string all;
  std::size_t parts = 0;
  for (; !inParts.isWritten(); ++parts) {
    std::string part;
    inParts.writeNext(part, false);
    EXPECT_LT(part.size(), 98'000u);
    all += part;
  }
  EXPECT_GT(parts, 10u);
  all.pop_back();
  const auto parameters = json::parse(all).at("parameters");
  EXPECT_EQ(parameters.at("alerts").as_array().size(), 1000u);
  EXPECT_EQ(parameters.at("error").at("code"), 7);
}

TEST_F(VLAlertsDaemonTest, AnErrorOnTheWayEndsTheListAndIsTold) {
  const auto breakingOff = [](bool more) {
    return [more, left = 2](ErrorSlot error) mutable {
      std::vector<VLAlert> few(left-- > 0 ? 1 : 0);
      if (few.empty()) {
        setIfEmpty(error, makeError("D", 8, more ? "in pieces" : "at once"));
      }
      return few;
    };
  };
  object_.error.reset();
  for (const bool more : {false, true}) {
    object_.sequence = AlertSequence(breakingOff(more));
    VLAlert appended;
    appended.identifier = "appended";
    object_.sequence->append({appended});
    const auto all = pieces(reply("GetAlertsOfType", "{}"), more);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].at("alerts"), json::parse(R"([{}, {}, {"identifier": "appended"}])"));
    EXPECT_EQ(all[0].at("error").at("code"), 8);
  }
}

TEST_F(VLAlertsDaemonTest, AnEmptyListIsOnePiece) {
  object_.alerts.emplace();
  const auto all = pieces(reply("GetAlertsOfType", "{}"), true);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].at("alerts"), json::array());
}

}  // namespace
}  // namespace velto
