// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/LanguageFiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "alerts/texts/ReaderText.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/RegularFile.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

/// In a line of the log.
constexpr std::size_t kMaximumKey = 200;

bool saysMessages(const Bundle& bundle, Log& log) {
  const PropertyList* format = valueForKey(bundle.infoDictionary(), "VLTextFormat");
  if (format == nullptr) return false;
  const bool isKnown = format->string() != nullptr && *format->string() == "icu";
  if (!isKnown) {
    log.warning(bundle.path() + "/Contents/Info.plist: VLTextFormat is not \"icu\", and not used");
  }
  return isKnown;
}

/// Gathers what is wrong with the patterns of a file.
class PatternProblems {
 public:
  PatternProblems(const std::string& path, Log& log) : path_(path), log_(log) {}

  /// `consequence` is a phrase, as " not used".
  void add(const std::string& key, std::string_view consequence, const PatternProblem& problem) {
    if (++count_ > LanguageFiles::kMostLines) return;
    log_.warning("Alert text \"" + singleLine(key.substr(0, kMaximumKey)) + "\" of " + path_ +
                 std::string(consequence) + ": " + problem.reason + ", at character " +
                 std::to_string(problem.position));
  }
  void logRest() const {
    if (count_ <= LanguageFiles::kMostLines) return;
    log_.warning(std::to_string(count_ - LanguageFiles::kMostLines) + " more alert texts of " +
                 path_ + " are wrong; see alertsctl bundle check");
  }

 private:
  const std::string& path_;
  Log& log_;
  int count_ = 0;
};

std::size_t charactersBefore(std::string_view text, std::size_t end) {
  std::size_t count = 0;
  for (std::size_t offset = 0; offset < end; ++count) {
    if (!nextCharacter(text, offset)) ++offset;
  }
  return count;
}

/// The names in a text, each once.
std::vector<std::string> distinct(std::vector<std::string> names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  names.shrink_to_fit();
  return names;
}

/// Reads a pattern. False, with a line in the log, when it is none.
bool understand(LanguageText& text, const std::string& key, bool isMessage,
                PatternProblems& problems) {
  if (isMessage) {
    PatternProblem problem;
    text.message = MessageTemplate::parse(text.pattern, problem);
    if (!text.message) {
      problems.add(key, " not used", problem);
      return false;
    }
    text.neededNames = distinct(text.message->neededNames());
    return true;
  }
  if (const auto unended = unendedName(text.pattern)) {
    problems.add(key, " stands as it is",
                 {charactersBefore(text.pattern, *unended) + 1, "a %{ without its }"});
  }
  text.neededNames = distinct(attributesNamedIn(text.pattern));
  return true;
}

std::string folderOf(const std::string& bundlePath, const std::string& language) {
  return bundlePath + "/Contents/Resources/" + language + ".lproj";
}

std::optional<PropertyList::Dictionary> stringsAt(const std::string& path, ErrorSlot error) {
  const auto bytes = contentsOfRegularFile(path, LanguageFiles::kMaximumFileSize, error);
  return bytes ? textsInStringsFile(*bytes, error) : std::nullopt;
}

}  // namespace

std::string LanguageFiles::pathOfTexts(const std::string& bundlePath, const std::string& language) {
  return folderOf(bundlePath, language) + "/Alerts.strings";
}

std::string LanguageFiles::pathOfBundleName(const std::string& bundlePath,
                                            const std::string& language) {
  return folderOf(bundlePath, language) + "/InfoPlist.strings";
}

LanguageFiles::LanguageFiles(const Bundle& bundle, Log& log)
    : bundle_(bundle), log_(log), hasMessages_(saysMessages(bundle, log)) {}

std::map<std::string, std::string> LanguageFiles::readNames(const Bundle& bundle,
                                                            const std::string& language) {
  std::map<std::string, std::string> names;
  if (auto texts = stringsAt(pathOfTexts(bundle.path(), language), nullptr)) {
    for (auto& [key, value] : *texts) {
      if (key.ends_with(kNameSuffix) && value.string() != nullptr)
        names.emplace(key, *value.string());
    }
  }
  const auto own = stringsAt(pathOfBundleName(bundle.path(), language), nullptr);
  if (const auto* name = own ? stringForKey(*own, kBundleNameKey) : nullptr) {
    names.insert_or_assign(std::string(kBundleNameKey), *name);
  }
  return names;
}

std::optional<LanguageTexts> LanguageFiles::read(const std::string& language) const {
  const std::string path = pathOfTexts(bundle_.path(), language);
  const auto strings = readStrings(path);
  const auto names = readStrings(pathOfBundleName(bundle_.path(), language));
  if (!strings && !names) return std::nullopt;
  LanguageTexts texts = strings ? understood(*strings, path) : LanguageTexts();
  if (const auto* name = names ? stringForKey(*names, kBundleNameKey) : nullptr) {
    texts.insert_or_assign(std::string(kBundleNameKey), LanguageText{*name});
  }
  return texts;
}

/// Nothing when there is no such file, or, with a log line, when it cannot be read.
std::optional<PropertyList::Dictionary> LanguageFiles::readStrings(const std::string& path) const {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) {
    return std::nullopt;
  }
  std::optional<Error> error;
  auto texts = stringsAt(path, &error);
  if (!texts) {
    log_.warning("Alert texts " + path + " not used: " + error->localizedDescription());
  }
  return texts;
}

LanguageTexts LanguageFiles::understood(const PropertyList::Dictionary& strings,
                                        const std::string& path) const {
  LanguageTexts texts;
  PatternProblems problems(path, log_);
  for (const auto& [key, value] : strings) {
    if (value.string() == nullptr) continue;
    LanguageText text{*value.string()};
    const bool isUsed = !isPatternKey(key) || understand(text, key, hasMessages_, problems);
    if (isUsed) texts.emplace(key, std::move(text));
  }
  problems.logRest();
  return texts;
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

bool isPatternKey(std::string_view key) {
  return key.ends_with(".subject") || key.ends_with(".message");
}

}  // namespace velto
