// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velto {

/// The user's preferred languages, best first: those of the environment variables LANGUAGE (a
/// list), LC_ALL, LC_MESSAGES and LANG, in gettext's order, as language tags ("de_AT.UTF-8@euro" is
/// "de-AT"). With none of them, or only C and POSIX, the list is "en". Never empty.
/// Any thread, as long as nobody changes the environment.
std::vector<std::string> preferredLanguages();

/// The canonical form of a locale identifier, as ICU makes it ("pt-br" is "pt_BR"). Text that is no
/// locale identifier comes back as it is.
std::string canonicalLocaleIdentifier(std::string_view identifier);

/// The elements of `localizations` that suit the preferences, best first: for each preference, in
/// their order, the best match that ICU's locale matcher finds, an exact one before one of language
/// only, and so on. The elements keep their spelling. Empty when nothing suits.
std::vector<std::string> matchingLocalizations(const std::vector<std::string>& localizations,
                                               const std::vector<std::string>& preferences);

/// Likewise, but with no match at all the first of `localizations`. Empty only when `localizations`
/// is.
std::vector<std::string> preferredLocalizationsFromArray(
    const std::vector<std::string>& localizations, const std::vector<std::string>& preferences);

}  // namespace velto
