/* SPDX-License-Identifier: Apache-2.0 */
/* The interface between the alerts daemon and an alert bundle with code.
 *
 * A bundle with code names its shared object in Info.plist (CFBundleExecutable = libX.so, found in
 * Contents/Linux). The shared object exports two symbols:
 *
 *     const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;
 *     int velto_alert_bundle_register(const velto_host *host, velto_registry *registry);
 *
 * The second is called once, after loading; it registers the bundle's classes by name and returns
 * 0, or anything else to say that the bundle cannot be used. The code stays loaded for the life of
 * the process. All text is UTF-8. Functions of one object are called by one thread at a time,
 * functions of different objects by several at once. No exception may leave the bundle. What the
 * host hands in (alerts, texts, errors) is valid until the function returns.
 */
#ifndef VELTO_ALERT_BUNDLE_H
#define VELTO_ALERT_BUNDLE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VELTO_ALERT_BUNDLE_INTERFACE 1u

typedef struct velto_registry velto_registry;
typedef struct velto_alert velto_alert;
typedef struct velto_text velto_text;
typedef struct velto_error velto_error;
typedef struct velto_names velto_names;

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
  /* Does what is to be done. Returns 0 on success; on failure it may set the error. */
  int (*run)(void* self, const velto_alert* alert, const char* localization, velto_error* error);
} velto_action_class;

typedef enum velto_alert_date {
  VELTO_ALERT_CREATION_DATE,
  VELTO_ALERT_SENT_DATE,
  VELTO_ALERT_READ_DATE,
  VELTO_ALERT_RESOLVED_DATE
} velto_alert_date;

/* What the daemon does for a bundle. Later versions of the interface append functions; `size` is
 * the size of the structure that this daemon has. A bundle whose registration finds it smaller than
 * its own sizeof(velto_host) was built for a later daemon, and had better return a failure. */
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
  /* An attribute of the alert: appended as people read it, or as a number. Return 0, or -1 when
   * there is none of that kind. */
  int (*alert_attribute_text)(const velto_alert* alert, const char* name, velto_text* text);
  int (*alert_attribute_number)(const velto_alert* alert, const char* name, double* number);

  /* Appends a number, however large, with so many digits behind the point (at most 17). */
  void (*text_append_number)(velto_text* text, double number, int decimals);
  /* Registers the class of the bundle's alerts that nothing else takes: whose type has no class of
   * its own and is not declared in VLAlertTypes, or that have no type. Otherwise like
   * register_alert_class; a bundle has one such class. */
  int (*register_default_alert_class)(velto_registry* registry,
                                      const velto_alert_class* alert_class);
} velto_host;

#ifdef __cplusplus
}
#endif

#endif
