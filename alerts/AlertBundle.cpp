// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertBundle.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "alerts/AlertText.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/RegularFile.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumLanguages = 1000;
constexpr std::size_t kMaximumStringsSize = std::size_t{1} << 20;

/// The dictionary in a strings file; nothing when there is none, or, with a log line, when it
/// cannot be read as one.
std::optional<PropertyList::Dictionary> readStrings(const std::string& path, Log& log) {
  std::error_code ignored;
  if (!std::filesystem::exists(path, ignored)) {
    return std::nullopt;
  }
  std::optional<Error> error;
  const auto bytes = contentsOfRegularFile(path, kMaximumStringsSize, &error);
  auto texts = bytes ? textsInStringsFile(*bytes, &error) : std::nullopt;
  if (!texts) {
    log.warning("Alert texts " + path + " not used: " + error->localizedDescription());
  }
  return texts;
}

/// An alert whose texts and recovery actions its bundle declares.
class DeclaredAlert : public VLAlertSubclass {
 public:
  DeclaredAlert(std::shared_ptr<const AlertBundle> bundle, const VLAlert& alert)
      : VLAlertSubclass(alert), bundle_(std::move(bundle)) {}

  std::optional<std::string> subject(std::string_view localization) const override {
    auto line = text(".subject", localization);
    // An attribute may bring line breaks, and a subject is one line.
    if (line) {
      std::replace_if(
          line->begin(), line->end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    }
    return line;
  }
  std::optional<std::string> message(std::string_view localization) const override {
    return text(".message", localization);
  }
  std::vector<std::string> recoveryOptions() const override {
    return alert().type ? bundle_->recoveryOptions(*alert().type) : std::vector<std::string>();
  }

 private:
  std::optional<std::string> text(std::string_view kind, std::string_view localization) const {
    if (!alert().type) {
      return std::nullopt;
    }
    const std::string& type = *alert().type;
    const auto pattern = bundle_->text(type + std::string(kind), localization);
    return pattern ? expandedText(*pattern, alert().attributes.value_or(PropertyList::Dictionary()))
                   : type;
  }

  const std::shared_ptr<const AlertBundle> bundle_;
};

}  // namespace

AlertBundle::AlertBundle(std::string key, Bundle bundle, const FileManager& fileManager, Log& log)
    : key_(std::move(key)), bundle_(std::move(bundle)) {
  for (const std::string& language : bundle_.localizations(fileManager)) {
    const std::string folder = bundle_.path() + "/Contents/Resources/" + language + ".lproj";
    if (auto strings = readStrings(folder + "/Alerts.strings", log)) {
      languages_.push_back(language);
      texts_.emplace(language, std::move(*strings));
    }
  }
  const std::string* region = stringForKey(bundle_.infoDictionary(), "CFBundleDevelopmentRegion");
  const auto best = preferredLocalizationsFromArray(languages_, {region ? *region : "en", "en"});
  fallback_ = best.empty() ? "" : best.front();
}

std::unique_ptr<VLAlertSubclass> AlertBundle::makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                                        const VLAlert& alert) {
  return std::make_unique<DeclaredAlert>(std::move(bundle), alert);
}

std::optional<std::string> AlertBundle::text(std::string_view key,
                                             std::string_view localization) const {
  for (const PropertyList::Dictionary* texts : textsFor(localization)) {
    if (const std::string* text = stringForKey(*texts, key)) {
      return *text;
    }
  }
  return std::nullopt;
}

AlertBundle::TextsInOrder AlertBundle::textsFor(std::string_view localization) const {
  {
    const MutexLock lock(foundLock_);
    const auto found = found_.find(localization);
    if (found != found_.end()) {
      return found->second;
    }
  }
  TextsInOrder texts = findTextsFor(localization);
  const MutexLock lock(foundLock_);
  if (found_.size() >= kMaximumLanguages) {
    found_.clear();  // whoever sends so many names must not make it grow
  }
  found_.emplace(localization, texts);
  return texts;
}

AlertBundle::TextsInOrder AlertBundle::findTextsFor(std::string_view localization) const {
  TextsInOrder texts;
  for (const std::string& language : localizationsForReader(languages_, localization)) {
    texts.push_back(&texts_.at(language));
  }
  if (const auto last = texts_.find(fallback_); last != texts_.end()) {
    texts.push_back(&last->second);
  }
  return texts;
}

std::vector<std::string> AlertBundle::recoveryOptions(std::string_view type) const {
  std::vector<std::string> names;
  const PropertyList::Dictionary* declaration = alertType(type);
  const PropertyList* options =
      declaration == nullptr ? nullptr : valueForKey(*declaration, "RecoveryOptions");
  if (options == nullptr || options->array() == nullptr) {
    return names;
  }
  for (const PropertyList& option : *options->array()) {
    if (option.string() != nullptr) {
      names.push_back(*option.string());
    }
  }
  return names;
}

const PropertyList::Dictionary* AlertBundle::alertType(std::string_view type) const {
  const PropertyList* types = valueForKey(bundle_.infoDictionary(), "VLAlertTypes");
  if (types == nullptr || types->dictionary() == nullptr) {
    return nullptr;
  }
  const PropertyList* declaration = valueForKey(*types->dictionary(), type);
  return declaration == nullptr ? nullptr : declaration->dictionary();
}

}  // namespace velto
