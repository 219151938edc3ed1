// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <velto/Alert.h>
#include <velto/Error.h>
#include <velto/Monitor.h>
#include <velto/Value.h>

#include "platform/foundation/JSONText.h"

namespace velto::alerts {

/// Writes the parameters of a call as JSON, and finds what JSON cannot carry: text that is not
/// UTF-8, on which the service would hang up, and numbers that are not finite, which would arrive
/// as absent. One thread at a time.
class CallText {
 public:
  /// What becomes of an absent value in a dictionary.
  enum class Absent { kLeftOut, kNull };

  explicit CallText(Absent absent = Absent::kLeftOut) : absent_(absent) {}

  /// Adds a parameter; none when it is absent.
  template <typename T>
  CallText& add(std::string_view name, const T& value) {
    member(parameters_, name, value);
    return *this;
  }

  /// The text, or which parameter cannot be sent. The last operation.
  Outcome<std::string> finish();

 private:
  template <typename T>
  void member(JSONObjectText& object, std::string_view name, const T& value);
  template <typename T>
  void member(JSONObjectText& object, std::string_view name, const std::optional<T>& value) {
    if (value) member(object, name, *value);
  }
  void dictionaryMembers(const Value::Dictionary& dictionary);

  void put(bool value) { appendJSON(text_, value); }
  void put(std::int64_t value) { appendJSON(text_, value); }
  void put(std::uint64_t value) { appendJSON(text_, value); }
  void put(double value);
  void put(const std::string& value);
  void put(Date value) { put(value.secondsSince2001()); }
  void put(const Data& value);
  void put(const Value& value);
  void put(const Value::Dictionary& value);
  void put(const Alert& value);
  void put(const BundleSettings& value);
  void put(const MailRecipient& value);
  void put(const PushRecipient& value);
  void put(const BundleSettingsMap& values);
  template <typename T>
  void put(const std::vector<T>& values);

  void require(bool isGood, const char* what);

  const Absent absent_;
  std::string text_;
  JSONObjectText parameters_{text_};
  std::string path_;  ///< of what is being written
  std::string problem_;
};

template <typename T>
void CallText::member(JSONObjectText& object, std::string_view name, const T& value) {
  const std::size_t length = path_.size();
  path_.append(path_.empty() ? "" : ".").append(name);
  object.beginMember(name);
  put(value);
  path_.resize(length);
}

template <typename T>
void CallText::put(const std::vector<T>& values) {
  const std::size_t length = path_.size();
  text_ += '[';
  for (std::size_t index = 0; index < values.size(); ++index) {
    if (index > 0) text_ += ',';
    path_.append("[").append(std::to_string(index)).append("]");
    put(values[index]);
    path_.resize(length);
  }
  text_ += ']';
}

}  // namespace velto::alerts
