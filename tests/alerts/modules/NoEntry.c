// SPDX-License-Identifier: Apache-2.0
/* Lacks the registration. */

#include <velto/alert_bundle.h>

__attribute__((visibility("default"))) extern const uint32_t velto_alert_bundle_interface;

const uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;
