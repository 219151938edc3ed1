// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeAlert.h"

#include <string>
#include <utility>

#include "alerts/native/NativeHost.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

using TextFunction = int (*)(const velto_alert*, const char*, velto_text*);

class NativeAlert : public VLAlertSubclass {
 public:
  NativeAlert(const velto_alert_class& alertClass, std::shared_ptr<const AlertBundle> bundle,
              const VLAlert& alert, Log& log)
      : VLAlertSubclass(alert),
        class_(alertClass),
        bundle_(std::move(bundle)),
        declared_(AlertBundle::makeAlert(bundle_, alert)),
        log_(log) {}

  std::optional<std::string> subject(std::string_view localization) const override {
    const auto own = text(class_.subject, "subject", localization);
    return own ? own : declared_->subject(localization);
  }
  std::optional<std::string> message(std::string_view localization) const override {
    const auto own = text(class_.message, "message", localization);
    return own ? own : declared_->message(localization);
  }
  std::optional<std::string> bundleName(std::string_view localization) const override {
    return declared_->bundleName(localization);
  }
  std::optional<std::string> typeName(std::string_view localization) const override {
    return declared_->typeName(localization);
  }
  std::vector<std::string> recoveryOptions() const override {
    if (class_.recovery_options == nullptr) {
      return declared_->recoveryOptions();
    }
    const velto_alert handle{*declared_, {}};
    velto_names names;
    callNative([&] { return class_.recovery_options(&handle, &names), 0; });
    return std::move(names.names);
  }
  bool mayHaveRecoveryOptions() const override {
    return class_.recovery_options != nullptr || declared_->mayHaveRecoveryOptions();
  }

 private:
  /// What the code's function appends; nothing without a function, and for what is not UTF-8.
  std::optional<std::string> text(TextFunction function, std::string_view kind,
                                  std::string_view localization) const {
    if (function == nullptr) {
      return std::nullopt;
    }
    const NativeReader reader = readerOf(*bundle_, localization);
    const velto_alert handle{*declared_, reader};
    velto_text text{{}, reader};
    if (callNative([&] { return function(&handle, reader.language.c_str(), &text); }) != 0) {
      return std::nullopt;
    }
    if (invalidUTF8Offset(text.utf8)) {
      log_.warning("The code of alert bundle '" + alert().bundle.value_or("") + "' gave a " +
                   std::string(kind) + " that is not UTF-8.");
      return std::nullopt;
    }
    return std::move(text.utf8);
  }

  const velto_alert_class& class_;
  const std::shared_ptr<const AlertBundle> bundle_;
  const std::unique_ptr<VLAlertSubclass> declared_;
  Log& log_;
};

}  // namespace

std::unique_ptr<VLAlertSubclass> makeNativeAlert(const velto_alert_class& alertClass,
                                                 std::shared_ptr<const AlertBundle> bundle,
                                                 const VLAlert& alert, Log& log) {
  return std::make_unique<NativeAlert>(alertClass, std::move(bundle), alert, log);
}

}  // namespace velto
