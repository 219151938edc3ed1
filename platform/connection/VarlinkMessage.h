// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velto {

/// A call as it came over the wire. Points into the message, which must outlive it. Any thread.
class VarlinkCall {
 public:
  /// Reads a message (without its NUL). Nothing when it is not a call: the peer then speaks
  /// something else, and there is no use in answering.
  static std::optional<VarlinkCall> parse(std::string_view message);

  /// The full name, "com.example.Interface.Method".
  const std::string& method() const { return method_; }
  /// The JSON text of an object, which is empty when the call has no parameters.
  std::string_view parameters() const { return parameters_; }
  bool oneway() const { return oneway_; }
  bool more() const { return more_; }
  bool upgrade() const { return upgrade_; }

 private:
  std::string method_;
  std::string_view parameters_ = "{}";
  bool oneway_ = false;
  bool more_ = false;
  bool upgrade_ = false;
};

}  // namespace velto
