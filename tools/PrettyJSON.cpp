// SPDX-License-Identifier: Apache-2.0
#include "tools/PrettyJSON.h"

#include <cstddef>
#include <string_view>

#include <boost/json/serialize.hpp>
#include <fmt/format.h>

namespace velto {
namespace {

namespace json = boost::json;

void append(std::string& text, const json::value& value, std::size_t level);

void appendLineStart(std::string& text, std::size_t level) {
  text.push_back('\n');
  text.append(2 * level, ' ');
}

/// Without an exponent as long as that is readable; never like an integer.
void appendReal(std::string& text, double real) {
  const std::string digits = fmt::format("{}", real);
  text.append(digits).append(digits.find_first_of(".e") == std::string::npos ? ".0" : "");
}

/// Appends the members or elements of `container`, each by `appendOne`, within `brackets`.
template <typename Container, typename AppendOne>
void appendAll(std::string& text, const Container& container, std::string_view brackets,
               std::size_t level, AppendOne appendOne) {
  text.push_back(brackets.front());
  bool isFirst = true;
  for (const auto& element : container) {
    if (!isFirst) text.push_back(',');
    isFirst = false;
    appendLineStart(text, level + 1);
    appendOne(element);
  }
  if (!isFirst) appendLineStart(text, level);
  text.push_back(brackets.back());
}

void append(std::string& text, const json::value& value, std::size_t level) {
  if (const json::object* object = value.if_object()) {
    appendAll(text, *object, "{}", level, [&](const json::key_value_pair& member) {
      text.append(json::serialize(json::string(member.key()))).append(": ");
      append(text, member.value(), level + 1);
    });
  } else if (const json::array* array = value.if_array()) {
    appendAll(text, *array, "[]", level,
              [&](const json::value& element) { append(text, element, level + 1); });
  } else if (const double* real = value.if_double()) {
    appendReal(text, *real);
  } else {
    text.append(json::serialize(value));
  }
}

}  // namespace

std::string prettyJSON(const json::value& value) {
  std::string text;
  append(text, value, 0);
  return text;
}

}  // namespace velto
