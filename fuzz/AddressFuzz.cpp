// SPDX-License-Identifier: Apache-2.0
// Whatever a recipient's address or an alert's subject is, it stays one header line of ASCII, and
// an address that is accepted stays one of a list.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "delivery/HeaderEncoding.h"
#include "delivery/MailHeader.h"
#include "delivery/Mailbox.h"

namespace {

void require(bool holds) {
  if (!holds) __builtin_trap();
}

bool isPrintable(std::string_view text) {
  for (const char character : text) {
    if (character <= ' ' || character > '~') return false;
  }
  return true;
}

/// An accepted address can neither be continued by its neighbours in a list nor hide them.
void requireOneOfAList(const std::string& address) {
  using velto::namesOneMailbox;
  const std::string encoded = velto::encodedAddress(address);
  require(namesOneMailbox(encoded));
  require(!namesOneMailbox(encoded + ","));
  require(!namesOneMailbox("," + encoded));
  if (encoded.find('@') != std::string::npos && encoded.find_first_of("\"(") == std::string::npos) {
    require(encoded.find('@') == encoded.rfind('@'));
    require(!namesOneMailbox(encoded + "@c"));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  require(isPrintable(velto::encodedHeaderText(text)));
  if (velto::objectionToAddress(text)) return 0;
  requireOneOfAList(text);
  std::optional<velto::Error> error;
  const auto header = velto::mailHeader({"a@x.org", text, "b@x.org"}, text, text, &error);
  require(header.has_value() != error.has_value());
  if (header) {
    std::size_t lines = 0;
    for (const char character : *header) {
      lines += character == '\n' ? 1 : 0;
      require(character == '\n' || character == '\t' || (character >= ' ' && character <= '~'));
    }
    require(lines == (text.empty() ? 1 : 3));
    require(header->starts_with("To: a@x.org," + velto::encodedAddress(text) + ",b@x.org\n"));
  }
  return 0;
}
