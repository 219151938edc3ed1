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

typedef enum velto_alert_date {
  VELTO_ALERT_CREATION_DATE,
  VELTO_ALERT_SENT_DATE,
  VELTO_ALERT_READ_DATE,
  VELTO_ALERT_RESOLVED_DATE
} velto_alert_date;

/* What the daemon does for a bundle. Later versions of the interface append functions; `size` is
 * the size of the structure that this daemon has. */
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
} velto_host;

#ifdef __cplusplus
}
#endif

#endif
