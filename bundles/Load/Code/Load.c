// SPDX-License-Identifier: Apache-2.0
/* The code of Load.bundle: an alert class, and a recovery action that looks again. */

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <velto/alert_bundle.h>

/* The daemon finds these two, and nothing else of the bundle. */
__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* daemon,
                                                                       velto_registry* registry);

static const velto_host* host;

/* The data's subject, with the number in front of it: "12.5: The processors are overloaded". */
static int subject(const velto_alert* alert, const char* localization, velto_text* text) {
  double load = 0;
  if (host->alert_attribute_number(alert, "load", &load) == 0) {
    host->text_append_number(text, load, 1);
    host->text_append(text, ": ", 2);
  }
  return host->alert_subject(alert, localization, text);
}

static void recovery_options(const velto_alert* alert, velto_names* names) {
  (void)alert;
  host->names_append(names, "Recheck");
}

/* As many programs wait for a processor as there are processors, or fewer. */
static int is_calm(void) {
  double load = 0;
  return getloadavg(&load, 1) == 1 ? load <= (double)sysconf(_SC_NPROCESSORS_ONLN) : -1;
}

/* The action keeps nothing; any address but NULL will do for its object. */
static void* create(const velto_alert* alert) {
  (void)alert;
  return &host;
}

static void destroy(void* self) {
  (void)self;
}

static int has_been_resolved(void* self, const velto_alert* alert) {
  (void)self;
  (void)alert;
  return is_calm();
}

static int run(void* self, const velto_alert* alert, const char* localization, velto_error* error) {
  (void)self;
  (void)alert;
  (void)localization;
  if (is_calm() == 1) return 0;
  host->error_set(error, 1, "The load is still high.");
  return 1;
}

static const velto_alert_class high_load = {subject, NULL, recovery_options};
static const velto_action_class recheck = {create, destroy, has_been_resolved, run};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  if (daemon->size < sizeof *daemon) return 1; /* it lacks text_append_number */
  host = daemon;
  return host->register_alert_class(registry, "HighLoad", &high_load) != 0 ||
         host->register_action_class(registry, "Recheck", &recheck) != 0;
}
