/* SPDX-License-Identifier: Apache-2.0 */
/* Posting alerts from any language.
 *
 *     velto_post *post = velto_post_new("Disk", "AlmostFull");
 *     velto_post_set_integer(post, "percent", 93);
 *     if (velto_post_send(post) != 0)
 *       fprintf(stderr, "%s\n", velto_post_error(post)->description);
 *     velto_post_free(post);
 *
 * All text is UTF-8 and ends with a NUL. Functions that return int return 0 on success, and
 * otherwise a velto_error_kind, whose details velto_post_error tells. No argument may be NULL
 * unless it says so; but the first argument may be, and what velto_post_new returned for want of
 * memory need not be looked at before the end: every function then fails with VELTO_ERROR_SYSTEM.
 *
 * An object is used by one thread at a time; different objects by different threads at once.
 */
#ifndef VELTO_ALERTS_H
#define VELTO_ALERTS_H

#include <stddef.h>
#include <stdint.h>

#include <velto/api.h>

#ifdef __cplusplus
extern "C" {
#endif

/* What kind of failure an error is. Later versions may add some. */
typedef enum velto_error_kind {
  VELTO_ERROR_SERVICE = 1, /* the service's own error: domain, code and description are its words */
  VELTO_ERROR_INVALID_PARAMETER,
  VELTO_ERROR_METHOD_NOT_FOUND,
  VELTO_ERROR_METHOD_NOT_IMPLEMENTED,
  VELTO_ERROR_INTERFACE_NOT_FOUND,
  VELTO_ERROR_NOT_PERMITTED,
  VELTO_ERROR_NO_SUCH_ALERT,
  VELTO_ERROR_INVALID_POSITION,
  VELTO_ERROR_OTHER_ANSWER,
  VELTO_ERROR_NO_DAEMON,            /* nobody serves the socket */
  VELTO_ERROR_SOCKET_NOT_PERMITTED, /* the socket's mode does not let this user in */
  VELTO_ERROR_TIMED_OUT,
  VELTO_ERROR_CONNECTION_LOST,
  VELTO_ERROR_CLOSED,
  VELTO_ERROR_BAD_REPLY,
  VELTO_ERROR_INVALID_ARGUMENT, /* text that is not UTF-8, a number that is not finite, NULL */
  VELTO_ERROR_SYSTEM            /* no memory or descriptors, for instance */
} velto_error_kind;

typedef struct velto_post_failure {
  velto_error_kind kind;
  const char* domain;
  int64_t code;
  const char* description; /* one line, for people; never empty */
  /* Not 0 when the alert may have been posted all the same: no answer came. */
  int may_have_been_carried_out;
} velto_post_failure;

/* An alert to be posted. */
typedef struct velto_post velto_post;

/* A new alert of a bundle's type, created now. NULL without memory. */
VELTO_API velto_post* velto_post_new(const char* bundle, const char* type);

/* Set an attribute; a later value replaces an earlier one. A date is in seconds since 1970-01-01
 * 00:00:00 UTC, fractions count. data may be NULL when size is 0. */
VELTO_API int velto_post_set_text(velto_post* post, const char* name, const char* text);
VELTO_API int velto_post_set_integer(velto_post* post, const char* name, int64_t number);
VELTO_API int velto_post_set_real(velto_post* post, const char* name, double number);
VELTO_API int velto_post_set_date(velto_post* post, const char* name, double unix_seconds);
VELTO_API int velto_post_set_data(velto_post* post, const char* name, const void* data,
                                  size_t size);

/* Posts the alert and waits until it has been delivered and stored, at most two minutes. An object
 * for which a setter has failed is not sent, and the setter's error returned again: so it is enough
 * to look here. The service is found below VELTO_ROOT when that is set. */
VELTO_API int velto_post_send(velto_post* post);

/* The identifier under which the alert is posted; valid as long as the object. */
VELTO_API const char* velto_post_identifier(const velto_post* post);

/* The last failure, or NULL when there was none; valid until the next call for the object. */
VELTO_API const velto_post_failure* velto_post_error(const velto_post* post);

/* Ends the object's life. NULL is allowed. */
VELTO_API void velto_post_free(velto_post* post);

#ifdef __cplusplus
}
#endif

#endif
