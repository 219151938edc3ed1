// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace velto {

// The languages that recipients are written to in. Any thread.

/// The tag as everybody writes it ("de-AT" for "de_at"), or nothing for a text whose language or
/// region ISO does not know.
std::optional<std::string> languageTag(const std::string& text);

/// What the reader calls the language of a tag: "German (Austria)", in the reader's own language;
/// the text itself when it is none.
std::string languageName(const std::string& tag, const std::string& reader);

/// The tag that somebody may have meant who wrote "english" or "xx-US"; nothing when none is near.
std::optional<std::string> nearestLanguageTag(const std::string& text);

}  // namespace velto
