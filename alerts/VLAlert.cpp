// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlert.h"

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Shared.h"

namespace velto {

std::unique_ptr<VLAlertSubclass> VLAlert::alertSubclass(ErrorSlot error) const {
  return Shared<AlertBundleRegistry>::object("VLAlert::alertSubclass").alertSubclass(*this, error);
}

std::unique_ptr<VLAlertAction> VLAlertAction::alertActionWithClassName(const std::string& className,
                                                                       const VLAlert& alert,
                                                                       ErrorSlot error) {
  return Shared<AlertBundleRegistry>::object("VLAlertAction::alertActionWithClassName")
      .alertAction(className, alert, error);
}

VLAlert VLAlert::alertWithAlert(const VLAlertSubclass& alert) {
  return alert.alert();
}

}  // namespace velto
