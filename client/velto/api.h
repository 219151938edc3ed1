/* SPDX-License-Identifier: Apache-2.0 */
#ifndef VELTO_API_H
#define VELTO_API_H

/* What libvlalerts offers to programs; everything else in it is hidden. */
#define VELTO_API __attribute__((visibility("default")))
/* What is private within that. */
#define VELTO_INNER __attribute__((visibility("hidden")))

#endif
