#include "alerts/VLAlert.h"

#include "alerts/AlertBundleRegistry.h"

namespace velto {

std::unique_ptr<VLAlertSubclass> VLAlert::alertSubclass(ErrorSlot error) const {
  return AlertBundleRegistry::shared().alertSubclass(*this, error);
}

std::unique_ptr<VLAlertAction> VLAlertAction::alertActionWithClassName(const std::string& className,
                                                                       const VLAlert& alert,
                                                                       ErrorSlot error) {
  return AlertBundleRegistry::shared().alertAction(className, alert, error);
}

VLAlert VLAlert::alertWithAlert(const VLAlertSubclass& alert) {
  return alert.alert();
}

}  // namespace velto
