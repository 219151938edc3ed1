// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/MailText.h"

#include <memory>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include "bundles/Common/Code/QuotedPrintable.h"
#include "bundles/Common/Code/Words.h"
#include "platform/foundation/Languages.h"

namespace velto {
namespace {

constexpr std::string_view kHeader =
    "MIME-Version: 1.0\n"
    "Content-Type: text/plain; charset=UTF-8\n"
    "Content-Transfer-Encoding: quoted-printable\n"
    "Auto-Submitted: auto-generated\n"
    "\n";

bool isHostCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '-' || character == '.';
}

/// Date, time and zone as the locale writes them, in the machine's time zone.
std::string timeText(Date time, const std::string& locale) {
  const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      icu::DateFormat::kLong, icu::DateFormat::kLong, icu::Locale(locale.c_str())));
  std::string text;
  if (format != nullptr) {
    icu::UnicodeString characters;
    format->format(time.unixSeconds() * 1000, characters);
    characters.toUTF8String(text);
  }
  return text;
}

void appendLine(std::string& text, std::string_view label, const std::string& value) {
  if (!value.empty()) {
    text.append(label).append(value) += '\n';
  }
}

}  // namespace

std::string mailHost(std::string_view hostName) {
  std::string host;
  for (const char character : hostName) {
    if (isHostCharacter(character)) {
      host += character;
    }
  }
  const auto isMark = [](char character) { return character == '.' || character == '-'; };
  const bool isUsable = !host.empty() && !isMark(host.front()) && !isMark(host.back()) &&
                        host.find("..") == std::string::npos;
  return isUsable ? host : "localhost";
}

std::string mailSender(std::string_view hostName, std::string_view localization) {
  return std::string(wordsForLocalization(localization).senderName) + " <alerts@" +
         mailHost(hostName) + ">";
}

std::string mailBody(const MailContent& content, std::string_view localization) {
  const Words& words = wordsForLocalization(localization);
  // The message's own last line breaks would only widen the gap that follows.
  std::string text = content.message.substr(0, content.message.find_last_not_of("\r\n") + 1);
  text += "\n\n";
  appendLine(text, words.bundleLabel, content.bundle.value_or(""));
  appendLine(text, words.typeLabel, content.type.value_or(""));
  const std::string locale = localeForText(words.language, localization);
  appendLine(text, words.timeLabel, content.time ? timeText(*content.time, locale) : "");
  return text;
}

std::string mailText(const MailContent& content, std::string_view localization) {
  return std::string(kHeader) + quotedPrintable(mailBody(content, localization));
}

}  // namespace velto
