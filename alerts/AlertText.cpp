// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "platform/foundation/Hexadecimal.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

std::string dateText(Date date) {
  // The years 0000 to 9999, so that the conversions below are in range.
  constexpr double kFirst = -62167219200.0;
  constexpr double kEnd = 253402300800.0;
  const double seconds = std::floor(date.unixSeconds());
  if (!(seconds >= kFirst && seconds < kEnd)) {
    return {};
  }
  const auto time = static_cast<std::time_t>(seconds);
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

std::optional<PropertyList::Dictionary> textsInStringsFile(std::string_view bytes,
                                                           ErrorSlot error) {
  auto strings = PropertyListSerialization::propertyList(Data(bytes), error);
  if (strings && strings->dictionary() == nullptr) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kBundleNotOpenedErrorCode, "no dictionary"));
    return std::nullopt;
  }
  return strings ? std::optional(std::move(*strings->dictionary())) : std::nullopt;
}

std::string expandedText(std::string_view pattern, const PropertyList::Dictionary& attributes) {
  std::string text;
  for (std::size_t percent; (percent = pattern.find('%')) != std::string_view::npos;) {
    text.append(pattern.substr(0, percent));
    pattern.remove_prefix(percent + 1);
    const std::size_t end = pattern.starts_with('{') ? pattern.find('}') : std::string_view::npos;
    if (end != std::string_view::npos) {
      const PropertyList* value = valueForKey(attributes, pattern.substr(1, end - 1));
      text += value == nullptr ? std::string() : readableText(*value);
      pattern.remove_prefix(end + 1);
    } else {
      text += '%';
      pattern.remove_prefix(pattern.starts_with('%') ? 1 : 0);
    }
  }
  return text.append(pattern);
}

}  // namespace velto
