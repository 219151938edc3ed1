// SPDX-License-Identifier: Apache-2.0
#include "store/CaselessSearch.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <unicode/stringoptions.h>
#include <unicode/ustring.h>

#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

char lowered(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char raised(char c) {
  return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

/// How often a character comes in texts, roughly: the letters of a few languages in their order;
/// digits and signs, of which identifiers and paths are full, more often than those.
std::size_t frequency(char c) {
  const std::size_t place = std::string_view("qxzjvkwyfpbghmucldosrtnaie").find(c);
  return place == std::string_view::npos ? 100 : place;
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
    const auto isRarer = [](char one, char other) { return frequency(one) < frequency(other); };
    rarest_ = static_cast<std::size_t>(std::min_element(ascii_->begin(), ascii_->end(), isRarer) -
                                       ascii_->begin());
  }
}

bool CaselessSearch::isIn(std::string_view text) {
  if (isASCII(text)) {
    return isInASCII(text);
  }
  decode(text, units_);
  return isInUnits();
}

/// Letters of both cases are found faster one after the other than each by comparing.
bool CaselessSearch::isInASCII(std::string_view text) const {
  if (!ascii_ || ascii_->size() > text.size()) {
    return false;
  }
  if (ascii_->empty()) {
    return true;
  }
  const char letter = (*ascii_)[rarest_];
  const char other = raised(letter);
  return isAround(text, letter) || (other != letter && isAround(text, other));
}

/// Whether the text has it with this letter as the rarest one.
bool CaselessSearch::isAround(std::string_view text, char letter) const {
  const auto isSame = [](char one, char other) { return one == lowered(other); };
  const std::size_t end = text.size() - (ascii_->size() - rarest_) + 1;
  std::size_t at = rarest_;
  while (at < end) {
    const void* const found = std::memchr(text.data() + at, letter, end - at);
    if (found == nullptr) {
      return false;
    }
    at = static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
    if (std::equal(ascii_->begin(), ascii_->end(),
                   text.begin() + static_cast<std::ptrdiff_t>(at - rarest_), isSame)) {
      return true;
    }
    ++at;
  }
  return false;
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
