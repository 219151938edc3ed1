// SPDX-License-Identifier: Apache-2.0
#include "tools/PrettyJSON.h"

#include <cstddef>
#include <string_view>

#include <boost/json/serialize.hpp>
#include <fmt/format.h>

#include "tools/text/Printable.h"

namespace velto {
namespace {

namespace json = boost::json;

/// How a value is laid out: on lines of their own, at a level, or all in one line.
struct Layout {
  bool isPretty = true;
  std::size_t level = 0;

  Layout inside() const { return {isPretty, level + 1}; }
  void startLine(std::string& text) const {
    if (isPretty) text.append(1, '\n').append(2 * level, ' ');
  }
};

void append(std::string& text, const json::value& value, Layout layout);

/// Without an exponent as long as that is readable; never like an integer.
void appendReal(std::string& text, double real) {
  const std::string digits = fmt::format("{}", real);
  text.append(digits).append(digits.find_first_of(".e") == std::string::npos ? ".0" : "");
}

/// Appends the members or elements of `container`, each by `appendOne`, within `brackets`.
template <typename Container, typename AppendOne>
void appendAll(std::string& text, const Container& container, std::string_view brackets,
               Layout layout, AppendOne appendOne) {
  text.push_back(brackets.front());
  bool isFirst = true;
  for (const auto& element : container) {
    if (!isFirst) text.push_back(',');
    isFirst = false;
    layout.inside().startLine(text);
    appendOne(element);
  }
  if (!isFirst) layout.startLine(text);
  text.push_back(brackets.back());
}

void append(std::string& text, const json::value& value, Layout layout) {
  if (const json::object* object = value.if_object()) {
    appendAll(text, *object, "{}", layout, [&](const json::key_value_pair& member) {
      text.append(json::serialize(json::string(member.key()))).append(layout.isPretty ? ": " : ":");
      append(text, member.value(), layout.inside());
    });
  } else if (const json::array* array = value.if_array()) {
    appendAll(text, *array, "[]", layout,
              [&](const json::value& element) { append(text, element, layout.inside()); });
  } else if (const double* real = value.if_double()) {
    appendReal(text, *real);
  } else {
    text.append(json::serialize(value));
  }
}

}  // namespace

std::string prettyJSON(const json::value& value, std::size_t level) {
  std::string text;
  append(text, value, {.isPretty = true, .level = level});
  return printableJSON(text);
}

std::string shortJSON(const json::value& value) {
  std::string text;
  append(text, value, {.isPretty = false});
  return printableJSON(text);
}

}  // namespace velto
