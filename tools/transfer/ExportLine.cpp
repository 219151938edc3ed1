// SPDX-License-Identifier: Apache-2.0
#include "tools/transfer/ExportLine.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/json/object.hpp>

#include "client/CallText.h"
#include "client/ReplyDecoding.h"
#include "platform/connection/JSONReader.h"
#include "tools/frame/Failure.h"
#include "tools/text/JSONProblem.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

namespace json = boost::json;
using Names = std::vector<std::string>;

/// An alert lies two levels deeper in a call than in a line.
constexpr std::size_t kMaximumDepth = 62;
constexpr const char* kHead = "export";

template <typename T>
std::string lineOf(const char* name, const T& value) {
  auto text = alerts::CallText().add(name, value).finish();
  if (text.error) throw failureOf(*text.error);
  return printableJSON(*text.value) + '\n';
}

/// A member that nothing is known of would be lost without a word.
void refuseUnknownMembers(const json::object& object, const Names& known) {
  for (const auto& member : object) {
    const std::string name(member.key());
    if (std::find(known.begin(), known.end(), name) != known.end()) continue;
    throw Failure{.what = say("unknown member {}", printable(name)),
                  .advice = suggestion(name, known)};
  }
}

template <typename T>
T decoded(const char* kind, const json::value& value, const Names& known) {
  T result;
  if (!value.is_object()) throw Failure{.what = say("{} is no JSON object", kind)};
  refuseUnknownMembers(value.get_object(), known);
  if (!alerts::decode(value, result)) {
    for (const auto& member : value.get_object()) {
      T one;
      if (!alerts::decode(json::value(json::object{{member.key(), member.value()}}), one)) {
        throw Failure{.what = say("{} has another kind of value than it must",
                                  printable(kind + ("." + std::string(member.key()))))};
      }
    }
    throw Failure{.what = say("{} has a member of a wrong kind", kind)};
  }
  return result;
}

ExportHead headOf(const json::value& value) {
  const json::value* version =
      value.is_object() ? value.get_object().if_contains("version") : nullptr;
  if (version == nullptr || *version != json::value(1)) {
    throw Failure{.what = tr("it is an export of another version"),
                  .advice = tr("use a newer alertsctl")};
  }
  return {};
}

ExportedAttributes attributesOf(const json::value& value) {
  ExportedAttributes attributes;
  if (!value.is_object() || !alerts::decode(value, attributes.values)) {
    throw Failure{.what = tr("attributes are no JSON object")};
  }
  return attributes;
}

}  // namespace

std::string exportText(const ExportLine& line) {
  return std::visit(
      [](const auto& held) -> std::string {
        using Held = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, ExportHead>) {
          return lineOf(kHead, alerts::Value::Dictionary{{"version", held.version}});
        } else if constexpr (std::is_same_v<Held, ExportedAttributes>) {
          return lineOf("attributes", held.values);
        } else if constexpr (std::is_same_v<Held, alerts::Alert>) {
          return lineOf("alert", held);
        } else if constexpr (std::is_same_v<Held, alerts::BundleSettings>) {
          return lineOf("bundle", held);
        } else if constexpr (std::is_same_v<Held, alerts::MailRecipient>) {
          return lineOf("mailRecipient", held);
        } else {
          return lineOf("pushRecipient", held);
        }
      },
      line);
}

ExportLine parseExportLine(std::string_view text) {
  const auto value = readJSON(text, {}, kMaximumDepth);
  if (!value) throw Failure{.what = jsonProblem(text)};
  if (!value->is_object() || value->get_object().size() != 1) {
    throw Failure{.what = tr("no JSON object with one member"),
                  .advice = tr("as in {\"alert\": {...}}")};
  }
  const auto& member = *value->get_object().begin();
  const std::string kind(member.key());
  if (kind == "alert") {
    return decoded<alerts::Alert>("alert", member.value(),
                                  {"identifier", "type", "bundle", "creationDate", "sentDate",
                                   "readDate", "resolvedDate", "attributes"});
  }
  if (kind == kHead) return headOf(member.value());
  if (kind == "attributes") return attributesOf(member.value());
  if (kind == "bundle") {
    return decoded<alerts::BundleSettings>("bundle", member.value(),
                                           {"name", "pushEnabled", "mailEnabled"});
  }
  if (kind == "mailRecipient") {
    return decoded<alerts::MailRecipient>("mailRecipient", member.value(), {"address", "locale"});
  }
  if (kind == "pushRecipient") {
    return decoded<alerts::PushRecipient>("pushRecipient", member.value(),
                                          {"guid", "token", "name", "locale", "enabled"});
  }
  throw Failure{.what = say("unknown kind of line {}", printable(kind)),
                .advice = suggestion(
                    kind, {"alert", "attributes", "bundle", "mailRecipient", "pushRecipient"})};
}

}  // namespace velto
