// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/QuotedPrintable.h"

#include "platform/foundation/Hexadecimal.h"

namespace velto {
namespace {

// One less than the limit: the "=" of a soft line break must fit as well.
constexpr std::size_t kMaximumColumn = 75;

bool isLiteral(std::string_view rest, bool isAtStart) {
  const char character = rest.front();
  if (character == ' ' || character == '\t') {
    return rest.size() > 1;
  }
  if (isAtStart && (character == '.' || rest.starts_with("From "))) {
    return false;
  }
  return character > ' ' && character <= '~' && character != '=';
}

/// The encoding of the first character of `rest`, the rest of a line of text.
std::string encodedFirst(std::string_view rest, bool isAtStart) {
  if (isLiteral(rest, isAtStart)) {
    return std::string(rest.substr(0, 1));
  }
  std::string encoded = "=";
  appendHexadecimal(encoded, static_cast<std::uint8_t>(rest.front()), HexadecimalCase::kUpper);
  return encoded;
}

void appendLine(std::string_view line, std::string& result) {
  std::size_t column = 0;
  for (; !line.empty(); line.remove_prefix(1)) {
    std::string encoded = encodedFirst(line, column == 0);
    if (column + encoded.size() > kMaximumColumn) {
      result += "=\n";
      column = 0;
      encoded = encodedFirst(line, true);
    }
    result += encoded;
    column += encoded.size();
  }
  result += '\n';
}

}  // namespace

std::string quotedPrintable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (end != std::string_view::npos && line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    appendLine(line, result);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return result;
}

}  // namespace velto
