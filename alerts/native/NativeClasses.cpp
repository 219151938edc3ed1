// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeClasses.h"

#include <utility>

#include "alerts/native/NativeEmailFormatter.h"
#include "alerts/native/NativeHost.h"

namespace velto {
namespace {

template <typename Classes>
typename Classes::mapped_type classNamed(const Classes& classes, std::string_view name) {
  const auto found = classes.find(name);
  return found == classes.end() ? nullptr : found->second;
}

}  // namespace

const velto_alert_class* NativeClasses::OfBundle::alertClass(std::string_view type) const {
  return classNamed(alerts, type);
}

const velto_action_class* NativeClasses::OfBundle::actionClass(std::string_view name) const {
  return classNamed(actions, name);
}

NativeClasses::NativeClasses(Log& log) : log_(log) {}

NativeClasses::~NativeClasses() = default;

bool NativeClasses::isTaken(std::string_view className, std::string_view bundle) const {
  MutexLock lock(mutex_);
  const auto found = formatters_.find(className);
  return found != formatters_.end() && found->second.bundle != bundle;
}

void NativeClasses::add(const std::string& bundle, OfBundle classes) {
  MutexLock lock(mutex_);
  forget(bundle);
  formatters_.merge(classes.formatters);
  bundles_.insert_or_assign(bundle, std::make_shared<const OfBundle>(std::move(classes)));
}

void NativeClasses::remove(std::string_view bundle) {
  MutexLock lock(mutex_);
  forget(bundle);
}

const velto_bundle& NativeClasses::bundleNamed(const std::string& name) {
  MutexLock lock(mutex_);
  auto& handle = handles_[name];
  if (handle == nullptr) handle.reset(new velto_bundle{name, log_});
  return *handle;
}

void NativeClasses::forget(std::string_view bundle) {
  std::erase_if(formatters_, [&](const auto& entry) { return entry.second.bundle == bundle; });
  if (const auto found = bundles_.find(bundle); found != bundles_.end()) {
    bundles_.erase(found);
  }
}

std::shared_ptr<const NativeClasses::OfBundle> NativeClasses::ofBundle(
    std::string_view bundle) const {
  MutexLock lock(mutex_);
  const auto found = bundles_.find(bundle);
  return found == bundles_.end() ? nullptr : found->second;
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
