// SPDX-License-Identifier: Apache-2.0
/* Made for another version of the interface: its registration must never be called. */

#include <stdlib.h>

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE + 1;

int velto_alert_bundle_register(const velto_host* host, velto_registry* registry) {
  (void)host, (void)registry;
  abort();
}
