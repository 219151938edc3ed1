// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/Log.h"

#include <cstdio>
#include <string>
#include <syslog.h>

#include "platform/foundation/Paths.h"

namespace velto {
namespace {

class SystemLog : public Log {
 public:
  void warning(std::string_view line) override {
    if (isPrivateSystem()) {
      // One write a line, so that lines of several threads do not mix.
      std::string text(line);
      text.push_back('\n');
      std::fwrite(text.data(), 1, text.size(), stderr);
      return;
    }
    syslog(LOG_WARNING, "%.*s", static_cast<int>(line.size()), line.data());
  }
};

}  // namespace

Log& Log::system() {
  static SystemLog log;
  return log;
}

}  // namespace velto
