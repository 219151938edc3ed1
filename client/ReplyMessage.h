// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/object.hpp>

namespace velto::alerts {

/// One reply to a call.
struct ReplyMessage {
  /// The full name of the Varlink error, empty when the call was carried out.
  std::string error = {};
  boost::json::object parameters = {};
  /// More replies to the same call follow.
  bool continues = false;

  /// Reads a message (without its NUL); nothing when it is no reply. Any thread.
  static std::optional<ReplyMessage> parse(std::string_view message);
};

}  // namespace velto::alerts
