// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/TextCheck.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "platform/foundation/Languages.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

using Kind = Finding::Kind;

class TextCheck {
 public:
  TextCheck(const std::vector<TextFile>& files, const DeclaredTypes& declared, bool hasCode)
      : files_(files), declared_(declared), hasCode_(hasCode) {
    for (const TextFile& file : files_) {
      languages_.push_back(file.language);
    }
  }

  Findings check() {
    const auto keys = expectedKeys();
    for (const TextFile& file : files_) {
      for (const std::string& key : keys) {
        checkPresence(file, key, Kind::kError);
      }
      for (const std::string& type : declared_.types) {
        if (!keys.contains(type + ".name")) checkPresence(file, type + ".name", Kind::kWarning);
      }
      for (const auto& [key, text] : file.texts) {
        checkUse(file, key, text);
        checkAttributes(file, key, text);
      }
    }
    return std::move(findings_);
  }

 private:
  void add(Kind kind, const TextFile& file, std::size_t line, std::string text) {
    findings_.push_back({kind, file.file, line, std::move(text)});
  }

  /// What people are told in every language: what the bundle declares, and what is told in one.
  std::set<std::string> expectedKeys() const {
    std::set<std::string> keys;
    for (const std::string& type : declared_.types) {
      keys.insert({type + ".subject", type + ".message"});
    }
    for (const std::string& action : declared_.actions) {
      keys.insert(action + ".title");
    }
    for (const TextFile& file : files_) {
      for (const auto& [key, text] : file.texts) {
        if (isKnown(key)) keys.insert(key);
      }
    }
    return keys;
  }

  const TextFile& fileOf(const std::string& language) const {
    return *std::find_if(files_.begin(), files_.end(),
                         [&](const TextFile& file) { return file.language == language; });
  }

  /// A text of a region may be that of the language.
  void checkPresence(const TextFile& file, const std::string& key, Kind kind) {
    if (file.texts.contains(key)) return;
    const auto places = localizationsForReader(languages_, file.language);
    if (std::none_of(places.begin(), places.end(), [&](const std::string& language) {
          return fileOf(language).texts.contains(key);
        })) {
      add(kind, file, 0, say("\"{}\" is missing", key));
    }
  }

  bool isKnown(std::string_view key) const {
    const std::size_t dot = key.rfind('.');
    if (dot == std::string_view::npos) return false;
    const std::string_view suffix = key.substr(dot);
    const bool isOfType = suffix == ".subject" || suffix == ".message" || suffix == ".name";
    const auto& names = isOfType ? declared_.types : declared_.actions;
    return (isOfType || suffix == ".title") &&
           (hasCode_ || std::find(names.begin(), names.end(), key.substr(0, dot)) != names.end());
  }

  void checkUse(const TextFile& file, const std::string& key, const CheckedText& text) {
    if (!isKnown(key)) {
      add(Kind::kWarning, file, text.line, say("\"{}\" is of no type and no action", key));
    }
  }

  /// An attribute that the same text names in no other language is misspelt, as a rule.
  void checkAttributes(const TextFile& file, const std::string& key, const CheckedText& text) {
    std::set<std::string> others;
    bool hasOthers = false;
    for (const TextFile& other : files_) {
      const auto found = other.texts.find(key);
      if (&other == &file || found == other.texts.end()) continue;
      hasOthers = true;
      others.insert(found->second.attributes.begin(), found->second.attributes.end());
    }
    for (const std::string& name : text.attributes) {
      if (hasOthers && !others.contains(name)) {
        add(Kind::kWarning, file, text.line,
            say("\"{}\" names the attribute {}, as it does in no other language", key, name));
      }
    }
  }

  const std::vector<TextFile>& files_;
  const DeclaredTypes& declared_;
  const bool hasCode_;
  std::vector<std::string> languages_;
  Findings findings_;
};

}  // namespace

Findings checkTexts(const std::vector<TextFile>& files, const DeclaredTypes& declared,
                    bool hasCode) {
  return TextCheck(files, declared, hasCode).check();
}

}  // namespace velto
