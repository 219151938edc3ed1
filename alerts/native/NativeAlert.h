// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>

#include <velto/alert_bundle.h>

#include "alerts/VLAlert.h"

namespace velto {

/// An alert whose class a bundle's code registered. What the code leaves out, the data of the
/// bundle says: `declared` is the same alert as the data knows it. `alertClass` stays for good.
std::unique_ptr<VLAlertSubclass> makeNativeAlert(const velto_alert_class& alertClass,
                                                 std::unique_ptr<VLAlertSubclass> declared);

}  // namespace velto
