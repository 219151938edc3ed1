// SPDX-License-Identifier: Apache-2.0
/* A bundle's code in C whose one class takes every alert that the data does not declare. */

#include <string.h>

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

static const velto_host* host;

static int subject(const velto_alert* alert, const char* localization, velto_text* text) {
  const char* type = host->alert_type(alert);
  if (type == NULL) type = "nothing";
  host->text_append(text, "Something of ", strlen("Something of "));
  host->text_append(text, type, strlen(type));
  (void)localization;
  return 0;
}

/* What the data says, which is nothing without a type. */
static int message(const velto_alert* alert, const char* localization, velto_text* text) {
  return host->alert_message(alert, localization, text);
}

static const velto_alert_class any = {subject, message, NULL};
static const velto_alert_class own = {NULL, NULL, NULL};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  host = daemon;
  return host->register_alert_class(registry, "Own", &own) != 0 ||
         host->register_default_alert_class(registry, &any) != 0 ||
         host->register_default_alert_class(registry, &any) == 0;
}
