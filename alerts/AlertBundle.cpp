// SPDX-License-Identifier: Apache-2.0
#include "alerts/AlertBundle.h"

#include <algorithm>
#include <utility>

namespace velto {
namespace {

/// The text under `<name><suffix>`, or the name itself.
std::string textOrName(const BundleTexts& texts, std::string_view name, std::string_view suffix,
                       std::string_view localization) {
  return texts.text(std::string(name).append(suffix), localization).value_or(std::string(name));
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
  std::optional<std::string> bundleName(std::string_view localization) const override {
    return bundle_->name(localization);
  }
  std::optional<std::string> typeName(std::string_view localization) const override {
    return alert().type ? std::optional(bundle_->nameOfType(*alert().type, localization))
                        : std::nullopt;
  }
  std::vector<std::string> recoveryOptions() const override {
    return alert().type ? bundle_->recoveryOptions(*alert().type) : std::vector<std::string>();
  }

 private:
  std::optional<std::string> text(std::string_view kind, std::string_view localization) const {
    if (!alert().type) {
      return std::nullopt;
    }
    static const PropertyList::Dictionary kNone;
    const std::string& type = *alert().type;
    const auto& attributes = alert().attributes;
    const std::string key = type + std::string(kind);
    auto text = bundle_->texts().textAbout(attributes ? *attributes : kNone, key, localization);
    if (text) return text;
    std::string name = bundle_->nameOfType(type, localization);
    // A name for people will do; that of a kind which code makes up is the code's affair.
    if (name == type && bundle_->declares(type)) bundle_->texts().noteMissing(key, name);
    return name;
  }

  const std::shared_ptr<const AlertBundle> bundle_;
};

}  // namespace

AlertBundle::AlertBundle(std::string key, Bundle bundle, const FileManager& fileManager, Log& log)
    : key_(std::move(key)), bundle_(std::move(bundle)), texts_(bundle_, fileManager, log) {}

std::unique_ptr<VLAlertSubclass> AlertBundle::makeAlert(std::shared_ptr<const AlertBundle> bundle,
                                                        const VLAlert& alert) {
  return std::make_unique<DeclaredAlert>(std::move(bundle), alert);
}

std::string AlertBundle::name(std::string_view localization) const {
  constexpr std::string_view kKey = LanguageFiles::kBundleNameKey;
  if (auto name = texts_.text(kKey, localization); name && !name->empty()) return *std::move(name);
  const std::string* name = stringForKey(bundle_.infoDictionary(), kKey);
  return name == nullptr || name->empty() ? key_ : *name;
}

std::string AlertBundle::nameOfType(std::string_view type, std::string_view localization) const {
  return textOrName(texts_, type, LanguageFiles::kNameSuffix, localization);
}

std::string AlertBundle::titleOfAction(std::string_view action,
                                       std::string_view localization) const {
  return textOrName(texts_, action, ".title", localization);
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
