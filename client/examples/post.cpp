// SPDX-License-Identifier: Apache-2.0
// Posts an alert.
#include <iostream>

#include <velto/Client.h>

int main() {
  velto::alerts::Client client;
  const auto outcome = client.postAlert(
      {.type = "Test", .bundle = "Common", .attributes = {{{"percent", 93}, {"device", "/srv"}}}});
  if (!outcome) std::cerr << outcome.error->description << '\n';
  return outcome ? 0 : 1;
}
