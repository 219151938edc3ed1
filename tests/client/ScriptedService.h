// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/foundation/FileDescriptor.h"
#include "platform/foundation/Mutex.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// A service that plays a script: for each connection in turn, what it answers to each call. At the
/// end of a connection's answers it hangs up; connections beyond the script are not accepted. It
/// waits for nothing but its clients, and ends with the test.
class ScriptedService {
 public:
  /// What is done with one call.
  struct Answer {
    std::vector<std::string> replies;  ///< texts, each sent with a NUL
    std::string rest = {};             ///< bytes sent as they are, after the replies
  };
  using Conversation = std::vector<Answer>;

  /// Starts to serve at the path of the service below the directory, or anew there.
  ScriptedService(const TemporaryDirectory& directory, std::vector<Conversation> conversations);
  ~ScriptedService();

  const std::string& path() const { return path_; }
  /// The calls so far, as they came.
  std::vector<std::string> calls() const;

 private:
  void serve();
  void converse(int client, const Conversation& conversation);
  bool receiveCall(int client);

  const std::string path_;
  const std::vector<Conversation> conversations_;
  const FileDescriptor stopSignal_;
  FileDescriptor listener_;
  mutable Mutex mutex_;
  std::vector<std::string> calls_ VELTO_GUARDED_BY(mutex_);
  std::thread thread_;
};

/// A reply with these parameters.
std::string reply(std::string_view parameters);
/// One of several.
std::string piece(std::string_view parameters);
/// A Varlink error.
std::string wireError(std::string_view name, std::string_view parameters);

}  // namespace velto
