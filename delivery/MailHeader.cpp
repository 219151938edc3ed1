// SPDX-License-Identifier: Apache-2.0
#include "delivery/MailHeader.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "delivery/HeaderEncoding.h"
#include "delivery/Mailbox.h"
#include "platform/foundation/SingleLine.h"

namespace velto {
namespace {

/// It would end the line and begin another.
bool isControl(char character) {
  return (character >= '\0' && character < ' ' && character != '\t') || character == '\x7f';
}

bool isOneLineOfASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char character) {
    return character >= '\0' && character <= '~' && !isControl(character);
  });
}

/// The address as it stands in a header line of the name; nothing, with an error, if it cannot.
std::optional<std::string> headerAddress(std::string_view name, const std::string& address,
                                         ErrorSlot error) {
  std::string encoded = encodedAddress(address);
  if (!isOneLineOfASCII(encoded)) {
    setIfEmpty(error, makeError(kPOSIXErrorDomain, EILSEQ,
                                "the " + std::string(name) + " header cannot hold \"" +
                                    singleLine(address) + "\""));
    return std::nullopt;
  }
  return encoded;
}

}  // namespace

std::optional<std::string> objectionToAddress(const std::string& address) {
  if (address.empty()) {
    return "is empty";
  }
  const std::string encoded = encodedAddress(address);
  if (std::any_of(encoded.begin(), encoded.end(), isControl)) {
    return "has a control character";
  }
  if (!namesOneMailbox(encoded)) {
    return "is not one address";
  }
  return std::nullopt;
}

std::optional<std::string> mailHeader(const std::vector<std::string>& addresses,
                                      const std::optional<std::string>& subject,
                                      const std::optional<std::string>& fromAddress,
                                      ErrorSlot error) {
  std::string text = "To: ";
  for (const std::string& address : addresses) {
    const auto encoded = headerAddress("To", address, error);
    if (!encoded) {
      return std::nullopt;
    }
    text.append(&address == &addresses.front() ? "" : ",").append(*encoded);
  }
  text += '\n';
  if (subject && !subject->empty()) {
    text += "Subject: " + encodedHeaderText(*subject) + "\n";
  }
  if (fromAddress && !fromAddress->empty()) {
    const auto encoded = headerAddress("From", *fromAddress, error);
    if (!encoded) {
      return std::nullopt;
    }
    text += "From: " + *encoded + "\n";
  }
  return text;
}

}  // namespace velto
