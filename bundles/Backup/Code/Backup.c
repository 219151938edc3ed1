// SPDX-License-Identifier: Apache-2.0
/* The code of Backup.bundle: a subject with a list in it, and a recovery action. */

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <velto/alert_bundle.h>

static const velto_host* host;
static const velto_bundle* self;

/* The data's subject and the volumes: "The backup has failed: /home and /srv". */
static int subject(const velto_alert* alert, const char* localization, velto_text* text) {
  const velto_value* volumes = host->alert_attribute(alert, "volumes");
  if (host->alert_subject(alert, localization, text) != 0) return -1;
  if (host->value_count(volumes) > 0) {
    host->text_append(text, ": ", 2);
    host->text_append_value(text, volumes, localization);
  }
  return 0;
}

/* The path of the file that is to go, or NULL. */
static const char* lock_of(const velto_alert* alert) {
  const velto_value* lock = host->alert_attribute(alert, "lock");
  size_t length = 0;
  return host->value_kind(lock) == VELTO_STRING ? host->value_bytes(lock, &length) : NULL;
}

/* The action keeps nothing; any address but NULL will do for its object. */
static void* create(const velto_alert* alert) {
  (void)alert;
  return &host;
}

static void destroy(void* action) {
  (void)action;
}

static int has_been_resolved(void* action, const velto_alert* alert) {
  const char* lock = lock_of(alert);
  (void)action;
  if (lock == NULL) {
    host->bundle_log(self, "an alert without a lock cannot be looked after");
    return -1;
  }
  return access(lock, F_OK) != 0;
}

static int run(void* action, const velto_alert* alert, const char* localization,
               velto_error* error) {
  const char* lock = lock_of(alert);
  (void)action;
  (void)localization;
  if (lock != NULL && (unlink(lock) == 0 || errno == ENOENT)) return 0;
  host->error_set(error, lock == NULL ? EINVAL : errno, "The lock cannot be removed.");
  return 1;
}

static const velto_alert_class failed = {subject, NULL, NULL};
static const velto_action_class remove_lock = {create, destroy, has_been_resolved, run};

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  if (!VELTO_HOST_HAS(daemon, bundle_log)) return 1; /* a daemon of an earlier time */
  host = daemon;
  self = host->registry_bundle(registry);
  return host->register_alert_class(registry, "Failed", &failed) != 0 ||
         host->register_action_class(registry, "RemoveLock", &remove_lock) != 0;
}
