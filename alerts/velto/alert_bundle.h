/* SPDX-License-Identifier: Apache-2.0 */
/* The interface between the alerts daemon and an alert bundle with code.
 *
 * A bundle with code names its shared object in Info.plist (CFBundleExecutable = libX.so, found in
 * Contents/Linux). The shared object exports the two symbols that are declared at the end.
 *
 * The code stays loaded for the life of the process. All text is UTF-8. Functions of one object are
 * called by one thread at a time, functions of different objects by several at once. No exception
 * may leave the bundle. What the host hands in (alerts, values, texts, errors) is valid until the
 * function returns.
 *
 * A `localization` that a class of an alert or an action gets is one of the bundle's languages, as
 * its folder spells it ("de" for de.lproj): the one that suits the reader best. Handed on to the
 * host it still means that reader, with the region, so that 1.5 is "1,5" in Germany and "1.5" in
 * Switzerland. Only a bundle without languages gets what the reader is registered with, and so do
 * formatters, which write about other bundles: a language tag ("de-CH") or a locale name.
 */
#ifndef VELTO_ALERT_BUNDLE_H
#define VELTO_ALERT_BUNDLE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VELTO_ALERT_BUNDLE_INTERFACE 1u

#ifdef __GNUC__
#define VELTO_ALERT_BUNDLE_EXPORT __attribute__((visibility("default")))
#else
#define VELTO_ALERT_BUNDLE_EXPORT
#endif

/* Whether the daemon has a function of the table: VELTO_HOST_HAS(host, alert_json). */
#define VELTO_HOST_HAS(host, function) \
  ((host)->size >= offsetof(velto_host, function) + sizeof((host)->function))

typedef struct velto_registry velto_registry;
typedef struct velto_alert velto_alert;
typedef struct velto_text velto_text;
typedef struct velto_error velto_error;
typedef struct velto_names velto_names;
typedef struct velto_value velto_value;
typedef struct velto_bundle velto_bundle;

/* A class that writes mail messages. The functions return 0 on success. */
typedef struct velto_email_formatter_class {
  /* A new object, or NULL when there is no memory; destroy ends its life. */
  void* (*create)(void);
  void (*destroy)(void* self);
  /* Appends the sender; nothing appended means no sender. */
  int (*from_address)(void* self, const char* localization, velto_text* sender);
  /* Appends further header lines, the empty line that ends the header, and the text, with "\n" at
   * line ends. On failure it sets the error. */
  int (*format_message)(void* self, const velto_alert* alert, const char* localization,
                        velto_text* message, velto_error* error);
} velto_email_formatter_class;

/* The class of an alert type. What it leaves out (NULL, or a result that is not 0) is taken from
 * the bundle's data: Alerts.strings and VLAlertTypes. In these functions, the host's alert_subject
 * and alert_message give what the data says. */
typedef struct velto_alert_class {
  /* Append the text in the language. Return 0 on success. */
  int (*subject)(const velto_alert* alert, const char* localization, velto_text* subject);
  int (*message)(const velto_alert* alert, const char* localization, velto_text* message);
  /* Appends the names of the recovery actions, in the order to offer them. */
  void (*recovery_options)(const velto_alert* alert, velto_names* names);
} velto_alert_class;

/* The class of a recovery action. All functions are there. They run in the daemon, which cannot end
 * them: what may take long, or hang, is better done by a program in Actions. */
typedef struct velto_action_class {
  /* A new action for the alert, or NULL when there is no memory; destroy ends its life. */
  void* (*create)(const velto_alert* alert);
  void (*destroy)(void* self);
  /* Whether the condition behind the alert has gone away: 1 yes, 0 no, anything else unknown. */
  int (*has_been_resolved)(void* self, const velto_alert* alert);
  /* Does what is to be done. Returns 0 on success; on failure it may set the error, whose domain is
   * the bundle's key. */
  int (*run)(void* self, const velto_alert* alert, const char* localization, velto_error* error);
} velto_action_class;

typedef enum velto_alert_date {
  VELTO_ALERT_CREATION_DATE,
  VELTO_ALERT_SENT_DATE,
  VELTO_ALERT_READ_DATE,
  VELTO_ALERT_RESOLVED_DATE
} velto_alert_date;

/* What an attribute is. A boolean is no number, and an integer is unsigned only where it is too
 * large for the signed kind. */
typedef enum velto_kind {
  VELTO_ABSENT,
  VELTO_STRING,
  VELTO_INTEGER,
  VELTO_UNSIGNED,
  VELTO_REAL,
  VELTO_BOOLEAN,
  VELTO_DATE,
  VELTO_DATA,
  VELTO_LIST,
  VELTO_DICTIONARY
} velto_kind;

/* Is given one value after the other; the key is NULL for those of a list. Returns 0 to go on. */
typedef int (*velto_visitor)(void* context, const char* key, const velto_value* value);

/* What the daemon does for a bundle. Later versions of the interface append functions; `size` is
 * the size of the structure that this daemon has. A bundle asks VELTO_HOST_HAS before it calls a
 * function that a daemon of its time may lack, or fails its registration without it. No function
 * minds a NULL: it does nothing and fails. */
