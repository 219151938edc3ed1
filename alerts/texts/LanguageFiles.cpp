// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/LanguageFiles.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/RegularFile.h"
#include "platform/foundation/SingleLine.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace velto {
namespace {

constexpr std::string_view kBundleNameKey = "CFBundleGetInfoString";
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

  void add(const std::string& key, const PatternProblem& problem) {
    if (++count_ > LanguageFiles::kMostLines) return;
    log_.warning("Alert text \"" + singleLine(key.substr(0, kMaximumKey)) + "\" of " + path_ +
                 " not used: " + problem.reason + ", at character " +
                 std::to_string(problem.position));
  }
  void logRest() const {
    if (count_ <= LanguageFiles::kMostLines) return;
    log_.warning(std::to_string(count_ - LanguageFiles::kMostLines) + " more alert texts of " +
                 path_ + " not used");
  }

 private:
  const std::string& path_;
  Log& log_;
  int count_ = 0;
};

}  // namespace

LanguageFiles::LanguageFiles(const Bundle& bundle, Log& log)
    : bundle_(bundle), log_(log), hasMessages_(saysMessages(bundle, log)) {}

std::optional<LanguageTexts> LanguageFiles::read(const std::string& language) const {
  const std::string folder = bundle_.path() + "/Contents/Resources/" + language + ".lproj";
  const std::string path = folder + "/Alerts.strings";
  const auto strings = readStrings(path);
  const auto names = readStrings(folder + "/InfoPlist.strings");
  if (!strings && !names) return std::nullopt;
  LanguageTexts texts = strings ? understood(*strings, path) : LanguageTexts();
  if (const auto* name = names ? stringForKey(*names, kBundleNameKey) : nullptr) {
    texts.insert_or_assign(std::string(kBundleNameKey), LanguageText{*name, std::nullopt});
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
  const auto bytes = contentsOfRegularFile(path, kMaximumFileSize, &error);
  auto texts = bytes ? textsInStringsFile(*bytes, &error) : std::nullopt;
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
    LanguageText text{*value.string(), std::nullopt};
    if (hasMessages_ && isPatternKey(key)) {
      PatternProblem problem;
      text.message = MessageTemplate::parse(text.pattern, problem);
      if (!text.message) {
        problems.add(key, problem);
        continue;
      }
    }
    texts.emplace(key, std::move(text));
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
