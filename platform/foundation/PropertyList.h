#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/Data.h"
#include "platform/foundation/Date.h"

namespace velto {

/// One property-list value: a string (UTF-8), a signed or unsigned 64-bit integer, a real, a
/// boolean, a date, data, an array or a dictionary.
///
/// A dictionary arriving from a client can also hold an absent value. It has no encoding as a
/// property list: a value that contains one cannot be written.
///
/// An integer that fits a signed 64-bit integer is always held as one; the unsigned alternative
/// holds only the numbers above. So equal numbers compare equal. A value; any thread may use its
/// own copy.
class PropertyList {
 public:
  using Array = std::vector<PropertyList>;
  using Dictionary = std::map<std::string, PropertyList, std::less<>>;

  /// An absent value.
  PropertyList() = default;
  PropertyList(std::string value) : value_(std::move(value)) {}
  PropertyList(std::string_view value) : value_(std::string(value)) {}
  PropertyList(const char* value) : value_(std::string(value)) {}
  PropertyList(bool value) : value_(value) {}
  PropertyList(double value) : value_(value) {}
  PropertyList(Date value) : value_(value) {}
  PropertyList(Data value) : value_(std::move(value)) {}
  PropertyList(Array value) : value_(std::move(value)) {}
  PropertyList(Dictionary value) : value_(std::move(value)) {}
  template <typename Integer,
            std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool> &&
                                 !std::is_same_v<Integer, char>,
                             int> = 0>
  PropertyList(Integer value) {
    if (std::in_range<std::int64_t>(value)) {
      value_ = static_cast<std::int64_t>(value);
    } else {
      value_ = static_cast<std::uint64_t>(value);
    }
  }

  bool isAbsent() const { return std::holds_alternative<std::monostate>(value_); }

  /// The value as the asked type, or null when it is of another. Never converts.
  const std::string* string() const { return std::get_if<std::string>(&value_); }
  const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
  const std::uint64_t* unsignedInteger() const { return std::get_if<std::uint64_t>(&value_); }
  const double* real() const { return std::get_if<double>(&value_); }
  const bool* boolean() const { return std::get_if<bool>(&value_); }
  const Date* date() const { return std::get_if<Date>(&value_); }
  const Data* data() const { return std::get_if<Data>(&value_); }
  const Array* array() const { return std::get_if<Array>(&value_); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value_); }
  Array* array() { return std::get_if<Array>(&value_); }
  Dictionary* dictionary() { return std::get_if<Dictionary>(&value_); }

  /// Calls `visitor` with the value held: std::monostate (absent), std::string, std::int64_t,
  /// std::uint64_t, double, bool, Date, Data, Array or Dictionary.
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(std::forward<Visitor>(visitor), value_);
  }

  bool operator==(const PropertyList&) const = default;

 private:
  std::variant<std::monostate, std::string, std::int64_t, std::uint64_t, double, bool, Date, Data,
               Array, Dictionary>
      value_;
};

/// The value under `key`, or null when there is none.
inline const PropertyList* valueForKey(const PropertyList::Dictionary& dictionary,
                                       std::string_view key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : &found->second;
}

/// The string under `key`, or null when there is none or it is not a string.
inline const std::string* stringForKey(const PropertyList::Dictionary& dictionary,
                                       std::string_view key) {
  const PropertyList* value = valueForKey(dictionary, key);
  return value == nullptr ? nullptr : value->string();
}

}  // namespace velto
