// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include <velto/alert_bundle.h>

#include "alerts/AlertBundle.h"
#include "alerts/DeclaredAction.h"
#include "alerts/VLAlertAction.h"

namespace velto {

/// The recovery action of a class that a bundle's code registered, for an alert; null, with an
/// error that names the class, when the class makes no object. `actionClass` stays for good. The
/// code runs in the caller's thread: nobody can end it when it takes too long.
std::unique_ptr<VLAlertAction> makeNativeAction(const velto_action_class& actionClass,
                                                std::shared_ptr<const AlertBundle> bundle,
                                                const std::string& className,
                                                std::unique_ptr<VLAlertSubclass> alert,
                                                const ActionContext& context, ErrorSlot error);

}  // namespace velto
