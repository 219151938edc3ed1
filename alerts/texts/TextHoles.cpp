// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/TextHoles.h"

#include "alerts/texts/LanguageFiles.h"
#include "platform/foundation/SingleLine.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumName = 200;

std::string quoted(std::string_view name) {
  return std::string("\"").append(singleLine(name.substr(0, kMaximumName))).append("\"");
}

}  // namespace

void TextHoles::tellAttribute(const std::string& language, std::string_view key,
                              std::string_view name) {
  if (!isNew(language, key)) return;
  log_.warning("Alert text " + quoted(key) + " of " +
               LanguageFiles::pathOfTexts(bundlePath_, language) +
               " has a hole: an alert has no attribute " + quoted(name));
}

void TextHoles::tellText(std::string_view key, bool hasLanguages, std::string_view shown) {
  if (!isNew("", key)) return;
  log_.warning("Alert text " + quoted(key) + " of " + bundlePath_ + " is missing: " +
               (hasLanguages ? "no language has it"
                             : "there are no texts, such as in Contents/Resources/en.lproj") +
               ", and " + quoted(shown) + " stands there");
}

bool TextHoles::isNew(std::string_view language, std::string_view key) {
  const MutexLock lock(mutex_);
  return told_.insert(std::string(language).append("/").append(key)).second;
}

}  // namespace velto
