// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace velto {

enum class Need { kOptional, kRequired };

/// A verb's arguments and options, as its command line is read into variables, which outlive the
/// parser. It stands before the parser, so that a verb's source need not know that. Texts are in
/// the reader's language; names are as the parser has them ("-n,--lines"). A handle; one thread.
class Verb {
 public:
  /// `app` outlives this object.
  explicit Verb(CLI::App& app) : app_(&app) {}

  Verb& argument(const char* name, std::string& value, const std::string& text,
                 Need need = Need::kOptional);
  /// All that are left, at least one when they are required.
  Verb& argument(const char* name, std::vector<std::string>& values, const std::string& text,
                 Need need = Need::kOptional);
  /// `kind` says what the value is: NAME, DATE.
  Verb& option(const char* names, std::string& value, const std::string& kind,
               const std::string& text, Need need = Need::kOptional);
  Verb& option(const char* names, std::optional<std::string>& value, const std::string& kind,
               const std::string& text);
  Verb& option(const char* names, std::int64_t& value, const std::string& kind,
               const std::string& text);
  Verb& option(const char* names, std::optional<std::int64_t>& value, const std::string& kind,
               const std::string& text);
  Verb& flag(const char* names, bool& value, const std::string& text);
  /// Help does not tell of it.
  Verb& hide();

 private:
  CLI::App* app_;
};

}  // namespace velto
