// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "alerts/texts/ReaderFormats.h"
#include "platform/foundation/Hexadecimal.h"

namespace velto {
namespace {

std::string dateText(Date date) {
  if (!hasCalendarYear(date)) return {};  // the conversions below would be out of range
  const auto time = static_cast<std::time_t>(std::floor(date.unixSeconds()));
  std::tm parts{};
  std::array<char, 64> buffer;
  const std::size_t length =
      ::gmtime_r(&time, &parts) == nullptr
          ? 0
          : std::strftime(buffer.data(), buffer.size(), "-%m-%d %H:%M:%S UTC", &parts);
  std::array<char, 16> year;
  std::snprintf(year.data(), year.size(), "%04d", parts.tm_year + 1900);
  return length == 0 ? std::string() : year.data() + std::string(buffer.data(), length);
}

struct ReadableText {
  std::string operator()(std::monostate) const { return {}; }
  std::string operator()(const std::string& text) const { return text; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(std::uint64_t number) const { return std::to_string(number); }
  std::string operator()(double number) const {
    std::array<char, 32> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
    return {buffer.data(), result.ptr};
  }
  std::string operator()(bool value) const { return value ? "yes" : "no"; }
  std::string operator()(Date date) const { return dateText(date); }
  std::string operator()(const Data& data) const { return hexadecimal(data); }
  std::string operator()(const PropertyList::Array& elements) const {
    std::string text;
    for (const PropertyList& element : elements) {
      text += text.empty() ? "" : ", ";
      text += readableText(element);
    }
    return text;
  }
  std::string operator()(const PropertyList::Dictionary& members) const {
    std::string text;
    for (const auto& [key, value] : members) {
      text += text.empty() ? "" : ", ";
      text += key + ": " + readableText(value);
    }
    return text;
  }
};

}  // namespace

std::string readableText(const PropertyList& value) {
  return value.visit(ReadableText{});
}

}  // namespace velto
