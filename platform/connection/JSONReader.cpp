// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/JSONReader.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/value_stack.hpp>

namespace velto {
namespace {

namespace json = boost::json;
using json::error_code;

/// The double nearest to the number in `text`, or nothing when it is beyond a double's range.
/// `estimate` is the parser's own result, which may be off in the last place.
std::optional<double> nearestDouble(std::string_view text, double estimate) {
  double exact = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), exact);
  if (result.ec == std::errc()) {
    return exact;
  }
  // Out of range at the other end: a number too small to tell from zero.
  return std::abs(estimate) < 1 ? std::optional(estimate) : std::nullopt;
}

/// Builds the value while the parser goes through the text. The names are the parser's.
class Handler {
 public:
  static constexpr std::size_t max_array_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_string_size = std::numeric_limits<std::size_t>::max();
  static constexpr std::size_t max_key_size = std::numeric_limits<std::size_t>::max();

  explicit Handler(json::storage_ptr storage) { stack_.reset(std::move(storage)); }

  json::value release() { return stack_.release(); }

  bool on_document_begin(error_code&) { return true; }
  bool on_document_end(error_code&) { return true; }
  bool on_array_begin(error_code&) { return true; }
  bool on_array_end(std::size_t count, error_code&) {
    stack_.push_array(count);
    return true;
  }
  bool on_object_begin(error_code&) { return true; }
  bool on_object_end(std::size_t count, error_code&) {
    stack_.push_object(count);
    return true;
  }
  bool on_string_part(std::string_view text, std::size_t, error_code&) {
    stack_.push_chars(text);
    return true;
  }
  bool on_string(std::string_view text, std::size_t, error_code&) {
    stack_.push_string(text);
    return true;
  }
  bool on_key_part(std::string_view text, std::size_t, error_code&) {
    stack_.push_chars(text);
    return true;
  }
  bool on_key(std::string_view text, std::size_t, error_code&) {
    stack_.push_key(text);
    return true;
  }
  bool on_number_part(std::string_view, error_code&) { return true; }
  bool on_int64(std::int64_t number, std::string_view, error_code&) {
    stack_.push_int64(number);
    return true;
  }
  bool on_uint64(std::uint64_t number, std::string_view, error_code&) {
    stack_.push_uint64(number);
    return true;
  }
  bool on_double(double estimate, std::string_view text, error_code& error) {
    const std::optional<double> number = nearestDouble(text, estimate);
    if (!number) {
      error = json::error::exponent_overflow;
      return false;
    }
    stack_.push_double(*number);
    return true;
  }
  bool on_bool(bool value, error_code&) {
    stack_.push_bool(value);
    return true;
  }
  bool on_null(error_code&) {
    stack_.push_null();
    return true;
  }
  bool on_comment_part(std::string_view, error_code&) { return true; }
  bool on_comment(std::string_view, error_code&) { return true; }

 private:
  json::value_stack stack_;
};

}  // namespace

std::optional<json::value> readJSON(std::string_view text, json::storage_ptr storage,
                                    std::size_t maximumDepth) {
  json::parse_options options;
  options.max_depth = maximumDepth;
  json::basic_parser<Handler> parser(options, std::move(storage));
  error_code error;
  const std::size_t used = parser.write_some(false, text.data(), text.size(), error);
  if (error || used != text.size()) {
    return std::nullopt;
  }
  return parser.handler().release();
}

}  // namespace velto
