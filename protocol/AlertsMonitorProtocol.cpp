// SPDX-License-Identifier: Apache-2.0
// The table of the watching interface's methods, and what turns a call into one and back.

#include <array>
#include <utility>

#include "platform/foundation/JSONText.h"
#include "protocol/CallParameters.h"
#include "protocol/InterfaceDescriptions.h"
#include "protocol/MonitorEncoding.h"
#include "protocol/VLAlertsMonitor.h"

namespace velto {
namespace {

constexpr std::string_view kInterface = "com.ulmora.velto.AlertsMonitor";

struct None {};

struct AlertParameters {
  std::optional<std::string> identifier;
  std::optional<std::string> locale;
};

struct HistoryParameters {
  std::optional<Date> from;
  std::optional<Date> to;
  std::optional<double> step;
};

struct FollowParameters {
  std::optional<std::string> bundle;
  std::optional<std::string> type;
};

template <auto Member>
WrongPath decodeFilter(JSONSource& source, const ArgumentClasses* /*classes*/,
                       MonitorListQuery& query) {
  return decodeOptional(source, nullptr, query.filter.*Member);
}

constexpr std::array<JSONMember<None>, 0> kNone{};

constexpr std::array<JSONMember<MonitorListQuery>, 10> kList{{
    {"bundle", decodeFilter<&AlertFilter::bundle>},
    {"type", decodeFilter<&AlertFilter::type>},
    {"from", decodeFilter<&AlertFilter::from>},
    {"to", decodeFilter<&AlertFilter::to>},
    {"unread", decodeFilter<&AlertFilter::unread>},
    {"unresolved", decodeFilter<&AlertFilter::unresolved>},
    {"text", decodeFilter<&AlertFilter::text>},
    {"locale", decodeMember<&MonitorListQuery::locale>},
    {"limit", decodeMember<&MonitorListQuery::limit>},
    {"after", decodeMember<&MonitorListQuery::after>},
}};

constexpr std::array<JSONMember<AlertParameters>, 2> kAlert{{
    {"identifier", decodeMember<&AlertParameters::identifier>},
    {"locale", decodeMember<&AlertParameters::locale>},
}};

constexpr std::array<JSONMember<HistoryParameters>, 3> kHistory{{
    {"from", decodeMember<&HistoryParameters::from>},
    {"to", decodeMember<&HistoryParameters::to>},
    {"step", decodeMember<&HistoryParameters::step>},
}};

constexpr std::array<JSONMember<FollowParameters>, 2> kFollow{{
    {"bundle", decodeMember<&FollowParameters::bundle>},
    {"type", decodeMember<&FollowParameters::type>},
}};

/// The reply whose parameters are the data, or, with a name, have it as their one member.
template <typename Result>
CallReply replyOf(MonitorOutcome<Result> outcome, std::string_view name = {}) {
  if (auto* error = std::get_if<CallReply>(&outcome)) return std::move(*error);
  std::string text;
  if (name.empty()) {
    appendJSON(text, std::get<Result>(outcome));
  } else {
    JSONObjectText parameters(text);
    parameters.add(name, std::get<Result>(outcome));
    parameters.end();
  }
  return CallReply::parameters(text);
}

CallReply getStatus(VLAlertsMonitor& monitor, const None& /*parameters*/, bool /*more*/) {
  return replyOf(monitor.getStatus(), "status");
}

CallReply list(VLAlertsMonitor& monitor, const MonitorListQuery& query, bool /*more*/) {
  return replyOf(monitor.list(query));
}

CallReply getAlert(VLAlertsMonitor& monitor, const AlertParameters& given, bool /*more*/) {
  if (!given.identifier) return CallReply::invalidParameter("identifier");
  return replyOf(monitor.getAlert(*given.identifier, given.locale));
}

CallReply getHistory(VLAlertsMonitor& monitor, const HistoryParameters& given, bool /*more*/) {
  if (!given.from) return CallReply::invalidParameter("from");
  if (!given.to) return CallReply::invalidParameter("to");
  if (!given.step) return CallReply::invalidParameter("step");
  return replyOf(monitor.getHistory(*given.from, *given.to, *given.step), "entries");
}

/// Who does not take more than one message gets the first one.
CallReply follow(VLAlertsMonitor& monitor, const FollowParameters& given, bool more) {
  auto outcome = monitor.follow(given.bundle, given.type);
  if (auto* error = std::get_if<CallReply>(&outcome)) return std::move(*error);
  auto stream = std::get<std::unique_ptr<ReplyStream>>(std::move(outcome));
  if (more) return CallReply::stream(std::move(stream));
  std::string text;
  stream->append(text);
  return CallReply::parameters(text);
}

/// The row of one method: its parameters' structure, and what calls it.
template <typename Parameters, std::size_t N>
ProtocolMethod row(std::string_view wireName, const std::array<JSONMember<Parameters>, N>& members,
                   Pace pace, CallReply (*call)(VLAlertsMonitor&, const Parameters&, bool more)) {
  return {.selector = {},
          .wireName = wireName,
          .invoke =
              [&members, call](const Invocation& invocation, ReplyPromise promise) {
                Parameters parameters;
                const auto wrong = decodeParameters(invocation, parameters, members);
                promise.keepWith([&] {
                  return wrong ? CallReply::invalidParameter(*wrong)
                               : call(static_cast<VLAlertsMonitor&>(invocation.object), parameters,
                                      invocation.more);
                });
              },
          .pace = pace};
}

std::vector<ProtocolMethod> methodTable() {
  return {
      row("GetStatus", kNone, Pace::kUsual, getStatus),
      row("List", kList, Pace::kUsual, list),
      row("GetAlert", kAlert, Pace::kUsual, getAlert),
      row("GetHistory", kHistory, Pace::kUsual, getHistory),
      row("Follow", kFollow, Pace::kQuick, follow),
  };
}

CallReply failure(std::string_view error, std::string_view parameter, std::string_view value) {
  return CallReply::error(std::string(kInterface).append(".").append(error), parameter, value);
}

}  // namespace

CallReply monitorNotPermitted() {
  return failure("NotPermitted", {}, {});
}

CallReply noSuchAlert(std::string_view identifier) {
  return failure("NoSuchAlert", "identifier", identifier);
}

CallReply invalidPosition() {
  return failure("InvalidPosition", {}, {});
}

CallReply storeUnavailable(const Error& error) {
  return CallReply::error("com.ulmora.velto.AlertsStore.Unavailable", "description",
                          error.localizedDescription());
}

const Protocol& alertsMonitorProtocol() {
  static const Protocol protocol{.name = kInterface,
                                 .description = kAlertsMonitorDescription,
                                 .product = "Velto Alerts Daemon",
                                 .version = VELTO_VERSION,
                                 .methods = methodTable()};
  return protocol;
}

}  // namespace velto
