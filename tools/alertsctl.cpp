// SPDX-License-Identifier: Apache-2.0
// The administrator's tool for the alerts daemon.

#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/core.h>

#include "tools/CallCommand.h"

namespace velto {
namespace {

constexpr const char* kFooter =
    "Exit status: 0 done, 1 the daemon answered with an error, 2 wrong usage or no daemon.\n"
    "Environment: VELTO_ROOT, the directory that the daemon's paths are looked up below.";

void addCallCommand(CLI::App& app, CallCommand& command) {
  CLI::App* call = app.add_subcommand("call", "Call a method and print its reply as JSON");
  call->add_option("method", command.method, "The method, as in PostAlert")
      ->type_name("METHOD")
      ->required();
  call->add_option("parameters", command.parameters,
                   "The parameters as a JSON object; - reads it from standard input")
      ->type_name("JSON");
  call->add_flag("--more", command.more, "Take the reply in pieces and print each as it comes");
}

int run(int argc, char** argv) {
  CLI::App app("Talks to the alerts daemon.", "alertsctl");
  app.set_version_flag("--version", "alertsctl " VELTO_VERSION);
  app.require_subcommand(1);
  app.footer(kFooter);
  CallCommand command;
  addCallCommand(app, command);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kExitSuccess : kExitFailure;
  }
  return command.run(std::cin, std::cout, std::cerr);
}

}  // namespace
}  // namespace velto

int main(int argc, char** argv) {
  try {
    return velto::run(argc, argv);
  } catch (const std::exception& error) {
    fmt::print(stderr, "alertsctl: {}\n", error.what());
    return velto::kExitFailure;
  }
}
