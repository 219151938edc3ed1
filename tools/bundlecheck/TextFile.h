// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "tools/bundlecheck/Finding.h"

namespace velto {

/// A text of a bundle as far as it is checked.
struct CheckedText {
  std::size_t line = 0;              ///< where its key stands; 0 where that is not known
  std::set<std::string> attributes;  ///< that it names
};

/// The Alerts.strings of one language.
struct TextFile {
  std::string language;
  std::string file;  ///< as it is shown
  std::map<std::string, CheckedText, std::less<>> texts;
};

/// Reads the file at `path`, which is shown as `file`; nothing when it cannot be read as strings.
/// Adds what is wrong to `findings`.
std::optional<TextFile> readTextFile(const std::string& language, const std::string& path,
                                     const std::string& file, bool hasMessages, Findings& findings);

/// The line in which the key of a text stands, in quotation marks or without; 0 when it is not
/// found, as in a binary file.
std::size_t lineOfKey(std::string_view bytes, std::string_view key);

}  // namespace velto