typedef struct velto_host {
  uint32_t interface_version;
  uint32_t size;

  /* Registers a class under a name; the structure must stay as it is for the life of the process.
   * Returns 0, or -1 when the name is taken or a function is missing. */
  int (*register_email_formatter)(velto_registry* registry, const char* class_name,
                                  const velto_email_formatter_class* formatter_class);

  void (*text_append)(velto_text* text, const char* utf8, size_t length);
  /* An empty text of the bundle's own, to be destroyed by it, or NULL when there is no memory; and
   * the bytes of a text, which stay as they are until the text changes. A zero byte follows them.
   */
  velto_text* (*text_create)(void);
  void (*text_destroy)(velto_text* text);
  const char* (*text_bytes)(const velto_text* text, size_t* length);
  void (*error_set)(velto_error* error, int64_t code, const char* description);

  /* NULL when absent. */
  const char* (*alert_identifier)(const velto_alert* alert);
  const char* (*alert_type)(const velto_alert* alert);
  const char* (*alert_bundle)(const velto_alert* alert);
  /* Seconds since 2001-01-01 00:00:00 UTC. Returns 0, or -1 when absent. */
  int (*alert_date)(const velto_alert* alert, velto_alert_date which, double* seconds);
  /* Append the bundle's text for the alert. Return 0, or -1 when there is none. */
  int (*alert_subject)(const velto_alert* alert, const char* localization, velto_text* text);
  int (*alert_message)(const velto_alert* alert, const char* localization, velto_text* text);

  /* Register the class of the bundle's alert type of this name, and of its recovery action of this
   * name. Otherwise like register_email_formatter; other bundles may use the same names. */
  int (*register_alert_class)(velto_registry* registry, const char* type,
                              const velto_alert_class* alert_class);
  int (*register_action_class)(velto_registry* registry, const char* name,
                               const velto_action_class* action_class);
  void (*names_append)(velto_names* names, const char* name);
  /* An attribute of the alert: appended as programs read it, whatever the language, or as a number
   * (a boolean is 1 or 0). Return 0, or -1 when there is none of that kind. */
  int (*alert_attribute_text)(const velto_alert* alert, const char* name, velto_text* text);
  int (*alert_attribute_number)(const velto_alert* alert, const char* name, double* number);

  /* Appends a number, however large, with so many digits behind the point (at most 17). */
  void (*text_append_number)(velto_text* text, double number, int decimals);
  /* Registers the class of the bundle's alerts that nothing else takes: whose type has no class of
   * its own and is not declared in VLAlertTypes, or that have no type. Otherwise like
   * register_alert_class; a bundle has one such class. */
  int (*register_default_alert_class)(velto_registry* registry,
                                      const velto_alert_class* alert_class);

  /* An attribute of the alert, of any kind; NULL when absent. */
  const velto_value* (*alert_attribute)(const velto_alert* alert, const char* name);
  /* Has all attributes visited, by name in the order of their bytes. Returns what the visitor gave
   * when it did not go on, else 0. */
  int (*alert_attributes_each)(const velto_alert* alert, velto_visitor visit, void* context);
  /* VELTO_ABSENT for NULL. */
  velto_kind (*value_kind)(const velto_value* value);
  /* The value as the type asked for. Return 0, or -1 when it is of another kind or does not fit: an
   * integer reads as signed, unsigned and real, a real as real alone, a boolean as boolean alone. A
   * date is in seconds since 2001-01-01 00:00:00 UTC. */
  int (*value_integer)(const velto_value* value, int64_t* number);
  int (*value_unsigned)(const velto_value* value, uint64_t* number);
  int (*value_real)(const velto_value* value, double* number);
  int (*value_boolean)(const velto_value* value, int* condition);
  int (*value_date)(const velto_value* value, double* seconds);
  /* The bytes of a string, which a zero byte follows, or of data; NULL for any other kind. */
  const char* (*value_bytes)(const velto_value* value, size_t* length);
  /* How many values a list or a dictionary holds; 0 for any other kind. */
  size_t (*value_count)(const velto_value* value);
  /* The value in a list, from 0 on, and in a dictionary; NULL when there is none. */
  const velto_value* (*value_at)(const velto_value* list, size_t index);
  const velto_value* (*value_for_key)(const velto_value* dictionary, const char* key);
  /* Has the values of a list or a dictionary visited, as alert_attributes_each. */
  int (*value_each)(const velto_value* value, velto_visitor visit, void* context);
  /* Appends the alert as a recovery action's program reads it. Returns 0. */
  int (*alert_json)(const velto_alert* alert, velto_text* text);

  /* Append the name of the alert's bundle and of its type as people see them, in the language.
   * Return 0, or -1 when there is none. */
  int (*alert_bundle_name)(const velto_alert* alert, const char* localization, velto_text* text);
  int (*alert_type_name)(const velto_alert* alert, const char* localization, velto_text* text);
  /* Append as the language's readers write: a value of any kind, a number with at most so many
   * digits behind the point (17 at most), and a date with the time, in the machine's time zone. */
  void (*text_append_value)(velto_text* text, const velto_value* value, const char* localization);
  void (*text_append_number_for)(velto_text* text, double number, int decimals,
                                 const char* localization);
  void (*text_append_date)(velto_text* text, double seconds, const char* localization);

  /* The bundle that registers its classes, for the life of the process; and a line in the daemon's
   * log for it, at warning priority, once a minute at most. Any thread may log. */
  const velto_bundle* (*registry_bundle)(velto_registry* registry);
  void (*bundle_log)(const velto_bundle* bundle, const char* line);
} velto_host;

/* What the shared object exports: VELTO_ALERT_BUNDLE_INTERFACE as it was when it was compiled, and
 * the function that the daemon calls once, after loading. It registers the bundle's classes by name
 * and returns 0, or anything else to say that the bundle cannot be used. */
VELTO_ALERT_BUNDLE_EXPORT extern const uint32_t velto_alert_bundle_interface;
VELTO_ALERT_BUNDLE_EXPORT int velto_alert_bundle_register(const velto_host* host,
                                                          velto_registry* registry);

#ifdef __cplusplus
}
#endif

#endif
