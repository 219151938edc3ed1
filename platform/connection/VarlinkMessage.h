// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/object.hpp>
#include <boost/json/storage_ptr.hpp>

namespace velto {

/// A call as it came over the wire. A value; any thread.
class VarlinkCall {
 public:
  /// Reads a message (without its NUL). Nothing when it is not a call: the peer then speaks
  /// something else, and there is no use in answering. Its memory comes from `storage`, which must
  /// outlive it.
  static std::optional<VarlinkCall> parse(std::string_view message,
                                          boost::json::storage_ptr storage = {});

  /// The full name, "com.example.Interface.Method".
  std::string_view method() const { return method_; }
  /// Empty when the call has none.
  const boost::json::object& parameters() const { return parameters_; }
  bool oneway() const { return oneway_; }
  bool more() const { return more_; }
  bool upgrade() const { return upgrade_; }

 private:
  explicit VarlinkCall(const boost::json::storage_ptr& storage)
      : method_(storage), parameters_(storage) {}
  bool take(std::string_view name, boost::json::value& value);

  boost::json::string method_;
  boost::json::object parameters_;
  bool hasMethod_ = false;
  bool oneway_ = false;
  bool more_ = false;
  bool upgrade_ = false;
};

}  // namespace velto
