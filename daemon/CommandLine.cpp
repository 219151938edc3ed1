// SPDX-License-Identifier: Apache-2.0
#include "daemon/CommandLine.h"

#include <cstdio>
#include <string_view>

namespace velto {
namespace {

constexpr const char* kVersion = "alertsd " VELTO_VERSION "\n";
constexpr const char* kHelp =
    R"(Usage: alertsd
       alertsd --version | --help

The alerts daemon: collects the alerts of the system's services, stores them and tells people by
push and mail. It takes no other arguments and reads no configuration file; systemd starts it
(velto-alerts.service). VELTO_ROOT in the environment names a folder to take for the whole system.

SIGTERM ends it in order, SIGHUP has it look for alert bundles again. See alertsctl(1).
)";

int print(const char* text) {
  return std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

}  // namespace

std::optional<int> answerArguments(int argc, char** argv) {
  if (argc <= 1) return std::nullopt;
  const std::string_view first = argc == 2 ? argv[1] : "";
  if (first == "--version") return print(kVersion);
  if (first == "--help") return print(kHelp);
  std::fprintf(stderr, "%s takes no arguments but --version and --help\n", argv[0]);
  return 2;
}

}  // namespace velto
