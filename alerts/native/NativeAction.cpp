// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeAction.h"

#include <utility>

#include "alerts/AlertBundleErrors.h"
#include "alerts/native/NativeHost.h"
#include "platform/foundation/Log.h"

namespace velto {
namespace {

class NativeAction : public VLAlertAction {
 public:
  NativeAction(const velto_action_class& actionClass, std::shared_ptr<const AlertBundle> bundle,
               std::string className, std::unique_ptr<VLAlertSubclass> alert,
               const ActionContext& context)
      : class_(actionClass),
        bundle_(std::move(bundle)),
        className_(std::move(className)),
        alert_(std::move(alert)),
        log_(context.log),
        object_(class_.create(&handle_)) {}
  ~NativeAction() override {
    if (object_ != nullptr) {
      class_.destroy(object_);
    }
  }
  NativeAction(const NativeAction&) = delete;
  NativeAction& operator=(const NativeAction&) = delete;

  bool hasObject() const { return object_ != nullptr; }

  std::string name() const {
    return "Recovery action '" + className_ + "' of alert bundle '" + bundle_->key() + "'";
  }

  std::string title(std::string_view localization) const override {
    return bundle_->titleOfAction(className_, localization);
  }

  bool hasBeenResolved() override {
    const int answer = callNative([&] { return class_.has_been_resolved(object_, &handle_); });
    if (answer != 0 && answer != 1) {
      log_.warning(name() + ", asked whether it has been resolved, answered " +
                   std::to_string(answer));
    }
    return answer == 1;
  }

  bool runWithLocalization(std::string_view localization, ErrorSlot error) override {
    velto_error failure;
    const velto_alert handle{*alert_, readerOf(*bundle_, localization)};
    const int result = callNative(
        [&] { return class_.run(object_, &handle, handle.reader.language.c_str(), &failure); });
    if (result == 0) {
      return true;
    }
    if (failure.isSet) {
      setIfEmpty(error, makeError(bundle_->key(), failure.code, failure.description));
    } else {
      setIfEmpty(error, makeError(kBundleErrorDomain, kActionFailedErrorCode,
                                  name() + " ended with " + std::to_string(result) + "."));
    }
    return false;
  }

 private:
  const velto_action_class& class_;
  const std::shared_ptr<const AlertBundle> bundle_;
  const std::string className_;
  const std::unique_ptr<VLAlertSubclass> alert_;
  Log& log_;
  const velto_alert handle_{*alert_, {}};
  void* const object_;
};

}  // namespace

std::unique_ptr<VLAlertAction> makeNativeAction(const velto_action_class& actionClass,
                                                std::shared_ptr<const AlertBundle> bundle,
                                                const std::string& className,
                                                std::unique_ptr<VLAlertSubclass> alert,
                                                const ActionContext& context, ErrorSlot error) {
  auto action = std::make_unique<NativeAction>(actionClass, std::move(bundle), className,
                                               std::move(alert), context);
  if (!action->hasObject()) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kActionFailedErrorCode,
                                action->name() + " cannot be made."));
    return nullptr;
  }
  return action;
}

}  // namespace velto
