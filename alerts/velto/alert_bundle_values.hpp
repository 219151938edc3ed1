// SPDX-License-Identifier: Apache-2.0
// What the daemon hands to a bundle's code, for C++17 and later. Included by
// velto/alert_bundle.hpp.
#ifndef VELTO_ALERT_BUNDLE_VALUES_HPP
#define VELTO_ALERT_BUNDLE_VALUES_HPP

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include <velto/alert_bundle.h>

#pragma GCC visibility push(hidden)
namespace velto::bundle {

// Set by registerClasses, before any class is used, and constant from then on.
inline const velto_host* host = nullptr;
inline const velto_bundle* self = nullptr;

/// A line in the daemon's log, at warning priority.
inline void log(const std::string& line) {
  host->bundle_log(self, line.c_str());
}

/// An attribute of an alert, or a value within one, of any kind or absent. Valid as long as what
/// the daemon has handed in.
class Value {
 public:
  explicit Value(const velto_value* value) : value_(value) {}

  velto_kind kind() const { return host->value_kind(value_); }
  /// Nothing when it is of another kind or does not fit. A boolean is no number.
  std::optional<std::int64_t> integer() const { return read(host->value_integer); }
  std::optional<std::uint64_t> unsignedInteger() const { return read(host->value_unsigned); }
  std::optional<double> number() const { return read(host->value_real); }
  std::optional<bool> boolean() const {
    const auto condition = read(host->value_boolean);
    return condition ? std::optional(*condition != 0) : std::nullopt;
  }
  /// Seconds since 2001-01-01 00:00:00 UTC.
  std::optional<double> date() const { return read(host->value_date); }
  std::optional<std::string_view> string() const { return bytes(VELTO_STRING); }
  std::optional<std::string_view> data() const { return bytes(VELTO_DATA); }

  /// Of a list or a dictionary.
  std::size_t size() const { return host->value_count(value_); }
  Value at(std::size_t index) const { return Value(host->value_at(value_, index)); }
  Value forKey(const char* key) const { return Value(host->value_for_key(value_, key)); }
  /// Calls `visit(key, value)` for each value of a list, with an empty key, or of a dictionary.
  template <typename Visit>
  void each(Visit visit) const {
    Visitor<Visit> visitor{visit, nullptr};
    host->value_each(value_, Visitor<Visit>::call, &visitor);
    visitor.rethrow();
  }

  const velto_value* handle() const { return value_; }

 private:
  friend class Alert;

  /// Takes an exception past the daemon, which knows none.
  template <typename Visit>
  struct Visitor {
    static int call(void* context, const char* key, const velto_value* value) noexcept {
      auto& visitor = *static_cast<Visitor*>(context);
      try {
        visitor.visit(std::string_view(key == nullptr ? "" : key), Value(value));
        return 0;
      } catch (...) {
        visitor.exception = std::current_exception();
        return 1;
      }
    }
    void rethrow() const {
      if (exception) std::rethrow_exception(exception);
    }

    Visit& visit;
    std::exception_ptr exception;
  };

  template <typename Number>
  using Reader = int (*)(const velto_value*, Number*);
  template <typename Number>
  std::optional<Number> read(Reader<Number> reader) const {
    Number number{};
    return reader(value_, &number) == 0 ? std::optional(number) : std::nullopt;
  }
  std::optional<std::string_view> bytes(velto_kind wanted) const {
    std::size_t length = 0;
    if (kind() != wanted) return std::nullopt;
    const char* first = host->value_bytes(value_, &length);
    return std::string_view(first, length);
  }

  const velto_value* value_;
};

/// A text that the daemon has asked for, in a language.
class Text {
 public:
  Text(velto_text* text, const char* language) : text_(text), language_(language) {}

  /// One of the bundle's languages.
  const char* language() const { return language_; }

  Text& append(std::string_view utf8) {
    host->text_append(text_, utf8.data(), utf8.size());
    return *this;
  }
  // As readers of the language write: a value of any kind, a number with at most so many digits
  // behind the point, and a date (seconds since 2001-01-01 00:00:00 UTC).
  Text& append(const Value& value) {
    host->text_append_value(text_, value.handle(), language_);
    return *this;
  }
  Text& appendNumber(double number, int decimals = 0) {
    host->text_append_number_for(text_, number, decimals, language_);
    return *this;
  }
  Text& appendDate(double seconds) {
    host->text_append_date(text_, seconds, language_);
    return *this;
  }

 private:
  friend class Alert;

  velto_text* text_;
  const char* language_;
};

/// An alert that the daemon has handed in, valid until the function returns.
class Alert {
 public:
  explicit Alert(const velto_alert* alert) : alert_(alert) {}

  std::optional<std::string> identifier() const { return optional(host->alert_identifier(alert_)); }
  std::optional<std::string> type() const { return optional(host->alert_type(alert_)); }
  std::optional<std::string> bundle() const { return optional(host->alert_bundle(alert_)); }
  /// Seconds since 2001-01-01 00:00:00 UTC.
  std::optional<double> date(velto_alert_date which) const {
    double seconds = 0;
    return host->alert_date(alert_, which, &seconds) == 0 ? std::optional(seconds) : std::nullopt;
  }

  Value attribute(const char* name) const { return Value(host->alert_attribute(alert_, name)); }
  /// Calls `visit(name, value)` for each attribute.
  template <typename Visit>
  void eachAttribute(Visit visit) const {
    Value::Visitor<Visit> visitor{visit, nullptr};
    host->alert_attributes_each(alert_, Value::Visitor<Visit>::call, &visitor);
    visitor.rethrow();
  }

  // Append what the bundle's texts say of the alert. False when they say nothing.
  bool appendSubject(Text& text) const { return append(host->alert_subject, text); }
  bool appendMessage(Text& text) const { return append(host->alert_message, text); }

  /// The alert as a recovery action's program reads it.
  std::string json() const {
    velto_text* const text = host->text_create();
    std::size_t length = 0;
    host->alert_json(alert_, text);
    const char* bytes = host->text_bytes(text, &length);
    std::string json(bytes == nullptr ? "" : bytes, length);
    host->text_destroy(text);
    return json;
  }

 private:
  using TextFunction = int (*)(const velto_alert*, const char*, velto_text*);

  static std::optional<std::string> optional(const char* text) {
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
  }
  bool append(TextFunction function, Text& text) const {
    return function(alert_, text.language_, text.text_) == 0;
  }

  const velto_alert* alert_;
};

}  // namespace velto::bundle
#pragma GCC visibility pop

#endif
