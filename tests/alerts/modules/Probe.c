// SPDX-License-Identifier: Apache-2.0
/* A bundle's code in C: its formatter does what the localization asks for, and tells what the host
 * answered. */

#include <stdatomic.h>
#include <stdio.h>
#include <string.h>

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;
__attribute__((visibility("default"))) int velto_alert_bundle_register(const velto_host* host,
                                                                       velto_registry* registry);

static const velto_host* host;
static atomic_int objects;
static char registration[64];

static void append(velto_text* text, const char* line) {
  host->text_append(text, line, strlen(line));
}

static void append_line(velto_text* text, const char* label, const char* value) {
  append(text, label);
  append(text, value == NULL ? "(none)" : value);
  append(text, "\n");
}

static void* create(void) {
  ++objects;
  return &objects;
}

static void destroy(void* self) {
  --*(atomic_int*)self;
}

static void* create_nothing(void) {
  return NULL;
}

static int from_address(void* self, const char* localization, velto_text* sender) {
  (void)self;
  append(sender, strcmp(localization, "binary") == 0 ? "\xff" : localization);
  return strcmp(localization, "fail") == 0;
}

static void append_facts(const velto_alert* alert, velto_text* message) {
  char dates[160];
  double sent = 0;
  double read = -1;
  const int has_sent = host->alert_date(alert, VELTO_ALERT_SENT_DATE, &sent);
  const int has_read = host->alert_date(alert, VELTO_ALERT_READ_DATE, &read);
  append_line(message, "identifier ", host->alert_identifier(alert));
  append_line(message, "type ", host->alert_type(alert));
  append_line(message, "bundle ", host->alert_bundle(alert));
  snprintf(dates, sizeof dates, "%d %.1f, %d %.1f", has_sent, sent, has_read, read);
  append_line(message, "dates ", dates);
  append(message, "subject ");
  host->alert_subject(alert, "en", message);
  append(message, "\nmessage ");
  host->alert_message(alert, "en", message);
}

static void append_answers_to_nothing(const velto_alert* alert, velto_text* message) {
  char answers[160];
  double seconds = 0;
  size_t length = 0;
  velto_text* own = host->text_create();
  host->text_append(NULL, "x", 1);
  host->text_append(own, NULL, 1);
  host->text_append(own, "abc", 2);
  host->error_set(NULL, 1, "x");
  host->text_destroy(NULL);
  const char* bytes = host->text_bytes(own, &length);
  snprintf(answers, sizeof answers, "%s %zu %d %d %d %d %d %d %d %d", bytes, length,
           host->text_bytes(NULL, &length) == NULL, host->text_bytes(own, NULL) == NULL,
           host->alert_type(NULL) == NULL, host->alert_date(NULL, VELTO_ALERT_SENT_DATE, &seconds),
           host->alert_date(alert, VELTO_ALERT_SENT_DATE, NULL),
           host->alert_date(alert, (velto_alert_date)7, &seconds),
           host->alert_message(alert, NULL, own), host->alert_subject(alert, "en", NULL));
  append(message, answers);
  host->text_destroy(own);
}

static void append_numbers(velto_text* message) {
  const double numbers[] = {0, -1.25, 1e28, 1e308, 1e-300};
  for (size_t index = 0; index < sizeof numbers / sizeof *numbers; ++index) {
    host->text_append_number(message, numbers[index], 1);
    append(message, " ");
  }
  host->text_append_number(message, 0.5, -2147483647);
  host->text_append_number(message, 1e308, 2147483647);
  host->text_append_number(NULL, 1, 1);
}

static int format_message(void* self, const velto_alert* alert, const char* localization,
                          velto_text* message, velto_error* error) {
  (void)self;
  if (strcmp(localization, "fail") == 0) return 1;
  if (strcmp(localization, "error") == 0) {
    host->error_set(error, 42, "No ink.");
    return 1;
  }
  if (strcmp(localization, "nameless error") == 0) host->error_set(error, 43, NULL);
  if (strcmp(localization, "binary error") == 0) host->error_set(error, 44, "\xff");
  if (strcmp(localization, "binary") == 0) append(message, "\xc3");
  if (strcmp(localization, "objects") == 0) append(message, objects == 1 ? "one" : "many");
  if (strcmp(localization, "registration") == 0) append(message, registration);
  if (strcmp(localization, "facts") == 0) append_facts(alert, message);
  if (strcmp(localization, "numbers") == 0) append_numbers(message);
  if (strcmp(localization, "nothing") == 0) append_answers_to_nothing(alert, message);
  return 0;
}

static const velto_email_formatter_class probe = {create, destroy, from_address, format_message};
static const velto_email_formatter_class void_class = {create_nothing, destroy, from_address,
                                                       format_message};
static const velto_email_formatter_class incomplete = {create, NULL, from_address, format_message};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  host = daemon;
  const int results[] = {
      host->register_email_formatter(registry, "Probe", &probe),
      host->register_email_formatter(registry, "Probe", &probe),
      host->register_email_formatter(registry, "Void", &void_class),
      host->register_email_formatter(registry, "Incomplete", &incomplete),
      host->register_email_formatter(registry, "None", NULL),
      host->register_email_formatter(registry, NULL, &probe),
      host->register_email_formatter(registry, "\xff", &probe),
      host->register_email_formatter(NULL, "Other", &probe),
  };
  for (size_t index = 0; index < sizeof results / sizeof *results; ++index) {
    registration[index] = results[index] == 0 ? 'y' : 'n';
  }
  if (host->interface_version != VELTO_ALERT_BUNDLE_INTERFACE) return 1;
  if (host->size < sizeof *host) return 2;
  return 0;
}
