// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeTexts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

#include "alerts/native/NativeHost.h"
#include "alerts/texts/ReaderText.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/UTF8.h"

namespace velto::native {
namespace {

/// More of them than a double has digits.
constexpr int kMaximumDecimals = 17;
/// Bytes of a line in the log.
constexpr std::size_t kMaximumLine = 2000;

/// How the reader writes whom a localization means in a text.
std::shared_ptr<const ReaderFormats> formatsFor(const velto_text& text, const char* localization) {
  const std::string reader = text.reader.meantBy(localization);
  return ReaderFormats::forLocale(localeForText(localization, reader));
}

}  // namespace

void textAppend(velto_text* text, const char* utf8, std::size_t length) {
  if (text != nullptr && utf8 != nullptr) {
    text->utf8.append(utf8, length);
  }
}

/// In the C locale whatever the process's is, so that what is written can be read again.
void textAppendNumber(velto_text* text, double number, int decimals) {
  // The sign, the digits of the largest number, the point and the digits behind it.
  std::array<char, 1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + kMaximumDecimals>
      digits;
  const auto [end, problem] =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed,
                    std::clamp(decimals, 0, kMaximumDecimals));
  if (text != nullptr && problem == std::errc()) {
    text->utf8.append(digits.data(), end);
  }
}

velto_text* textCreate() noexcept {
  return new (std::nothrow) velto_text;
}

void textDestroy(velto_text* text) noexcept {
  delete text;
}

const char* textBytes(const velto_text* text, std::size_t* length) noexcept {
  if (text == nullptr || length == nullptr) return nullptr;
  *length = text->utf8.size();
  return text->utf8.c_str();
}

void textAppendValue(velto_text* text, const velto_value* value, const char* localization) {
  if (text == nullptr || value == nullptr || localization == nullptr) return;
  const auto formats = formatsFor(*text, localization);
  ReaderText written(*formats);
  written.appendValue(*reinterpret_cast<const PropertyList*>(value));
  text->utf8 += written.take();
}

void textAppendNumberFor(velto_text* text, double number, int decimals, const char* localization) {
  if (text == nullptr || localization == nullptr) return;
  const auto precision =
      icu::number::Precision::maxFraction(std::clamp(decimals, 0, kMaximumDecimals));
  const auto formats = formatsFor(*text, localization);
  text->utf8 += ReaderFormats::number(
      icu::number::NumberFormatter::withLocale(formats->locale()).precision(precision), number);
}

void textAppendDate(velto_text* text, double seconds, const char* localization) {
  if (text == nullptr || localization == nullptr) return;
  text->utf8 += formatsFor(*text, localization)->date(Date(seconds));
}

void errorSet(velto_error* error, std::int64_t code, const char* description) {
  if (error != nullptr) {
    const std::string_view text = description == nullptr ? "" : description;
    *error = {true, code, std::string(invalidUTF8Offset(text) ? "" : text)};
  }
}

void namesAppend(velto_names* names, const char* name) {
  if (names != nullptr && name != nullptr && *name != '\0' && !invalidUTF8Offset(name)) {
    names->names.emplace_back(name);
  }
}

void bundleLog(const velto_bundle* bundle, const char* line) {
  if (bundle == nullptr || line == nullptr) return;
  const std::string_view text(line, ::strnlen(line, kMaximumLine));
  bundle->log.warning("Alert bundle '" + bundle->name + "': " + singleLine(text));
}

}  // namespace velto::native
