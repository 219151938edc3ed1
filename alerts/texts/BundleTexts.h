// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "alerts/Bundle.h"
#include "alerts/texts/LanguageFiles.h"
#include "alerts/texts/ReaderFormats.h"
#include "alerts/texts/TextHoles.h"
#include "platform/foundation/Mutex.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

class FileManager;
class Log;

/// What a bundle says in its languages, by key: Alerts.strings of each, and the bundle's own name
/// from InfoPlist.strings. Read whole when it is made and constant from then on: any thread.
///
/// A text is looked for in the language that suits the reader best, then in that language without
/// its region, then in the development region's (CFBundleDevelopmentRegion, "en" unless given), or
/// where the bundle does not carry that one, in English or else its first by name. A reader whom no
/// language suits gets the last one's.
class BundleTexts {
 public:
  /// What cannot be read, or understood as a pattern, is logged and counts as missing. `log`
  /// outlives it.
  BundleTexts(const Bundle& bundle, const FileManager& fileManager, Log& log);

  /// Which of the bundle's languages, of those given, a reader's texts are looked for in, in their
  /// order.
  static std::vector<std::string> languagesFor(const Bundle& bundle,
                                               const std::vector<std::string>& languages,
                                               std::string_view reader);

  /// The text as it stands.
  std::optional<std::string> text(std::string_view key, std::string_view reader) const;
  /// The text with the attributes put in, as the reader writes them. An attribute that leaves a
  /// hole is told in the log, once for each text.
  std::optional<std::string> textAbout(const PropertyList::Dictionary& attributes,
                                       std::string_view key, std::string_view reader) const;
  /// Where `textAbout` has found nothing under the key, and this is told in its place: says so in
  /// the log, once.
  void noteMissing(std::string_view key, std::string_view shown) const {
    holes_.tellText(key, !languages_.empty(), shown);
  }
  /// The bundle's language that a reader is told things in; what is given where it has none.
  std::string languageFor(std::string_view reader) const;

 private:
  /// Where to look for a reader, and how that reader writes numbers among such texts.
  struct Place {
    const std::string* language;
    const LanguageTexts* texts;
    std::shared_ptr<const ReaderFormats> formats;
  };
  using Places = std::vector<Place>;
  /// A text, null where there is none, and where it was.
  struct Found {
    const LanguageText* text = nullptr;
    const Place* place = nullptr;
  };

  static Found find(const Places& places, std::string_view key);
  std::shared_ptr<const Places> placesFor(std::string_view reader) const;
  Places findPlacesFor(std::string_view reader) const;

  /// The languages with texts that can be read, sorted.
  std::vector<std::string> languages_;
  /// By language.
  std::map<std::string, LanguageTexts> texts_;
  mutable TextHoles holes_;
  /// Whose texts those get whom no language suits; "" without any.
  std::string fallback_;

  /// What `findPlacesFor` has found out by reader, which takes a while each time.
  mutable Mutex foundLock_;
  mutable std::map<std::string, std::shared_ptr<const Places>, std::less<>> found_
      VELTO_GUARDED_BY(foundLock_);
};

}  // namespace velto
