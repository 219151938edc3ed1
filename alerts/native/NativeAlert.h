// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

#include <velto/alert_bundle.h>

#include "alerts/AlertBundle.h"
#include "alerts/VLAlert.h"

namespace velto {

class Log;

/// An alert whose class a bundle's code registered. What the code leaves out, the data of the
/// bundle says: So it is with text that is not
/// UTF-8, of which `log` is told each time. The code is told one of the languages of `bundle`.
/// `alertClass` stays for good, and `log` outlives the alert.
std::unique_ptr<VLAlertSubclass> makeNativeAlert(const velto_alert_class& alertClass,
                                                 std::shared_ptr<const AlertBundle> bundle,
                                                 const VLAlert& alert, Log& log);

}  // namespace velto
