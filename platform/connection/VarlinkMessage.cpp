// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkMessage.h"

#include <utility>

#include <boost/json/value.hpp>

#include "platform/connection/JSONReader.h"

namespace velto {
namespace {

namespace json = boost::json;

/// Sets `flag` from a member that must be a boolean or null.
bool takeFlag(const json::value& value, bool& flag) {
  if (!value.is_bool() && !value.is_null()) return false;
  flag = value.is_bool() && value.get_bool();
  return true;
}

}  // namespace

std::optional<VarlinkCall> VarlinkCall::parse(std::string_view message, json::storage_ptr storage) {
  std::optional<json::value> document = readJSON(message, storage);
  if (!document || !document->is_object()) return std::nullopt;

  VarlinkCall call(storage);
  for (auto& [name, value] : document->get_object()) {
    if (!call.take(name, value)) return std::nullopt;
  }
  return call.hasMethod_ ? std::optional(std::move(call)) : std::nullopt;
}

/// Takes over one member of the envelope; false when a call cannot have it.
bool VarlinkCall::take(std::string_view name, json::value& value) {
  if (name == "method") {
    hasMethod_ = value.is_string();
    if (hasMethod_) method_ = std::move(value.get_string());
    return hasMethod_;
  }
  if (name == "parameters") {
    if (value.is_object()) parameters_ = std::move(value.get_object());
    return value.is_object() || value.is_null();
  }
  if (name == "oneway") return takeFlag(value, oneway_);
  if (name == "more") return takeFlag(value, more_);
  if (name == "upgrade") return takeFlag(value, upgrade_);
  // Names with a dot are other people's extensions.
  return name.find('.') != std::string_view::npos;
}

}  // namespace velto
