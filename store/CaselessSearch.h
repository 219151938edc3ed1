// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velto {

/// Looks for a text in others without regard to case, as Unicode's full case folding knows it:
/// "strasse" is in "Hauptstraße", "STRASSE" is too; accents count. Made for very many short texts.
/// One thread, since it keeps the memory that it folds in; a copy for each other one.
class CaselessSearch {
 public:
  /// The text is UTF-8, as all texts here. The empty one is in every text.
  explicit CaselessSearch(std::string_view text);

  bool isIn(std::string_view text);
  /// The same for a text that is known to be ASCII; of other bytes, whether one that lies in them
  /// may have it.
  bool isInASCII(std::string_view text) const;
  /// The same for UTF-16, the more significant byte of a unit first.
  bool isInUTF16(std::string_view bytes);

 private:
  bool isAround(std::string_view text, char letter) const;
  bool isInUnits();

  std::u16string folded_;
  /// The same in one byte a character, if it is all ASCII: otherwise no ASCII text has it.
  std::optional<std::string> ascii_;
  std::size_t rarest_ = 0;      ///< where the letter of it is that other texts have least
  std::u16string units_;        ///< a text that is looked at
  std::u16string foldedUnits_;  ///< the same, folded
};

}  // namespace velto
