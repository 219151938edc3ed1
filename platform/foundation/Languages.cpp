// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Languages.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <utility>

#include <unicode/localematcher.h>
#include <unicode/locid.h>
#include <unicode/uloc.h>

namespace velto {
namespace {

/// The locale that a whole text names, in its canonical form; nothing for text that names none.
std::optional<icu::Locale> localeFromIdentifier(std::string_view identifier) {
  std::string tag(identifier);
  std::replace(tag.begin(), tag.end(), '_', '-');
  std::array<char, ULOC_FULLNAME_CAPACITY> name;
  std::int32_t parsedLength = 0;
  UErrorCode status = U_ZERO_ERROR;
  uloc_forLanguageTag(tag.c_str(), name.data(), static_cast<std::int32_t>(name.size()),
                      &parsedLength, &status);
  if (status != U_ZERO_ERROR || tag.empty() ||
      static_cast<std::size_t>(parsedLength) != tag.size()) {
    return std::nullopt;
  }
  icu::Locale locale(name.data());
  locale.canonicalize(status);
  return U_SUCCESS(status) && !locale.isBogus() ? std::optional(locale) : std::nullopt;
}

/// A POSIX locale name as a language tag; nothing for C, POSIX and what is not one.
std::optional<std::string> languageFromPosixName(std::string_view name) {
  name = name.substr(0, name.find_first_of(".@"));
  const auto locale = localeFromIdentifier(name);
  if (name == "C" || name == "POSIX" || !locale) {
    return std::nullopt;
  }
  UErrorCode status = U_ZERO_ERROR;
  std::string tag = locale->toLanguageTag<std::string>(status);
  return U_SUCCESS(status) ? std::optional(std::move(tag)) : std::nullopt;
}

void appendOnce(std::vector<std::string>& list, const std::string& element) {
  if (std::find(list.begin(), list.end(), element) == list.end()) {
    list.push_back(element);
  }
}

/// Appends the languages of a list whose elements stand between colons.
void appendLanguages(std::string_view names, std::vector<std::string>& languages) {
  for (;;) {
    const std::size_t end = names.find(':');
    if (const auto language = languageFromPosixName(names.substr(0, end))) {
      appendOnce(languages, *language);
    }
    if (end == std::string_view::npos) {
      return;
    }
    names.remove_prefix(end + 1);
  }
}

}  // namespace

std::vector<std::string> preferredLanguages() {
  std::vector<std::string> languages;
  for (const char* variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    if (const char* value = std::getenv(variable)) {
      appendLanguages(value, languages);
    }
  }
  return languages.empty() ? std::vector<std::string>{"en"} : languages;
}

std::string canonicalLocaleIdentifier(std::string_view identifier) {
  const auto locale = localeFromIdentifier(identifier);
  return locale ? std::string(locale->getName()) : std::string(identifier);
}

std::vector<std::string> matchingLocalizations(const std::vector<std::string>& localizations,
                                               const std::vector<std::string>& preferences) {
  // The matcher knows a locale by its place in the list, and a name that is not a locale has none.
  std::vector<icu::Locale> locales;
  std::vector<std::string> names;
  for (const std::string& localization : localizations) {
    if (const auto locale = localeFromIdentifier(localization)) {
      locales.push_back(*locale);
      names.push_back(localization);
    }
  }
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocaleMatcher matcher = icu::LocaleMatcher::Builder()
                                         .setSupportedLocales(locales.begin(), locales.end())
                                         .setNoDefaultLocale()
                                         .build(status);
  std::vector<std::string> matches;
  for (const std::string& preference : preferences) {
    const auto locale = localeFromIdentifier(preference);
    if (!locale) continue;
    const auto result = matcher.getBestMatchResult(*locale, status);
    if (U_SUCCESS(status) && result.getSupportedIndex() >= 0) {
      appendOnce(matches, names[static_cast<std::size_t>(result.getSupportedIndex())]);
    }
  }
  return matches;
}

std::vector<std::string> preferredLocalizationsFromArray(
    const std::vector<std::string>& localizations, const std::vector<std::string>& preferences) {
  auto matches = matchingLocalizations(localizations, preferences);
  if (matches.empty() && !localizations.empty()) {
    matches.push_back(localizations.front());
  }
  return matches;
}

}  // namespace velto
