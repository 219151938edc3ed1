// SPDX-License-Identifier: Apache-2.0
/* Registers a class and then says that the bundle cannot be used. */

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

static int object;

static void* create(void) {
  return &object;
}
static void destroy(void* self) {
  (void)self;
}
static int from_address(void* self, const char* localization, velto_text* sender) {
  (void)self, (void)localization, (void)sender;
  return 0;
}
static int format_message(void* self, const velto_alert* alert, const char* localization,
                          velto_text* message, velto_error* error) {
  (void)self, (void)alert, (void)localization, (void)message, (void)error;
  return 0;
}

static const velto_email_formatter_class formatter = {create, destroy, from_address,
                                                      format_message};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* host, velto_registry* registry) {
  return host->register_email_formatter(registry, "Refused", &formatter) == 0 ? 17 : 18;
}
