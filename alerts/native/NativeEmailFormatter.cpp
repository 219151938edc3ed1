// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeEmailFormatter.h"

#include <utility>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/native/NativeHost.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UTF8.h"

namespace velto {

NativeEmailFormatter::NativeEmailFormatter(void* object, NativeFormatterClass formatterClass,
                                           std::string className, Log& log)
    : object_(object),
      class_(std::move(formatterClass)),
      className_(std::move(className)),
      log_(log) {}

NativeEmailFormatter::~NativeEmailFormatter() {
  class_.functions->destroy(object_);
}

std::optional<std::string> NativeEmailFormatter::fromAddress(std::string_view localization) {
  velto_text sender;
  const std::string language(localization);
  const int result = callNative(
      [&] { return class_.functions->from_address(object_, language.c_str(), &sender); });
  if (result != 0 || sender.utf8.empty()) {
    return std::nullopt;
  }
  if (invalidUTF8Offset(sender.utf8)) {
    loggedFailure("gave a sender that is not UTF-8");
    return std::nullopt;
  }
  return std::move(sender.utf8);
}

std::optional<std::string> NativeEmailFormatter::formatMessage(const VLAlertSubclass& alert,
                                                               std::string_view localization,
                                                               ErrorSlot error) {
  const velto_alert handle{alert, {}};
  velto_text message;
  velto_error problem;
  const std::string language(localization);
  const int result = callNative([&] {
    return class_.functions->format_message(object_, &handle, language.c_str(), &message, &problem);
  });
  if (problem.isSet) {
    setIfEmpty(error, makeError(class_.bundle, problem.code, problem.description));
    return std::nullopt;
  }
  if (result != 0) {
    setIfEmpty(error, failure("cannot format the message"));
    return std::nullopt;
  }
  if (invalidUTF8Offset(message.utf8)) {
    setIfEmpty(error, loggedFailure("gave a message that is not UTF-8"));
    return std::nullopt;
  }
  return std::move(message.utf8);
}

Error NativeEmailFormatter::failure(std::string_view what) const {
  return makeError(kBundleErrorDomain, kFormatterFailedErrorCode,
                   "The class " + className_ + " of alert bundle '" + class_.bundle + "' " +
                       std::string(what) + ".");
}

Error NativeEmailFormatter::loggedFailure(std::string_view what) const {
  Error error = failure(what);
  log_.warning(error.localizedDescription());
  return error;
}

}  // namespace velto
