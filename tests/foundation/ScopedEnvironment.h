// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace velto {

/// Environment variables as a test wants them, put back when this object goes.
class ScopedEnvironment {
 public:
  ScopedEnvironment() = default;
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
  ~ScopedEnvironment() {
    for (const auto& [name, value] : former_) {
      apply(name, value);
    }
  }

  /// Sets a variable, or takes it away when there is no value.
  void set(const std::string& name, const std::optional<std::string>& value) {
    const char* current = std::getenv(name.c_str());
    former_.try_emplace(name,
                        current == nullptr ? std::nullopt : std::optional<std::string>(current));
    apply(name, value);
  }

 private:
  static void apply(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name.c_str());
    }
  }

  std::map<std::string, std::optional<std::string>> former_;
};

}  // namespace velto
