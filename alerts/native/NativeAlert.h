// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

#include <velto/alert_bundle.h>

#include "alerts/VLAlert.h"

namespace velto {

class Log;

/// An alert whose class a bundle's code registered. What the code leaves out, the data of the
/// bundle says: `declared` is the same alert as the data knows it. So it is with text that is not
/// UTF-8, of which `log` is told each time. `alertClass` stays for good, and `log` outlives the
/// alert.
std::unique_ptr<VLAlertSubclass> makeNativeAlert(const velto_alert_class& alertClass,
                                                 std::unique_ptr<VLAlertSubclass> declared,
                                                 Log& log);

}  // namespace velto
