// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/InfoCheck.h"

#include <algorithm>
#include <utility>

#include "alerts/InfoObjections.h"
#include "platform/foundation/Languages.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

using Kind = Finding::Kind;

class InfoCheck {
 public:
  InfoCheck(const Bundle& bundle, const std::vector<std::string>& languages, std::string file)
      : info_(bundle.infoDictionary()), languages_(languages), file_(std::move(file)) {}

  Findings check() {
    checkStrings();
    checkTypes();
    checkRegion();
    for (const auto& [key, value] : info_) {
      const bool isOurs = key.starts_with("VL");
      if (isOurs &&
          std::find(kOwnInfoKeys.begin(), kOwnInfoKeys.end(), key) == kOwnInfoKeys.end()) {
        add(Kind::kWarning, say("{} means nothing to the daemon", key));
      }
    }
    return std::move(findings_);
  }

 private:
  void add(Kind kind, std::string text) { findings_.push_back({kind, file_, 0, std::move(text)}); }

  void checkStrings() {
    const std::string* name = stringForKey(info_, "CFBundleGetInfoString");
    if (name == nullptr || name->empty()) {
      add(Kind::kWarning, tr("CFBundleGetInfoString, the name that people see, is missing"));
    }
    const PropertyList* format = valueForKey(info_, "VLTextFormat");
    if (format != nullptr && (format->string() == nullptr || *format->string() != "icu")) {
      add(Kind::kError, tr("VLTextFormat can be \"icu\" only"));
    }
  }

  void checkRegion() {
    const PropertyList* region = valueForKey(info_, "CFBundleDevelopmentRegion");
    if (region != nullptr && region->string() == nullptr) {
      add(Kind::kError, tr("CFBundleDevelopmentRegion is no string"));
      return;
    }
    const std::string language = region == nullptr ? "en" : *region->string();
    if (!languages_.empty() && matchingLocalizations(languages_, {language}).empty()) {
      add(Kind::kWarning, say("there is no language for CFBundleDevelopmentRegion, {}", language));
    }
  }

  void checkTypes() {
    const PropertyList* types = valueForKey(info_, "VLAlertTypes");
    if (types == nullptr) {
      if (valueForKey(info_, "CFBundleExecutable") == nullptr) {
        add(Kind::kError, tr("VLAlertTypes is missing: the bundle has no alerts"));
      }
    } else if (types->dictionary() == nullptr) {
      add(Kind::kError, tr("VLAlertTypes is no dictionary"));
    } else {
      for (const auto& [type, declaration] : *types->dictionary()) {
        checkType(type, declaration);
      }
    }
  }

  void checkType(const std::string& type, const PropertyList& declaration) {
    if (declaration.dictionary() == nullptr) {
      add(Kind::kError, say("VLAlertTypes.{} is no dictionary", type));
      return;
    }
    for (const auto& [key, value] : *declaration.dictionary()) {
      const std::string path = "VLAlertTypes." + type + "." + key;
      if (key != "RecoveryOptions") {
        add(Kind::kWarning, say("{} means nothing to the daemon", path));
      } else if (value.array() == nullptr ||
                 std::any_of(value.array()->begin(), value.array()->end(),
                             [](const auto& option) { return option.string() == nullptr; })) {
        add(Kind::kError, say("{} is no list of names", path));
      }
    }
  }

  const PropertyList::Dictionary& info_;
  const std::vector<std::string>& languages_;
  const std::string file_;
  Findings findings_;
};

/// The strings of a list under a key.
std::vector<std::string> stringsUnder(const PropertyList& declaration, std::string_view key) {
  std::vector<std::string> strings;
  const auto* members = declaration.dictionary();
  const PropertyList* list = members == nullptr ? nullptr : valueForKey(*members, key);
  if (list == nullptr || list->array() == nullptr) return strings;
  for (const PropertyList& element : *list->array()) {
    if (element.string() != nullptr) strings.push_back(*element.string());
  }
  return strings;
}

}  // namespace

DeclaredTypes declaredTypes(const Bundle& bundle) {
  DeclaredTypes declared;
  const PropertyList* types = valueForKey(bundle.infoDictionary(), "VLAlertTypes");
  if (types == nullptr || types->dictionary() == nullptr) return declared;
  for (const auto& [type, declaration] : *types->dictionary()) {
    declared.types.push_back(type);
    for (std::string& action : stringsUnder(declaration, "RecoveryOptions")) {
      const auto& known = declared.actions;
      if (std::find(known.begin(), known.end(), action) == known.end()) {
        declared.actions.push_back(std::move(action));
      }
    }
  }
  return declared;
}

Findings checkInfo(const Bundle& bundle, const std::vector<std::string>& languages,
                   const std::string& file) {
  return InfoCheck(bundle, languages, file).check();
}

}  // namespace velto
