// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/Bundle.h"
#include "alerts/texts/MessageTemplate.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

class Log;

/// One text of a bundle in one language.
struct LanguageText {
  std::string pattern;
  std::optional<MessageTemplate> message = {};  ///< where the patterns are ICU's
  /// The attributes without which there is a hole in it, each once.
  std::vector<std::string> neededNames = {};
};
using LanguageTexts = std::map<std::string, LanguageText, std::less<>>;

/// Reads the texts of a bundle from the files of its languages. Any thread.
class LanguageFiles {
 public:
  static constexpr std::string_view kBundleNameKey = "CFBundleGetInfoString";
  /// Behind a kind, the key of its name.
  static constexpr std::string_view kNameSuffix = ".name";
  static constexpr std::size_t kMaximumFileSize = std::size_t{1} << 20;  ///< bytes
  /// So many faulty patterns of a file are told one by one, in a line each, and then how many more.
  static constexpr int kMostLines = 10;

  /// Where the texts of a language are, in the bundle at `bundlePath`.
  static std::string pathOfTexts(const std::string& bundlePath, const std::string& language);
  /// Where the bundle's own name is in it.
  static std::string pathOfBundleName(const std::string& bundlePath, const std::string& language);

  /// The names of kinds ("<type>.name") and of the bundle (kBundleNameKey) in a language, by their
  /// keys; what cannot be read has none.
  static std::map<std::string, std::string> readNames(const Bundle& bundle,
                                                      const std::string& language);

  /// What is referred to outlives it.
  LanguageFiles(const Bundle& bundle, Log& log);

  /// The texts of a language by key: those of its Alerts.strings, and the value of
  /// CFBundleGetInfoString in its InfoPlist.strings under that key. Nothing when it has neither
  /// file. What cannot be read, and every pattern that cannot be understood, is logged and left
  /// out; one with a name that does not end is logged, and stays.
  std::optional<LanguageTexts> read(const std::string& language) const;

 private:
  std::optional<PropertyList::Dictionary> readStrings(const std::string& path) const;
  LanguageTexts understood(const PropertyList::Dictionary& strings, const std::string& path) const;

  const Bundle& bundle_;
  Log& log_;
  const bool hasMessages_;  ///< VLTextFormat = icu
};

/// What a strings file holds: texts, and other values, by key. Nothing, with an error, when it is
/// not a property list, or its value is not a dictionary. Any thread.
std::optional<PropertyList::Dictionary> textsInStringsFile(std::string_view bytes, ErrorSlot error);

/// Whether attributes are put into the text under this key: it is a subject or a message.
bool isPatternKey(std::string_view key);

}  // namespace velto
