// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace velto::alerts {

// The values that alerts are made of. Plain values: any thread may use its own copy.

/// A point in time, as the service counts it: seconds since 2001-01-01 00:00:00 UTC. Fractions
/// count.
class Date {
 public:
  constexpr Date() = default;
  constexpr explicit Date(double secondsSince2001) : seconds_(secondsSince2001) {}
  static constexpr Date fromUnixSeconds(double seconds) {
    return Date(seconds - kUnixSecondsAt2001);
  }
  /// From the system's clock, `std::chrono::system_clock::now()` for instance.
  static constexpr Date from(std::chrono::system_clock::time_point time) {
    return fromUnixSeconds(std::chrono::duration<double>(time.time_since_epoch()).count());
  }

  constexpr double secondsSince2001() const { return seconds_; }
  constexpr double unixSeconds() const { return seconds_ + kUnixSecondsAt2001; }

  constexpr auto operator<=>(const Date&) const = default;

 private:
  static constexpr double kUnixSecondsAt2001 = 978307200.0;

  double seconds_ = 0;
};

/// Bytes.
using Data = std::vector<std::uint8_t>;

/// One value of an alert's attributes: text (UTF-8), a whole number, a real, a boolean, a date,
/// data, an array or a dictionary; or absent, which says something in `Client::setAttributes` only.
///
/// A whole number that fits std::int64_t is held as one, std::uint64_t holds only those above; so
/// equal numbers compare equal. A real stays a real, also when it is whole.
class Value {
 public:
  using Array = std::vector<Value>;
  using Dictionary = std::map<std::string, Value, std::less<>>;

  /// An absent value.
  Value() = default;
  Value(std::string text) : value_(std::move(text)) {}
  Value(std::string_view text) : value_(std::string(text)) {}
  Value(const char* text) : value_(std::string(text)) {}
  Value(bool value) : value_(value) {}
  Value(double real) : value_(real) {}
  Value(Date date) : value_(date) {}
  Value(Data data) : value_(std::move(data)) {}
  Value(Array array) : value_(std::move(array)) {}
  Value(Dictionary dictionary) : value_(std::move(dictionary)) {}
  template <typename Integer,
            std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, bool> &&
                                 !std::is_same_v<Integer, char>,
                             int> = 0>
  Value(Integer number) {
    if (std::in_range<std::int64_t>(number)) {
      value_ = static_cast<std::int64_t>(number);
    } else {
      value_ = static_cast<std::uint64_t>(number);
    }
  }

  bool isAbsent() const { return std::holds_alternative<std::monostate>(value_); }

  /// The value as std::string, std::int64_t, std::uint64_t, double, bool, Date, Data, Array or
  /// Dictionary; null when it is of another type. Never converts.
  template <typename T>
  const T* get() const {
    return std::get_if<T>(&value_);
  }
  template <typename T>
  T* get() {
    return std::get_if<T>(&value_);
  }

  /// Calls `visitor` with the value held: std::monostate (absent) or one of the types above.
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) const {
    return std::visit(std::forward<Visitor>(visitor), value_);
  }
  template <typename Visitor>
  decltype(auto) visit(Visitor&& visitor) {
    return std::visit(std::forward<Visitor>(visitor), value_);
  }

  bool operator==(const Value&) const = default;

 private:
  std::variant<std::monostate, std::string, std::int64_t, std::uint64_t, double, bool, Date, Data,
               Array, Dictionary>
      value_;
};

}  // namespace velto::alerts
