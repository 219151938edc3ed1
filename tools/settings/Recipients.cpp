// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Recipients.h"

#include <boost/json/array.hpp>

#include "tools/frame/Failure.h"
#include "tools/text/LanguageTag.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {

std::optional<std::string> requiredLanguage(const std::string& text) {
  if (text.empty()) return std::nullopt;
  if (auto tag = languageTag(text)) return tag;
  const auto nearest = nearestLanguageTag(text);
  throw usageFailure(
      say("\"{}\" is no language", printable(text)),
      nearest ? say("did you mean {}?", *nearest) : tr("languages are written en, de-AT, zh-Hant"));
}

std::string languageCell(const Session& session, const std::optional<std::string>& tag) {
  return tag ? printable(languageName(*tag, session.language())) : "-";
}

void tellRecipients(Session& session, const char* list, const std::vector<std::string>& names,
                    const std::string& line) {
  if (session.isJSON()) {
    session.print({{list, boost::json::array(names.begin(), names.end())}});
  } else if (session.ways().isQuiet) {
    for (const std::string& name : names) {
      session.write(printable(name) + '\n');
    }
  }
  session.tell(line);
}

}  // namespace velto
