// SPDX-License-Identifier: Apache-2.0
/* A bundle's code in C with the classes of an alert and of two recovery actions. */

#include <stdlib.h>
#include <string.h>

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

static const velto_host* host;
static int objects;

static void append(velto_text* text, const char* line) {
  host->text_append(text, line, strlen(line));
}

/* Whether the alert's attribute "do" asks for this. */
static int is_to(const velto_alert* alert, const char* what) {
  size_t length = 0;
  velto_text* asked = host->text_create();
  host->alert_attribute_text(alert, "do", asked);
  const int is_asked = strcmp(host->text_bytes(asked, &length), what) == 0;
  host->text_destroy(asked);
  return is_asked;
}

static int subject(const velto_alert* alert, const char* localization, velto_text* text) {
  if (is_to(alert, "fail")) return -1;
  append(text, is_to(alert, "binary") ? "\xff" : localization);
  append(text, ": ");
  if (host->alert_attribute_text(alert, "volume", text) != 0) append(text, "?");
  double percent = 0;
  if (host->alert_attribute_number(alert, "percent", &percent) == 0 && percent == 93) {
    append(text, " 93%");
  }
  append(text, ", ");
  return host->alert_subject(alert, "en", text);
}

static void recovery_options(const velto_alert* alert, velto_names* names) {
  (void)alert;
  host->names_append(names, "Fix");
  host->names_append(names, "");
  host->names_append(names, NULL);
  host->names_append(NULL, "x");
  host->names_append(names, "Declared");
}

static void* create(const velto_alert* alert) {
  double number = 0;
  if (host->alert_attribute_number(alert, "volume", &number) == 0 ||
      host->alert_attribute_number(alert, "percent", NULL) == 0 ||
      host->alert_attribute_text(alert, "missing", NULL) == 0) {
    return NULL;
  }
  ++objects;
  return &objects;
}

static void* create_nothing(const velto_alert* alert) {
  (void)alert;
  return NULL;
}

static void destroy(void* self) {
  --*(int*)self;
}

static int has_been_resolved(void* self, const velto_alert* alert) {
  (void)self;
  const char* identifier = host->alert_identifier(alert);
  return identifier == NULL ? -1 : strcmp(identifier, "gone") == 0;
}

static int run(void* self, const velto_alert* alert, const char* localization, velto_error* error) {
  if (is_to(alert, "error")) host->error_set(error, 42, "No hammer.");
  if (is_to(alert, "leak")) return *(int*)self - 1;
  return strcmp(localization, "en") != 0;
}

static const velto_alert_class alert_class = {subject, NULL, recovery_options};
static const velto_alert_class plain_class = {NULL, NULL, NULL};
static const velto_action_class action_class = {create, destroy, has_been_resolved, run};
static const velto_action_class void_class = {create_nothing, destroy, has_been_resolved, run};
static const velto_action_class incomplete = {create, destroy, NULL, run};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  host = daemon;
  return host->register_alert_class(registry, "Full", &alert_class) != 0 ||
         host->register_alert_class(registry, "Plain", &plain_class) != 0 ||
         host->register_alert_class(registry, "Full", &alert_class) == 0 ||
         host->register_default_alert_class(registry, NULL) == 0 ||
         host->register_default_alert_class(NULL, &alert_class) == 0 ||
         host->register_alert_class(registry, "", &alert_class) == 0 ||
         host->register_alert_class(registry, "Other", NULL) == 0 ||
         host->register_action_class(registry, "Fix", &action_class) != 0 ||
         host->register_action_class(registry, "Void", &void_class) != 0 ||
         host->register_action_class(registry, "Fix", &action_class) == 0 ||
         host->register_action_class(registry, "Incomplete", &incomplete) == 0 ||
         host->register_action_class(registry, NULL, &action_class) == 0;
}
