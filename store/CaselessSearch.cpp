// SPDX-License-Identifier: Apache-2.0
#include "store/CaselessSearch.h"

#include <algorithm>
#include <limits>

#include <unicode/stringoptions.h>
#include <unicode/ustring.h>

namespace velto {
namespace {

bool isASCII(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) {
    all |= static_cast<unsigned char>(c);
  }
  return all < 0x80;
}

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// ICU counts in 32 bits; a text of the store is far shorter.
std::int32_t length(std::size_t size) {
  return static_cast<std::int32_t>(
      std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
}

/// What is no UTF-8 becomes a character that nobody looks for. No text has more units than bytes.
void decode(std::string_view text, std::u16string& units) {
  units.resize(text.size());
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(units.data(), length(units.size()), &written, text.data(),
                       length(text.size()), 0xFFFD, nullptr, &status);
  units.resize(U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0);
}

/// One unit may become three.
void fold(const std::u16string& units, std::u16string& folded) {
  folded.resize(3 * units.size());
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t written = u_strFoldCase(folded.data(), length(folded.size()), units.data(),
                                             length(units.size()), U_FOLD_CASE_DEFAULT, &status);
  folded.resize(U_SUCCESS(status) ? static_cast<std::size_t>(written) : 0);
}

}  // namespace

CaselessSearch::CaselessSearch(std::string_view text) {
  decode(text, units_);
  fold(units_, folded_);
  if (std::all_of(folded_.begin(), folded_.end(), [](char16_t unit) { return unit < 0x80; })) {
    ascii_.emplace(folded_.begin(), folded_.end());
  }
}

bool CaselessSearch::isIn(std::string_view text) {
  if (isASCII(text)) {
    return isInASCII(text);
  }
  decode(text, units_);
  return isInUnits();
}

bool CaselessSearch::isInASCII(std::string_view text) const {
  if (!ascii_ || ascii_->size() > text.size()) {
    return false;
  }
  const auto isSame = [](char one, char other) { return lowered(one) == other; };
  return ascii_->empty() || std::search(text.begin(), text.end(), ascii_->begin(), ascii_->end(),
                                        isSame) != text.end();
}

bool CaselessSearch::isInUTF16(std::string_view bytes) {
  units_.resize(bytes.size() / 2);
  for (std::size_t unit = 0; unit < units_.size(); ++unit) {
    units_[unit] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * unit]) << 8 |
                                         static_cast<unsigned char>(bytes[2 * unit + 1]));
  }
  return isInUnits();
}

bool CaselessSearch::isInUnits() {
  fold(units_, foldedUnits_);
  return foldedUnits_.find(folded_) != std::u16string::npos;
}

}  // namespace velto
