#include "platform/foundation/VLAlert.h"

#include "platform/foundation/AlertBundleRegistry.h"

namespace velto {

std::unique_ptr<VLAlertSubclass> VLAlert::alertSubclass(ErrorSlot error) const {
  return AlertBundleRegistry::shared().alertSubclass(*this, error);
}

VLAlert VLAlert::alertWithAlert(const VLAlertSubclass& alert) {
  return alert.alert();
}

}  // namespace velto
