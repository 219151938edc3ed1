#include "protocol/VLAlertsDaemon.h"

#include <algorithm>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "platform/foundation/Paths.h"

namespace velto {
namespace {

namespace json = boost::json;
using Kind = InvocationResult::Kind;

/// Offers some operations, and notes what it was called with.
class SomeDaemon : public VLAlertsDaemon {
 public:
  void postAlert(std::optional<VLAlert> alert, ErrorReply reply) override {
    posted = std::move(alert);
    reply(postError);
  }
  void saveAlerts(std::optional<std::vector<VLAlert>>, ErrorReply reply) override {
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
  void invoke(std::string_view wireName, std::string_view parameters, bool more,
              const ResultHandler& handler) {
    const auto& methods = alertsDaemonProtocol().methods;
    const auto row = std::find_if(methods.begin(), methods.end(),
                                  [&](const ProtocolMethod& m) { return m.wireName == wireName; });
    row->invoke({object_, json::parse(parameters).as_object(), nullptr, more}, handler);
  }

  InvocationResult invoke(std::string_view wireName, std::string_view parameters,
                          bool more = false) {
    std::vector<InvocationResult> results;
    invoke(wireName, parameters, more,
           [&](InvocationResult result) { results.push_back(std::move(result)); });
    EXPECT_EQ(results.size(), 1u);
    return results.empty() ? InvocationResult() : std::move(results.front());
  }

  std::vector<json::value> pieces(const InvocationResult& result) {
    std::vector<json::value> all;
    for (bool continues = true; continues;) {
      std::string text;
      continues = result.reply(text);
      all.push_back(json::parse(text));
    }
    return all;
  }

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
    EXPECT_EQ(pieces(invoke("PostAlert", parameters)), (std::vector{json::parse("{}")}));
    EXPECT_EQ(object_.posted, std::nullopt);
  }
}

TEST_F(VLAlertsDaemonTest, SeveralParametersGoByName) {
  EXPECT_EQ(invoke("PerformRecoveryAction", R"({"alertId": "i", "action": "a"})").kind,
            Kind::kReplied);
  EXPECT_EQ(object_.performed, (std::pair<std::string, std::string>("a", "i")));
}

TEST_F(VLAlertsDaemonTest, AParameterThatDoesNotFitIsNamedAndNothingIsCalled) {
  const std::tuple<std::string_view, std::string_view, std::string_view> rows[] = {
      {"PostAlert", R"({"alert": 5})", "alert"},
      {"PostAlert", R"({"alert": {"type": 5}})", "alert"},
      {"PostAlert", R"({"alarm": {}})", "alarm"},
      {"PostAlert", R"({"": 1})", ""},
      {"PerformRecoveryAction", R"({"action": "a", "alertId": 1})", "alertId"},
      {"PerformRecoveryAction", R"({"action": 1, "alertId": 1})", "action"},
      {"GetAlertBundleNames", R"({"x": null})", "x"},
  };
  for (const auto& [method, parameters, name] : rows) {
    const auto result = invoke(method, parameters);
    EXPECT_EQ(result.kind, Kind::kInvalidParameter) << parameters;
    EXPECT_EQ(result.parameter, name) << parameters;
  }
  EXPECT_EQ(object_.posted, std::nullopt);
  EXPECT_EQ(object_.performed.first, "");
}

TEST_F(VLAlertsDaemonTest, AnOperationThatIsNotOfferedIsNotImplemented) {
  EXPECT_EQ(invoke("GetAttributes", "{}").kind, Kind::kNotImplemented);
  EXPECT_EQ(invoke("AddPushRecipients", R"({"recipients": []})").kind, Kind::kNotImplemented);
}

TEST_F(VLAlertsDaemonTest, AReplyMayComeAfterTheOperationHasReturned) {
  std::vector<InvocationResult> results;
  const auto take = [&](InvocationResult result) { results.push_back(std::move(result)); };
  invoke("SaveAlerts", "{}", false, take);
  EXPECT_TRUE(results.empty());
  object_.kept(makeError("D", 5, "late"));
  object_.kept = nullptr;
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].kind, Kind::kReplied);
  EXPECT_EQ(pieces(results[0])[0].at("error").at("code"), 5);
}

TEST_F(VLAlertsDaemonTest, AReplyThatWillNeverComeIsTold) {
  std::vector<InvocationResult> results;
  invoke("SaveAlerts", "{}", false,
         [&](InvocationResult result) { results.push_back(std::move(result)); });
  object_.kept = nullptr;
  ASSERT_EQ(results.size(), 1u);
  EXPECT_EQ(results[0].kind, Kind::kNotImplemented);
}

TEST_F(VLAlertsDaemonTest, DataAndErrorTravelTogether) {
  object_.alerts = std::vector<VLAlert>(1);
  const auto reply = pieces(invoke("GetAlertsOfType", "{}"));
  ASSERT_EQ(reply.size(), 1u);
  EXPECT_EQ(reply[0].at("alerts"), json::parse("[{}]"));
  EXPECT_EQ(reply[0].at("error").at("code"), 7);
  object_.alerts.reset();
  EXPECT_EQ(pieces(invoke("GetAlertsOfType", "{}", true)),
            (std::vector{json::parse(R"({"error": {"domain": "D", "code": 7, "userInfo":
                         {"NSLocalizedDescription": "with data"}}})")}));
}

TEST_F(VLAlertsDaemonTest, ZeroIsToldAndNotLeftOut) {
  EXPECT_EQ(pieces(invoke("DeleteUnsupportedAlerts", "{}")),
            (std::vector{json::parse(R"({"count": 0})")}));
}

TEST_F(VLAlertsDaemonTest, ALongListComesInBoundedPiecesWhenAskedFor) {
  VLAlert alert;
  alert.bundle = std::string(1000, 'x');
  object_.alerts = std::vector<VLAlert>(1000, alert);
  for (std::size_t i = 0; i < 1000; ++i) {
    (*object_.alerts)[i].identifier = std::to_string(i);
  }
  const auto inPieces = pieces(invoke("GetAlertsOfType", "{}", true));
  std::size_t seen = 0;
  for (const json::value& piece : inPieces) {
    EXPECT_LT(json::serialize(piece).size(), 70'000u);
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
  const auto result = invoke("GetAlertsOfType", "{}");
  std::string all;
  std::size_t parts = 0;
  for (bool continues = true; continues; ++parts) {
    std::string part;
    continues = result.reply(part);
    EXPECT_LT(part.size(), 70'000u);
    all += part;
  }
  EXPECT_GT(parts, 10u);
  const auto reply = json::parse(all);
  EXPECT_EQ(reply.at("alerts").as_array().size(), 1000u);
  EXPECT_EQ(reply.at("error").at("code"), 7);
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
    const auto reply = pieces(invoke("GetAlertsOfType", "{}", more));
    ASSERT_EQ(reply.size(), 1u);
    EXPECT_EQ(reply[0].at("alerts"), json::parse(R"([{}, {}, {"identifier": "appended"}])"));
    EXPECT_EQ(reply[0].at("error").at("code"), 8);
  }
}

TEST_F(VLAlertsDaemonTest, AnEmptyListIsOnePiece) {
  object_.alerts.emplace();
  const auto reply = pieces(invoke("GetAlertsOfType", "{}", true));
  ASSERT_EQ(reply.size(), 1u);
  EXPECT_EQ(reply[0].at("alerts"), json::array());
}

}  // namespace
}  // namespace velto
