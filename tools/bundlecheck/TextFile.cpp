// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/TextFile.h"

#include <algorithm>
#include <array>
#include <utility>

#include "alerts/texts/LanguageFiles.h"
#include "alerts/texts/MessageTemplate.h"
#include "alerts/texts/ReaderText.h"
#include "platform/foundation/RegularFile.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

using Kind = Finding::Kind;

/// What may be wrong with a pattern, for the translations.
[[maybe_unused]] constexpr std::array kReasons = {
    trLater("a brace without its other one"),
    trLater("the form \"other\" is missing"),
    trLater("not in the syntax of a message"),
    trLater("too many forms within each other"),
    trLater("too long, or too many braces"),
    trLater("\"choice\" is not supported; use \"plural\" or \"select\"")};

/// Whether an equals sign comes next, as behind a key.
bool isFollowedByEquals(std::string_view rest) {
  const std::size_t next = rest.find_first_not_of(" \t\r\n");
  return next != std::string_view::npos && rest[next] == '=';
}

std::set<std::string> asSet(const std::vector<std::string>& names) {
  return {names.begin(), names.end()};
}

/// Looks at the texts of one file.
class TextReader {
 public:
  TextReader(TextFile& file, std::string_view bytes, bool hasMessages, Findings& findings)
      : file_(file), bytes_(bytes), hasMessages_(hasMessages), findings_(findings) {}

  void read(const std::string& key, const PropertyList& value) {
    CheckedText text{lineOfKey(bytes_, key), {}};
    if (value.string() == nullptr) {
      add(Kind::kError, text, say("\"{}\" is no text", key));
      return;
    }
    if (isPatternKey(key)) readPattern(key, *value.string(), text);
    file_.texts.emplace(key, std::move(text));
  }

 private:
  void add(Kind kind, const CheckedText& text, std::string what) {
    findings_.push_back({kind, file_.file, text.line, std::move(what)});
  }

  void readPattern(const std::string& key, const std::string& pattern, CheckedText& text) {
    if (!hasMessages_) {
      text.attributes = asSet(attributesNamedIn(pattern));
      if (unendedName(pattern)) {
        add(Kind::kError, text, say("\"{}\" has a %{{ without its }}", key));
      }
      return;
    }
    PatternProblem problem;
    if (const auto message = MessageTemplate::parse(pattern, problem)) {
      text.attributes = asSet(message->attributeNames());
    } else {
      add(Kind::kError, text,
          say("\"{}\" cannot be understood: {}, at character {}", key, tr(problem.reason.c_str()),
              problem.position));
    }
    if (pattern.find("%{") != std::string::npos) {
      add(Kind::kWarning, text,
          say("\"{}\" has a %{{, which is {{}} with VLTextFormat = icu", key));
    }
  }

  TextFile& file_;
  std::string_view bytes_;
  const bool hasMessages_;
  Findings& findings_;
};

}  // namespace

std::size_t lineOfKey(std::string_view bytes, std::string_view key) {
  if (key.empty()) return 0;
  for (std::size_t at = 0; (at = bytes.find(key, at)) != std::string_view::npos; ++at) {
    std::string_view rest = bytes.substr(at + key.size());
    const bool isQuoted = at > 0 && bytes[at - 1] == '"' && rest.starts_with('"');
    if (isQuoted) rest.remove_prefix(1);
    const bool isWhole =
        isQuoted || at == 0 ||
        std::string_view(" \t\r\n;{").find(bytes[at - 1]) != std::string_view::npos;
    if (isWhole && isFollowedByEquals(rest)) {
      return static_cast<std::size_t>(
                 std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(at), '\n')) +
             1;
    }
  }
  return 0;
}

std::optional<TextFile> readTextFile(const std::string& language, const std::string& path,
                                     const std::string& file, bool hasMessages,
                                     Findings& findings) {
  std::optional<Error> error;
  const auto bytes = contentsOfRegularFile(path, LanguageFiles::kMaximumFileSize, &error);
  const auto strings = bytes ? textsInStringsFile(*bytes, &error) : std::nullopt;
  if (!strings) {
    findings.push_back(
        {Kind::kError, file, 0, say("not used: {}", error ? error->localizedDescription() : "")});
    return std::nullopt;
  }
  TextFile texts{language, file, {}};
  TextReader reader(texts, *bytes, hasMessages, findings);
  for (const auto& [key, value] : *strings) {
    reader.read(key, value);
  }
  return texts;
}

}  // namespace velto
