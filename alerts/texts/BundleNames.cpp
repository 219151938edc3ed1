// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/BundleNames.h"

#include <utility>

#include "alerts/texts/BundleTexts.h"
#include "alerts/texts/LanguageFiles.h"
#include "platform/foundation/FileManager.h"

namespace velto {

BundleNames::BundleNames(const Bundle& bundle, std::string key, std::string_view reader) {
  const auto languages = bundle.localizations(FileManager::system());
  for (const std::string& language : BundleTexts::languagesFor(bundle, languages, reader)) {
    for (auto& [textKey, text] : LanguageFiles::readNames(bundle, language)) {
      // The language that suits best comes first.
      if (textKey != LanguageFiles::kBundleNameKey) {
        types_.emplace(textKey.substr(0, textKey.size() - LanguageFiles::kNameSuffix.size()),
                       std::move(text));
      } else if (name_.empty()) {
        name_ = std::move(text);
      }
    }
  }
  const std::string* plain = stringForKey(bundle.infoDictionary(), LanguageFiles::kBundleNameKey);
  if (name_.empty() && plain != nullptr) name_ = *plain;
  if (name_.empty()) name_ = std::move(key);
}

std::string BundleNames::nameOfType(const std::string& type) const {
  const auto found = types_.find(type);
  return found == types_.end() ? type : found->second;
}

}  // namespace velto
