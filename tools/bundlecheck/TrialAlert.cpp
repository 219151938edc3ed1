// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/TrialAlert.h"

#include <cerrno>
#include <optional>

#include "platform/foundation/Clock.h"
#include "platform/json/JSONSyntax.h"
#include "platform/propertylist/PropertyListJSON.h"

namespace velto {
namespace {

/// More than a caller may post.
constexpr std::size_t kBudget = std::size_t{256} << 20;

/// Nothing when it is JSON, but no value.
std::optional<PropertyList> valueOf(const std::string& text) {
  if (!isJSON(text)) return PropertyList(text);
  JSONSource source{JSONCursor(text), MemoryBudget(kBudget)};
  PropertyList value;
  return decodePropertyList(source, value) ? std::nullopt : std::optional(std::move(value));
}

}  // namespace

std::optional<VLAlert> trialAlert(const std::string& bundle, const std::string& type,
                                  const std::vector<std::string>& attributes, ErrorSlot error) {
  PropertyList::Dictionary values;
  for (const std::string& attribute : attributes) {
    const std::size_t equals = attribute.find('=');
    auto value = equals == std::string::npos ? std::nullopt : valueOf(attribute.substr(equals + 1));
    if (!value) {
      setIfEmpty(error, makeError(kPOSIXErrorDomain, EINVAL,
                                  "'" + attribute + "' is no attribute, such as volume=/home"));
      return std::nullopt;
    }
    values.insert_or_assign(attribute.substr(0, equals), *std::move(value));
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
