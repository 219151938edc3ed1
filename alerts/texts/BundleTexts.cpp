// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/BundleTexts.h"

#include <algorithm>
#include <utility>

#include "alerts/texts/LanguageFiles.h"
#include "alerts/texts/ReaderText.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"
#include "platform/foundation/Log.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumReaders = 1000;

/// The language of those whom none suits; "" without any.
std::string fallbackOf(const Bundle& bundle, const std::vector<std::string>& languages) {
  const std::string* region = stringForKey(bundle.infoDictionary(), "CFBundleDevelopmentRegion");
  const auto best = preferredLocalizationsFromArray(languages, {region ? *region : "en", "en"});
  return best.empty() ? "" : best.front();
}

std::vector<std::string> inOrder(const std::vector<std::string>& languages,
                                 const std::string& fallback, std::string_view reader) {
  auto order = localizationsForReader(languages, reader);
  if (!fallback.empty()) order.push_back(fallback);
  return order;
}

}  // namespace

BundleTexts::BundleTexts(const Bundle& bundle, const FileManager& fileManager, Log& log)
    : holes_(bundle.path(), log) {
  const LanguageFiles files(bundle, log);
  for (const std::string& language : bundle.localizations(fileManager)) {
    if (auto texts = files.read(language)) {
      languages_.push_back(language);
      texts_.emplace(language, std::move(*texts));
    }
  }
  fallback_ = fallbackOf(bundle, languages_);
}

std::vector<std::string> BundleTexts::languagesFor(const Bundle& bundle,
                                                   const std::vector<std::string>& languages,
                                                   std::string_view reader) {
  return inOrder(languages, fallbackOf(bundle, languages), reader);
}

BundleTexts::Found BundleTexts::find(const Places& places, std::string_view key) {
  for (const Place& place : places) {
    const auto found = place.texts->find(key);
    if (found != place.texts->end()) return {&found->second, &place};
  }
  return {};
}

std::optional<std::string> BundleTexts::text(std::string_view key, std::string_view reader) const {
  const auto places = placesFor(reader);
  const LanguageText* text = find(*places, key).text;
  return text == nullptr ? std::nullopt : std::optional(text->pattern);
}

std::optional<std::string> BundleTexts::textAbout(const PropertyList::Dictionary& attributes,
                                                  std::string_view key,
                                                  std::string_view reader) const {
  const auto places = placesFor(reader);
  const auto [text, place] = find(*places, key);
  if (text == nullptr) return std::nullopt;
  const auto& needed = text->neededNames;
  const auto missing = std::find_if(needed.begin(), needed.end(), [&](const std::string& name) {
    const PropertyList* value = valueForKey(attributes, name);
    return value == nullptr || value->isAbsent();
  });
  if (missing != needed.end()) holes_.tellAttribute(*place->language, key, *missing);
  return text->message ? text->message->text(attributes, *place->formats)
                       : expandedText(text->pattern, attributes, *place->formats);
}

std::string BundleTexts::languageFor(std::string_view reader) const {
  const auto places = placesFor(reader);
  return places->empty() ? std::string(reader) : *places->front().language;
}

std::shared_ptr<const BundleTexts::Places> BundleTexts::placesFor(std::string_view reader) const {
  {
    const MutexLock lock(foundLock_);
    const auto found = found_.find(reader);
    if (found != found_.end()) return found->second;
  }
  auto places = std::make_shared<const Places>(findPlacesFor(reader));
  const MutexLock lock(foundLock_);
  if (found_.size() >= kMaximumReaders) {
    found_.clear();  // whoever sends so many names must not make it grow
  }
  return found_.emplace(reader, std::move(places)).first->second;
}

BundleTexts::Places BundleTexts::findPlacesFor(std::string_view reader) const {
  Places places;
  for (const std::string& language : inOrder(languages_, fallback_, reader)) {
    const auto& [name, texts] = *texts_.find(language);
    places.push_back({&name, &texts, ReaderFormats::forLocale(localeForText(name, reader))});
  }
  return places;
}

}  // namespace velto
