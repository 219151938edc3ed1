// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeClasses.h"

#include <utility>

#include "alerts/native/NativeEmailFormatter.h"

namespace velto {
namespace {

template <typename Classes>
typename Classes::mapped_type classNamed(const Classes& classes, std::string_view name) {
  const auto found = classes.find(name);
  return found == classes.end() ? nullptr : found->second;
}

}  // namespace

bool NativeClasses::isTaken(std::string_view className) const {
  MutexLock lock(mutex_);
  return formatters_.find(className) != formatters_.end();
}

void NativeClasses::add(const std::string& bundle, OfBundle classes) {
  MutexLock lock(mutex_);
  formatters_.merge(classes.formatters);
  bundles_.insert_or_assign(bundle, std::move(classes));
}

const velto_alert_class* NativeClasses::alertClass(std::string_view bundle,
                                                   std::string_view type) const {
  MutexLock lock(mutex_);
  const auto found = bundles_.find(bundle);
  return found == bundles_.end() ? nullptr : classNamed(found->second.alerts, type);
}

const velto_alert_class* NativeClasses::defaultAlertClass(std::string_view bundle) const {
  MutexLock lock(mutex_);
  const auto found = bundles_.find(bundle);
  return found == bundles_.end() ? nullptr : found->second.otherAlerts;
}

const velto_action_class* NativeClasses::actionClass(std::string_view bundle,
                                                     std::string_view name) const {
  MutexLock lock(mutex_);
  const auto found = bundles_.find(bundle);
  return found == bundles_.end() ? nullptr : classNamed(found->second.actions, name);
}

std::unique_ptr<EmailFormatter> NativeClasses::makeEmailFormatter(
    std::string_view className) const {
  NativeFormatterClass formatterClass;
  {
    MutexLock lock(mutex_);
    const auto found = formatters_.find(className);
    if (found == formatters_.end()) {
      return nullptr;
    }
    formatterClass = found->second;
  }
  // The bundle's code runs without the lock: it may take its time.
  void* object = formatterClass.functions->create();
  return object == nullptr ? nullptr
                           : std::make_unique<NativeEmailFormatter>(
                                 object, std::move(formatterClass), std::string(className), log_);
}

}  // namespace velto
