// SPDX-License-Identifier: Apache-2.0
#include "platform/process/Spawn.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <string_view>
#include <unistd.h>

namespace velto {
namespace {

/// What a child does between its birth and its program: takes its standard descriptors and closes
/// everything beyond, also what some library opened without O_CLOEXEC.
class FileActions {
 public:
  explicit FileActions(const SpawnSettings& settings)
      : error_(posix_spawn_file_actions_init(&actions_)), isMade_(error_ == 0) {
    const std::array<int, 3> standard = {settings.standardInput, settings.standardOutput,
                                         settings.standardError};
    for (int target = STDIN_FILENO; target <= STDERR_FILENO && error_ == 0; ++target) {
      const int source = standard[static_cast<std::size_t>(target)];
      if (source != -1) {
        error_ = posix_spawn_file_actions_adddup2(&actions_, source, target);
      }
    }
    if (error_ == 0) {
      error_ = posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
  }
  ~FileActions() {
    if (isMade_) {
      posix_spawn_file_actions_destroy(&actions_);
    }
  }
  FileActions(const FileActions&) = delete;
  FileActions& operator=(const FileActions&) = delete;

  /// An errno, or 0.
  int error() const { return error_; }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
  int error_;
  const bool isMade_;
};

/// Every signal at its default and none blocked.
class Attributes {
 public:
  explicit Attributes(bool leadsGroup) : error_(posix_spawnattr_init(&attributes_)) {
    if (error_ != 0) {
      return;
    }
    sigset_t all;
    sigset_t none;
    sigfillset(&all);
    sigemptyset(&none);
    // With a valid attribute object and valid flags these cannot fail.
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setpgroup(&attributes_, 0);
    const int group = leadsGroup ? POSIX_SPAWN_SETPGROUP : 0;
    posix_spawnattr_setflags(
        &attributes_, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | group));
  }
  ~Attributes() {
    if (error_ == 0) {
      posix_spawnattr_destroy(&attributes_);
    }
  }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  /// An errno, or 0.
  int error() const { return error_; }
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
  const int error_;
};

/// The texts as the kernel takes a list of them. They must stay as they are.
std::vector<char*> pointers(const std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (const std::string& text : texts) {
    list.push_back(const_cast<char*>(text.c_str()));
  }
  list.push_back(nullptr);
  return list;
}

}  // namespace

int spawnProgram(const std::string& executable, const std::vector<std::string>& arguments,
                 const SpawnSettings& settings, pid_t& process) {
  const FileActions actions(settings);
  const Attributes attributes(settings.leadsGroup);
  if (actions.error() != 0 || attributes.error() != 0) {
    return actions.error() != 0 ? actions.error() : attributes.error();
  }
  std::vector<std::string> words = {executable};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return posix_spawn(&process, executable.c_str(), actions.get(), attributes.get(),
                     pointers(words).data(), pointers(settings.environment).data());
}

std::vector<std::string> inheritableEnvironment() {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    if (!text.starts_with("LISTEN_") && !text.starts_with("NOTIFY_SOCKET=")) {
      variables.emplace_back(text);
    }
  }
  return variables;
}

}  // namespace velto
