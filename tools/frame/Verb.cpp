// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Verb.h"

#include <CLI/App.hpp>

namespace velto {
namespace {

template <typename T>
CLI::Option& added(CLI::App& app, const char* names, T& value, const std::string& text, Need need) {
  return *app.add_option(names, value, text)->required(need == Need::kRequired);
}

}  // namespace

Verb& Verb::argument(const char* name, std::string& value, const std::string& text, Need need) {
  added(*app_, name, value, text, need);
  return *this;
}

Verb& Verb::argument(const char* name, std::vector<std::string>& values, const std::string& text,
                     Need need) {
  added(*app_, name, values, text, need);
  return *this;
}

Verb& Verb::option(const char* names, std::string& value, const std::string& kind,
                   const std::string& text, Need need) {
  added(*app_, names, value, text, need).type_name(kind);
  return *this;
}

Verb& Verb::option(const char* names, std::optional<std::string>& value, const std::string& kind,
                   const std::string& text) {
  added(*app_, names, value, text, Need::kOptional).type_name(kind);
  return *this;
}

Verb& Verb::option(const char* names, std::int64_t& value, const std::string& kind,
                   const std::string& text) {
  added(*app_, names, value, text, Need::kOptional).type_name(kind);
  return *this;
}

Verb& Verb::option(const char* names, std::optional<std::int64_t>& value, const std::string& kind,
                   const std::string& text) {
  added(*app_, names, value, text, Need::kOptional).type_name(kind);
  return *this;
}

Verb& Verb::flag(const char* names, bool& value, const std::string& text) {
  app_->add_flag(names, value, text);
  return *this;
}

Verb& Verb::hide() {
  app_->group("");
  return *this;
}

}  // namespace velto
