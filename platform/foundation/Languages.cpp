// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Languages.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <utility>

#include <unicode/localebuilder.h>
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

/// The script that a POSIX locale name's modifier means, or "": most mean a currency or a spelling.
std::string_view scriptOfModifier(std::string_view modifier) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kScripts = {
      {{"cyrillic", "Cyrl"}, {"devanagari", "Deva"}, {"latin", "Latn"}}};
  const auto* found = std::find_if(kScripts.begin(), kScripts.end(),
                                   [modifier](const auto& row) { return row.first == modifier; });
  return found == kScripts.end() ? "" : found->second;
}

/// The locale that a POSIX name such as "sr_RS.UTF-8@latin", or a language tag, means; nothing for
/// C, POSIX and what is neither.
std::optional<icu::Locale> localeFromPosixName(std::string_view name) {
  const std::string_view tag = name.substr(0, name.find_first_of(".@"));
  auto locale = tag == "C" || tag == "POSIX" ? std::nullopt : localeFromIdentifier(tag);
  const std::size_t at = name.find('@');
  const auto script = scriptOfModifier(at == std::string_view::npos ? "" : name.substr(at + 1));
  if (!locale || script.empty()) {
    return locale;
  }
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale changed = icu::LocaleBuilder().setLocale(*locale).setScript(script).build(status);
  return U_SUCCESS(status) ? std::optional(std::move(changed)) : std::nullopt;
}

/// The same as a language tag.
std::optional<std::string> languageFromPosixName(std::string_view name) {
  const auto locale = localeFromPosixName(name);
  UErrorCode status = U_ZERO_ERROR;
  std::string tag = locale ? locale->toLanguageTag<std::string>(status) : "";
  return locale && U_SUCCESS(status) ? std::optional(std::move(tag)) : std::nullopt;
}

/// A locale with the script and region that its speakers most likely mean.
icu::Locale withLikelySubtags(icu::Locale locale) {
  UErrorCode status = U_ZERO_ERROR;
  locale.addLikelySubtags(status);  // leaves it as it is when it fails
  return locale;
}

/// The code of its language, which for Norwegian is one of two.
std::string languageOf(const icu::Locale& locale) {
  const std::string language = withLikelySubtags(locale).getLanguage();
  return language == "nb" ? "no" : language;
}

/// A localization and the locale that its name means.
struct Candidate {
  std::string name;
  icu::Locale locale;
};

/// A name that is not a locale suits nobody.
std::vector<Candidate> candidatesOf(const std::vector<std::string>& localizations) {
  std::vector<Candidate> candidates;
  for (const std::string& localization : localizations) {
    if (const auto locale = localeFromPosixName(localization)) {
      candidates.push_back({localization, *locale});
    }
  }
  return candidates;
}

/// The name of the candidate for just this locale; nothing when there is none.
std::optional<std::string> exactMatch(const std::vector<Candidate>& candidates,
                                      const icu::Locale& wanted) {
  const auto found = std::find_if(candidates.begin(), candidates.end(),
                                  [&](const Candidate& each) { return each.locale == wanted; });
  return found == candidates.end() ? std::nullopt : std::optional(found->name);
}

/// The name of the candidate that ICU finds closest, if one is close enough for it.
std::optional<std::string> closeMatch(const std::vector<Candidate>& candidates,
                                      const icu::Locale& wanted) {
  std::vector<icu::Locale> locales;
  std::transform(candidates.begin(), candidates.end(), std::back_inserter(locales),
                 [](const Candidate& each) { return each.locale; });
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocaleMatcher matcher = icu::LocaleMatcher::Builder()
                                         .setSupportedLocales(locales.begin(), locales.end())
                                         .setNoDefaultLocale()
                                         .build(status);
  const auto result = matcher.getBestMatchResult(wanted, status);
  return U_SUCCESS(status) && result.getSupportedIndex() >= 0
             ? std::optional(candidates[static_cast<std::size_t>(result.getSupportedIndex())].name)
             : std::nullopt;
}

/// The name of the candidate that suits the locale best; nothing when none does.
std::optional<std::string> bestMatch(std::vector<Candidate> candidates, const icu::Locale& wanted) {
  const std::string language = languageOf(wanted);
  std::erase_if(candidates,
                [&](const Candidate& each) { return languageOf(each.locale) != language; });
  // ICU takes a region that is likely anyway for the same as none.
  if (const auto same = exactMatch(candidates, wanted)) {
    return same;
  }
  const auto close = closeMatch(candidates, wanted);
  // The bare language stands for all of its scripts, though ICU finds the likely one too far away.
  return close ? close : exactMatch(candidates, icu::Locale(wanted.getLanguage()));
}

/// The locale of these subtags; nothing when they make none.
std::optional<icu::Locale> localeOf(const char* language, const char* script) {
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale locale = icu::LocaleBuilder().setLanguage(language).setScript(script).build(status);
  return U_SUCCESS(status) ? std::optional(std::move(locale)) : std::nullopt;
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

bool namesLanguage(std::string_view identifier) {
  const auto locale = localeFromPosixName(identifier);
  return locale && *locale->getISO3Language() != '\0';
}

std::string canonicalLocaleIdentifier(std::string_view identifier) {
  const auto locale = localeFromIdentifier(identifier);
  return locale ? std::string(locale->getName()) : std::string(identifier);
}

std::vector<std::string> matchingLocalizations(const std::vector<std::string>& localizations,
                                               const std::vector<std::string>& preferences) {
  const auto candidates = candidatesOf(localizations);
  std::vector<std::string> matches;
  for (const std::string& preference : preferences) {
    const auto wanted = localeFromPosixName(preference);
    if (const auto match = wanted ? bestMatch(candidates, *wanted) : std::nullopt) {
      appendOnce(matches, *match);
    }
  }
  return matches;
}

std::vector<std::string> localizationsForReader(const std::vector<std::string>& localizations,
                                                std::string_view preference) {
  std::vector<std::string> matches;
  const auto wanted = localeFromPosixName(preference);
  if (!wanted || *wanted->getLanguage() == '\0') {
    return matches;
  }
  const auto candidates = candidatesOf(localizations);
  const icu::Locale full = withLikelySubtags(*wanted);
  for (const auto& locale :
       {wanted, localeOf(full.getLanguage(), full.getScript()), localeOf(full.getLanguage(), "")}) {
    if (const auto match = locale ? bestMatch(candidates, *locale) : std::nullopt) {
      appendOnce(matches, *match);
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

std::string localeForText(std::string_view language, std::string_view reader) {
  const auto text = localeFromPosixName(language);
  const auto wanted = localeFromPosixName(reader);
  const bool isReaders = text && wanted && languageOf(*text) == languageOf(*wanted) &&
                         std::string_view(withLikelySubtags(*text).getScript()) ==
                             withLikelySubtags(*wanted).getScript();
  return isReaders ? wanted->getName() : text ? text->getName() : "en";
}

}  // namespace velto
