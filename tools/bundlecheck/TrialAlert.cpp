// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/TrialAlert.h"

#include <cerrno>
#include <optional>

#include "platform/foundation/Clock.h"
#include "platform/json/JSONSyntax.h"
#include "platform/propertylist/PropertyListJSON.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

/// More than a caller may post.
constexpr std::size_t kBudget = std::size_t{256} << 20;

struct Attribute {
  std::string name;
  PropertyList value;
};

/// Nothing when it is no value.
std::optional<PropertyList> valueOfJSON(std::string_view text) {
  if (!isJSON(text)) return std::nullopt;
  JSONSource source{JSONCursor(text), MemoryBudget(kBudget)};
  PropertyList value;
  return decodePropertyList(source, value) ? std::nullopt : std::optional(std::move(value));
}

std::optional<Attribute> attributeOf(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view rest = text.substr(equals + 1);
  const bool isJSON = equals > 0 && text[equals - 1] == ':';
  auto value = isJSON ? valueOfJSON(rest) : std::optional(PropertyList(rest));
  if (!value) return std::nullopt;
  return Attribute{std::string(text.substr(0, equals - (isJSON ? 1 : 0))), *std::move(value)};
}

}  // namespace

std::optional<VLAlert> trialAlert(const std::string& bundle, const std::string& type,
                                  const std::vector<std::string>& attributes, ErrorSlot error) {
  PropertyList::Dictionary values;
  for (const std::string& attribute : attributes) {
    auto read = attributeOf(attribute);
    if (!read) {
      setIfEmpty(error, makeError(kPOSIXErrorDomain, EINVAL,
                                  say("'{}' is no attribute, such as volume=/home, or "
                                      "percent:=93 for a number",
                                      attribute)));
      return std::nullopt;
    }
    values.insert_or_assign(std::move(read->name), std::move(read->value));
  }
  const Date now = Clock::system().now();
  VLAlert alert;
  alert.identifier = type + ":trial";
  alert.type = type;
  alert.bundle = bundle;
  alert.creationDate = now;
  alert.sentDate = now;
  alert.attributes = std::move(values);
  return alert;
}

}  // namespace velto
