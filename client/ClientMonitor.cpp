// SPDX-License-Identifier: Apache-2.0
// The watching interface, but for following.
#include "client/ClientParts.h"

namespace velto::alerts {
namespace {

/// For replies that are one member, or several of one structure.
template <typename T>
auto memberOf(std::string_view name) {
  return [name](const boost::json::object& reply, T& value) {
    return decodeMember(reply, name, value);
  };
}

constexpr auto wholeReply = [](const boost::json::object& reply, auto& value) {
  return decodeReply(reply, value);
};

}  // namespace

Outcome<Status> Client::getStatus(const CallOptions& options) {
  CallText none;
  return parts_->watch<Status>("GetStatus", none, memberOf<Status>("status"), options);
}

Outcome<ListPage> Client::list(const ListQuery& query, const CallOptions& options) {
  CallText parameters;
  parameters.add("bundle", query.bundle)
      .add("type", query.type)
      .add("from", query.from)
      .add("to", query.to)
      .add("unread", query.unread)
      .add("unresolved", query.unresolved)
      .add("text", query.text)
      .add("locale", query.locale)
      .add("limit", query.limit)
      .add("after", query.after);
  return parts_->watch<ListPage>("List", parameters, wholeReply, options);
}

Outcome<AlertDetails> Client::getAlert(const std::string& identifier,
                                       const std::optional<std::string>& locale,
                                       const CallOptions& options) {
  return parts_->watch<AlertDetails>("GetAlert",
                                     CallText().add("identifier", identifier).add("locale", locale),
                                     wholeReply, options);
}

Outcome<std::vector<HistoryEntry>> Client::getHistory(Date from, Date to, double step,
                                                      const CallOptions& options) {
  return parts_->watch<std::vector<HistoryEntry>>(
      "GetHistory", CallText().add("from", from).add("to", to).add("step", step),
      memberOf<std::vector<HistoryEntry>>("entries"), options);
}

}  // namespace velto::alerts
