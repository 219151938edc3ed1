// SPDX-License-Identifier: Apache-2.0
// Whatever a bundle's strings file holds, what people are told is text, in either form of patterns.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "alerts/texts/LanguageFiles.h"
#include "alerts/texts/MessageTemplate.h"
#include "alerts/texts/ReaderText.h"
#include "platform/foundation/UTF8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto texts =
      velto::textsInStringsFile({reinterpret_cast<const char*>(data), size}, nullptr);
  if (!texts) return 0;
  const auto formats = velto::ReaderFormats::forLocale("de");
  // The texts are their own attributes, so that patterns find values of every kind.
  for (const auto& [key, value] : *texts) {
    if (value.string() == nullptr) continue;
    if (velto::invalidUTF8Offset(velto::expandedText(*value.string(), *texts, *formats))) {
      __builtin_trap();
    }
    velto::PatternProblem problem;
    const auto message = velto::MessageTemplate::parse(*value.string(), problem);
    if (message.has_value() == (problem.position != 0)) __builtin_trap();
    if (message && velto::invalidUTF8Offset(message->text(*texts, *formats))) __builtin_trap();
  }
  return 0;
}
