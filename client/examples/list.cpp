// SPDX-License-Identifier: Apache-2.0
// Prints the identifiers of a bundle's alerts, newest first, however many there are.
// usage: list BUNDLE
#include <iostream>
#include <string>
#include <vector>

#include <velto/Client.h>

namespace alerts = velto::alerts;

namespace {

/// What the caller of this program can do about it.
std::string adviceFor(const alerts::Error& error) {
  switch (error.kind) {
    case alerts::ErrorKind::kNoDaemon:
      return "Is the alerts daemon running?";
    case alerts::ErrorKind::kService:
    case alerts::ErrorKind::kNotPermitted:
      return "Try it as root.";
    default:
      return error.domain + " " + std::to_string(error.code);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: " << argv[0] << " BUNDLE\n";
    return 2;
  }
  alerts::Client client;
  const auto print = [](const std::vector<alerts::Alert>& piece) {
    for (const alerts::Alert& alert : piece) {
      std::cout << alert.identifier.value_or("(none)") << '\n';
    }
    return std::cout.good();
  };
  const auto outcome = client.getAlertsOfBundle(argv[1], print);
  if (outcome) return 0;
  std::cerr << argv[0] << ": " << outcome.error->description << ". " << adviceFor(*outcome.error)
            << '\n';
  return 1;
}
