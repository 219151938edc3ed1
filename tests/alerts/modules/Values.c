// SPDX-License-Identifier: Apache-2.0
/* A bundle's code in C that tells all that it can read of an alert, and writes it in a language. */

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

#include <velto/alert_bundle.h>

static const velto_host* host;
static const velto_bundle* self;

/* Where to write, and for whom. */
typedef struct output {
  velto_text* text;
  const char* localization;
} output;

static void append(velto_text* text, const char* line) {
  host->text_append(text, line, strlen(line));
}

/* What each reader of a single value makes of it. */
static void append_readings(velto_text* text, const velto_value* value) {
  char line[200];
  int64_t whole = 0;
  uint64_t large = 0;
  double real = 0;
  int condition = 0;
  double seconds = 0;
  if (host->value_integer(value, &whole) == 0) {
    snprintf(line, sizeof line, " i%" PRId64, whole);
    append(text, line);
  }
  if (host->value_unsigned(value, &large) == 0) {
    snprintf(line, sizeof line, " u%" PRIu64, large);
    append(text, line);
  }
  if (host->value_real(value, &real) == 0) {
    snprintf(line, sizeof line, " r%g", real);
    append(text, line);
  }
  if (host->value_boolean(value, &condition) == 0) append(text, condition ? " true" : " false");
  if (host->value_date(value, &seconds) == 0) {
    snprintf(line, sizeof line, " d%g", seconds);
    append(text, line);
  }
  size_t length = 0;
  const char* bytes = host->value_bytes(value, &length);
  if (bytes != NULL) {
    snprintf(line, sizeof line, " b%zu:", length);
    append(text, line);
    host->text_append(text, bytes, length);
  }
}

static int visit(void* context, const char* key, const velto_value* value) {
  const output* out = context;
  char line[40];
  append(out->text, key == NULL ? "-" : key);
  snprintf(line, sizeof line, " %d", (int)host->value_kind(value));
  append(out->text, line);
  append_readings(out->text, value);
  if (host->value_count(value) > 0) {
    append(out->text, " (");
    host->value_each(value, visit, context);
    append(out->text, ")");
  }
  append(out->text, key != NULL && strcmp(key, "last") == 0 ? "." : "; ");
  return key != NULL && strcmp(key, "last") == 0 ? 7 : 0;
}

/* All functions with nothing, or with what they are not for. */
static int is_safe(const velto_alert* alert, velto_text* text) {
  const velto_value* number = host->alert_attribute(alert, "a");
  size_t length = 0;
  host->bundle_log(NULL, "x");
  host->bundle_log(self, NULL);
  host->text_append_value(NULL, number, "en");
  host->text_append_value(text, NULL, "en");
  host->text_append_value(text, number, NULL);
  host->text_append_date(NULL, 0, "en");
  host->text_append_date(text, 0, NULL);
  host->text_append_number_for(NULL, 0, 0, "en");
  host->text_append_number_for(text, 0, 0, NULL);
  return host->alert_attribute(NULL, "a") == NULL && host->alert_attribute(alert, NULL) == NULL &&
         host->alert_attribute(alert, "missing") == NULL &&
         host->alert_attributes_each(alert, NULL, NULL) == -1 &&
         host->value_kind(NULL) == VELTO_ABSENT && host->value_integer(number, NULL) == -1 &&
         host->value_unsigned(NULL, NULL) == -1 && host->value_real(number, NULL) == -1 &&
         host->value_boolean(number, NULL) == -1 && host->value_date(NULL, NULL) == -1 &&
         host->value_bytes(number, &length) == NULL && host->value_bytes(NULL, NULL) == NULL &&
         host->value_count(NULL) == 0 && host->value_at(number, 0) == NULL &&
         host->value_for_key(number, "a") == NULL && host->value_each(number, visit, NULL) == -1 &&
         host->value_each(NULL, NULL, NULL) == -1 && host->alert_json(NULL, text) == -1 &&
         host->alert_json(alert, NULL) == -1 && host->alert_type_name(alert, NULL, text) == -1 &&
         host->registry_bundle(NULL) == NULL;
}

/* Tells every attribute. */
static int subject(const velto_alert* alert, const char* localization, velto_text* text) {
  output out = {text, localization};
  const int answer = host->alert_attributes_each(alert, visit, &out);
  append(text, answer == 7 ? " ended" : answer == 0 ? " all" : " ?");
  append(text, is_safe(alert, text) ? "" : " unsafe");
  return 0;
}

/* Writes for the reader. */
static int message(const velto_alert* alert, const char* localization, velto_text* text) {
  const velto_value* list = host->alert_attribute(alert, "list");
  append(text, localization);
  append(text, "|");
  host->alert_bundle_name(alert, localization, text);
  append(text, "|");
  host->alert_type_name(alert, localization, text);
  append(text, "|");
  host->text_append_value(text, list, localization);
  append(text, "|");
  host->text_append_value(text, host->value_at(list, 0), localization);
  append(text, "|");
  host->text_append_number_for(text, 1234.56, 1, localization);
  append(text, "|");
  host->text_append_date(text, 0, localization);
  append(text, "|");
  host->alert_subject(alert, localization, text);
  append(text, "|");
  host->alert_json(alert, text);
  host->bundle_log(self, "a line\nand \xff");
  return 0;
}

static const velto_alert_class values = {subject, message, NULL};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  if (!VELTO_HOST_HAS(daemon, bundle_log)) return 1;
  host = daemon;
  self = host->registry_bundle(registry);
  return host->register_alert_class(registry, "Test", &values);
}
