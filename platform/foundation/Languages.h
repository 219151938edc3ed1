// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// The user's preferred languages, best first: those of the environment variables LANGUAGE (a
/// list), LC_ALL, LC_MESSAGES and LANG, in gettext's order, as language tags ("de_AT.UTF-8@euro" is
/// "de-AT", "sr_RS@latin" is "sr-Latn-RS"). With none of them, or only C and POSIX, the list is
/// "en". Never empty. Any thread, as long as nobody changes the environment.
std::vector<std::string> preferredLanguages();

/// Whether the text, a language tag or a POSIX locale name, names a language that there is.
bool namesLanguage(std::string_view identifier);

/// The canonical form of a locale identifier, as ICU makes it ("pt-br" is "pt_BR"). Text that is no
/// locale identifier comes back as it is.
std::string canonicalLocaleIdentifier(std::string_view identifier);

/// The elements of `localizations` that suit the preferences, best first: for each preference, in
/// their order, its best match. That is the element that means the same, or else the one that ICU's
/// locale matcher finds among those of the same language, or else that language's bare name: a
/// related language, which ICU would take for a match, is none. A preference may be a POSIX locale
/// name. The elements keep their spelling. Empty when nothing suits.
std::vector<std::string> matchingLocalizations(const std::vector<std::string>& localizations,
                                               const std::vector<std::string>& preferences);

/// The elements of `localizations` in which to look for a text for a reader of the language that
/// `preference` names, best first: its best match, then that of the language without its region
/// ("fr" for "fr-CA", "zh-Hant" for "zh-TW"), then that of the bare language. Empty when nothing
/// suits.
std::vector<std::string> localizationsForReader(const std::vector<std::string>& localizations,
                                                std::string_view preference);

/// Likewise, but with no match at all the first of `localizations`. Empty only when `localizations`
/// is.
std::vector<std::string> preferredLocalizationsFromArray(
    const std::vector<std::string>& localizations, const std::vector<std::string>& preferences);

/// ICU's name of the locale in which numbers and dates stand in a text in the localization
/// `language` for a reader of `reader`: the reader's, with its region, where that is the same
/// language in the same script, else the text's.
std::string localeForText(std::string_view language, std::string_view reader);

}  // namespace velto
