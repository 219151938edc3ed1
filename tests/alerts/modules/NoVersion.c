// SPDX-License-Identifier: Apache-2.0
/* Lacks the version of the interface. */

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

int velto_alert_bundle_register(const velto_host* host, velto_registry* registry) {
  return host != NULL && registry != NULL;
}
