// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velto {

class FileManager;

/// The languages of recipients that have none of their own. Everything is read anew at every call.
/// Any thread.
class DefaultLanguages {
 public:
  /// The user's preferred languages, best first; never empty. Any thread.
  using Preferences = std::function<std::vector<std::string>()>;

  /// `directory` is that of the alert bundles. What is referred to outlives the object.
  DefaultLanguages(std::string directory, const FileManager& fileManager, Preferences preferences);

  /// The best of the languages that the directory's first bundle carries for the user's preferred
  /// ones, or with no bundle there the first preferred language.
  std::string preferredLocalizationIdentifier() const;

  /// The language of a new mail recipient, from the last part of its address: ".fr" speaks French.
  /// The preferred localization for a part that is not in the table, which is matched exactly as it
  /// is written.
  std::string defaultLocalizationForEmailAddress(std::string_view address) const;

 private:
  const std::string directory_;
  const FileManager& fileManager_;
  const Preferences preferences_;
};

}  // namespace velto
