// SPDX-License-Identifier: Apache-2.0
// `deliveries`: what the daemon has noted in the system's journal.

#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include <boost/json/object.hpp>

#include "platform/connection/JSONReader.h"
#include "tools/Verbs.h"
#include "tools/alerts/ListOptions.h"
#include "tools/frame/CommandOutput.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONList.h"
#include "tools/frame/JSONShape.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/Table.h"

namespace velto {
namespace {

namespace json = boost::json;

/// By this the daemon's entries of deliveries are found.
constexpr const char* kMatch = "MESSAGE_ID=5b948e18490f447ab8f28cf86e632cd0";

struct Options {
  std::string identifier = {};
  std::string since = {};
  std::int64_t count = 100;
};

struct Delivery {
  std::optional<alerts::Date> date = {};
  std::string identifier = {};
  std::string bundle = {};
  std::string type = {};
  std::string channel = {};
  std::string recipients = {};
  std::string language = {};
  std::string result = {};
  std::int64_t status = 0;
  std::int64_t microseconds = 0;
};

/// A field's text. journalctl writes what is not printable as an array of bytes.
std::string field(const json::object& entry, std::string_view name) {
  const json::value* value = entry.if_contains(name);
  if (value == nullptr) return {};
  if (value->is_string()) return std::string(value->as_string());
  std::string text;
  if (const json::array* bytes = value->if_array()) {
    for (const json::value& byte : *bytes) {
      if (byte.is_int64()) text.push_back(static_cast<char>(byte.as_int64()));
    }
  }
  return text;
}

std::int64_t numberField(const json::object& entry, std::string_view name) {
  const std::string text = field(entry, name);
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::optional<Delivery> parse(const std::string& line) {
  const auto value = readJSON(line);
  if (!value || !value->is_object()) return std::nullopt;
  const json::object& entry = value->as_object();
  const auto time = static_cast<double>(numberField(entry, "__REALTIME_TIMESTAMP")) / 1e6;
  return Delivery{.date = alerts::Date::fromUnixSeconds(time),
                  .identifier = field(entry, "VELTO_ALERT_ID"),
                  .bundle = field(entry, "VELTO_BUNDLE"),
                  .type = field(entry, "VELTO_TYPE"),
                  .channel = field(entry, "VELTO_CHANNEL"),
                  .recipients = field(entry, "VELTO_RECIPIENTS"),
                  .language = field(entry, "VELTO_LOCALE"),
                  .result = field(entry, "VELTO_RESULT"),
                  .status = numberField(entry, "VELTO_STATUS"),
                  .microseconds = numberField(entry, "VELTO_DURATION_USEC")};
}

std::vector<Delivery> deliveries(Session& session, const Options& options) {
  std::vector<std::string> command = {"journalctl", "--output=json", "--no-pager", "--all",
                                      "--quiet",    "--reverse",     kMatch};
  if (!options.identifier.empty()) command.push_back("VELTO_ALERT_ID=" + options.identifier);
  command.push_back("--lines=" + std::to_string(options.count));
  if (!options.since.empty()) {
    const auto date = requiredDate("--since", options.since, session.now());
    command.push_back(fmt::format("--since=@{:.0f}", date.unixSeconds()));
  }
  std::vector<Delivery> found;
  const int status = forEachLineOf(command, [&found](const std::string& line) {
    if (auto delivery = parse(line)) found.push_back(std::move(*delivery));
  });
  if (status != 0 && found.empty()) {
    throw Failure{.what = say("journalctl ended with status {}", status)};
  }
  return found;
}

/// An empty answer may be all that this user is shown.
void requireRightToRead() {
  const bool mayRead = geteuid() == 0 || access("/var/log/journal", R_OK | X_OK) == 0 ||
                       access("/run/log/journal", R_OK | X_OK) == 0;
  if (mayRead) return;
  throw Failure{.status = kExitNotPermitted,
                .what = tr("the journal shows you nothing of the daemon"),
                .advice = tr("try it with sudo, or as a member of the group systemd-journal")};
}

json::object documentOf(const Delivery& delivery) {
  return {{"date", asJSON(delivery.date)},
          {"identifier", delivery.identifier},
          {"bundle", delivery.bundle},
          {"type", delivery.type},
          {"channel", delivery.channel},
          {"recipients", delivery.recipients},
          {"language", delivery.language},
          {"result", delivery.result},
          {"status", delivery.status},
          {"seconds", static_cast<double>(delivery.microseconds) / 1e6}};
}

Table::Row row(Session& session, const Delivery& delivery) {
  const bool isDelivered = delivery.result == "delivered";
  const std::string result = isDelivered ? tr("delivered") : say("failed: {}", delivery.status);
  return {{session.timeCell(delivery.date)},
          {printable(delivery.channel)},
          {result, isDelivered ? CellStyle::kPlain : CellStyle::kRed},
          {session.bundleName(delivery.bundle)},
          {session.typeName(delivery.bundle, delivery.type)},
          {printable(delivery.identifier), CellStyle::kDim},
          {printable(delivery.recipients)}};
}

void printTable(Session& session, const std::vector<Delivery>& found) {
  std::vector<Table::Row> rows;
  for (const Delivery& delivery : found) {
    rows.push_back(row(session, delivery));
  }
  const Table table({{.title = tr("WHEN")},
                     {.title = tr("CHANNEL"), .leavesAt = 1},
                     {.title = tr("RESULT")},
                     {.title = tr("BUNDLE"), .leavesAt = 3, .minimumWidth = 8},
                     {.title = tr("KIND"), .leavesAt = 4, .minimumWidth = 8},
                     {.title = tr("ID"), .leavesAt = 2, .minimumWidth = 12},
                     {.title = tr("RECIPIENTS"), .minimumWidth = 16}},
                    std::move(rows), session.tableLook());
  session.page();
  session.write(table.text());
}

ExitStatus list(Session& session, const Options& options) {
  const auto found = deliveries(session, options);
  if (found.empty()) requireRightToRead();
  if (session.isJSON()) {
    JSONList json(session, "deliveries");
    for (const Delivery& delivery : found) {
      json.add(documentOf(delivery));
    }
  } else if (session.ways().isQuiet) {
    for (const Delivery& delivery : found) {
      session.write(printable(delivery.identifier) + '\n');
    }
  } else if (found.empty()) {
    session.tell(tr("No deliveries."));
  } else {
    printTable(session, found);
  }
  return kExitDone;
}

}  // namespace

void addDeliveriesVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb =
      verbs.add({.name = "deliveries",
                 .description = tr("Tell from the journal what was sent to whom, newest first"),
                 .example = "alertsctl deliveries --since yesterday"},
                [options](Session& session) { return list(session, *options); });
  verb.argument("ID", options->identifier, tr("Of this alert only; its whole identifier"));
  verb.option("-S,--since", options->since, tr("DATE"), tr("Sent then or later"));
  verb.option("-n,--lines", options->count, tr("COUNT"), tr("So many of them, the newest (100)"));
}

}  // namespace velto
