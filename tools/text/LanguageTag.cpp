// SPDX-License-Identifier: Apache-2.0
#include "tools/text/LanguageTag.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <vector>

#include <unicode/locid.h>
#include <unicode/uloc.h>
#include <unicode/unistr.h>

#include "tools/text/Nearest.h"

namespace velto {
namespace {

bool isAmong(const char* const* list, const char* name) {
  for (; *list != nullptr; ++list) {
    if (std::strcmp(*list, name) == 0) return true;
  }
  return false;
}

bool isWellFormed(const std::string& text) {
  return !text.empty() && text.size() < 64 &&
         std::all_of(text.begin(), text.end(), [](unsigned char character) {
           return std::isalnum(character) != 0 || character == '-' || character == '_';
         });
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

}  // namespace

std::optional<std::string> languageTag(const std::string& text) {
  if (!isWellFormed(text)) return std::nullopt;
  const auto locale = icu::Locale::createCanonical(text.c_str());
  const std::string region = locale.getCountry();
  const bool isKnown =
      isAmong(uloc_getISOLanguages(), locale.getLanguage()) &&
      (region.empty() || isAmong(uloc_getISOCountries(), region.c_str()) || region.size() == 3);
  UErrorCode status = U_ZERO_ERROR;
  auto tag = locale.toLanguageTag<std::string>(status);
  if (!isKnown || U_FAILURE(status)) return std::nullopt;
  return tag;
}

std::string languageName(const std::string& tag, const std::string& reader) {
  if (!isWellFormed(tag)) return tag;
  icu::UnicodeString name;
  icu::Locale::createCanonical(tag.c_str())
      .getDisplayName(icu::Locale::createCanonical(reader.c_str()), name);
  return utf8(name);
}

std::optional<std::string> nearestLanguageTag(const std::string& text) {
  std::vector<std::string> names;
  std::vector<std::string> tags;
  for (const char* const* language = uloc_getISOLanguages(); *language != nullptr; ++language) {
    // The rare ones have three letters, and nobody means them by chance.
    if (std::strlen(*language) != 2) continue;
    const icu::Locale locale(*language);
    icu::UnicodeString english;
    icu::UnicodeString own;
    locale.getDisplayLanguage(icu::Locale::getEnglish(), english);
    locale.getDisplayLanguage(locale, own);
    for (const std::string& name : {utf8(english), utf8(own)}) {
      names.push_back(name);
      tags.emplace_back(*language);
    }
  }
  const auto nearest = nearestNames(text, names);
  if (!nearest.empty()) {
    const auto found = std::find(names.begin(), names.end(), nearest.front());
    return tags[static_cast<std::size_t>(found - names.begin())];
  }
  // A region that there is not leaves the language.
  return languageTag(text.substr(0, text.find_first_of("-_ ")));
}

}  // namespace velto
