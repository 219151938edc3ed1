// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeHost.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

#include "alerts/AlertText.h"
#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

// The caller is foreign code, through which no exception can pass: that memory ran out is kept
// until the code has returned (callNative).
thread_local bool hasRunOutOfMemory = false;

/// A function for the code of bundles, which fails without memory: -1, or nothing.
template <auto function>
struct Guarded;
template <typename Result, typename... Arguments, Result (*function)(Arguments...)>
struct Guarded<function> {
  static Result call(Arguments... arguments) noexcept {
    try {
      return function(arguments...);
    } catch (const std::bad_alloc&) {
      hasRunOutOfMemory = true;
    }
    if constexpr (!std::is_void_v<Result>) return -1;
  }
};

/// More of them than a double has digits.
constexpr int kMaximumDecimals = 17;

bool isName(const char* name) noexcept {
  return name != nullptr && *name != '\0' && !invalidUTF8Offset(name);
}

int registerEmailFormatter(velto_registry* registry, const char* className,
                           const velto_email_formatter_class* functions) {
  if (registry == nullptr || !isName(className) || functions == nullptr ||
      functions->create == nullptr || functions->destroy == nullptr ||
      functions->from_address == nullptr || functions->format_message == nullptr) {
    return -1;
  }
  if (registry->known.isTaken(className, registry->bundle)) {
    return -1;
  }
  const bool isNew = registry->classes.formatters
                         .try_emplace(className, NativeFormatterClass{functions, registry->bundle})
                         .second;
  return isNew ? 0 : -1;
}

int registerAlertClass(velto_registry* registry, const char* type,
                       const velto_alert_class* alertClass) {
  if (registry == nullptr || !isName(type) || alertClass == nullptr) {
    return -1;
  }
  return registry->classes.alerts.try_emplace(type, alertClass).second ? 0 : -1;
}

int registerDefaultAlertClass(velto_registry* registry,
                              const velto_alert_class* alertClass) noexcept {
  if (registry == nullptr || alertClass == nullptr || registry->classes.otherAlerts != nullptr) {
    return -1;
  }
  registry->classes.otherAlerts = alertClass;
  return 0;
}

int registerActionClass(velto_registry* registry, const char* name,
                        const velto_action_class* actionClass) {
  if (registry == nullptr || !isName(name) || actionClass == nullptr ||
      actionClass->create == nullptr || actionClass->destroy == nullptr ||
      actionClass->has_been_resolved == nullptr || actionClass->run == nullptr) {
    return -1;
  }
  return registry->classes.actions.try_emplace(name, actionClass).second ? 0 : -1;
}

void namesAppend(velto_names* names, const char* name) {
  if (names != nullptr && isName(name)) {
    names->names.emplace_back(name);
  }
}

void textAppend(velto_text* text, const char* utf8, std::size_t length) {
  if (text != nullptr && utf8 != nullptr) {
    text->utf8.append(utf8, length);
  }
}

/// In the C locale whatever the process's is, so that what is written can be read again.
void textAppendNumber(velto_text* text, double number, int decimals) {
  // The sign, the digits of the largest number, the point and the digits behind it.
  std::array<char, 1 + std::numeric_limits<double>::max_exponent10 + 1 + 1 + kMaximumDecimals>
      digits;
  const auto [end, problem] =
      std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed,
                    std::clamp(decimals, 0, kMaximumDecimals));
  if (text != nullptr && problem == std::errc()) {
    text->utf8.append(digits.data(), end);
  }
}

velto_text* textCreate() noexcept {
  return new (std::nothrow) velto_text;
}

void textDestroy(velto_text* text) noexcept {
  delete text;
}

const char* textBytes(const velto_text* text, std::size_t* length) noexcept {
  if (text == nullptr || length == nullptr) return nullptr;
  *length = text->utf8.size();
  return text->utf8.c_str();
}

void errorSet(velto_error* error, std::int64_t code, const char* description) {
  if (error != nullptr) {
    const std::string_view text = description == nullptr ? "" : description;
    *error = {true, code, std::string(invalidUTF8Offset(text) ? "" : text)};
  }
}

template <std::optional<std::string> VLAlert::*property>
const char* alertText(const velto_alert* alert) noexcept {
  if (alert == nullptr) return nullptr;
  const std::optional<std::string>& text = alert->alert.alert().*property;
  return text ? text->c_str() : nullptr;
}

std::optional<Date> dateOf(const VLAlert& alert, velto_alert_date which) {
  switch (which) {
    case VELTO_ALERT_CREATION_DATE:
      return alert.creationDate;
    case VELTO_ALERT_SENT_DATE:
      return alert.sentDate;
    case VELTO_ALERT_READ_DATE:
      return alert.readDate;
    case VELTO_ALERT_RESOLVED_DATE:
      return alert.resolvedDate;
  }
  return std::nullopt;
}

int alertDate(const velto_alert* alert, velto_alert_date which, double* seconds) noexcept {
  if (alert == nullptr || seconds == nullptr) return -1;
  const auto date = dateOf(alert->alert.alert(), which);
  if (!date) return -1;
  *seconds = date->secondsSinceReference();
  return 0;
}

template <std::optional<std::string> (VLAlertSubclass::*operation)(std::string_view) const>
int alertBundleText(const velto_alert* alert, const char* localization, velto_text* text) {
  if (alert == nullptr || localization == nullptr || text == nullptr) return -1;
  const auto result = (alert->alert.*operation)(localization);
  if (!result) return -1;
  text->utf8 += *result;
  return 0;
}

const PropertyList* attribute(const velto_alert* alert, const char* name) noexcept {
  if (alert == nullptr || name == nullptr) return nullptr;
  const auto& attributes = alert->alert.alert().attributes;
  return attributes ? valueForKey(*attributes, name) : nullptr;
}

int alertAttributeText(const velto_alert* alert, const char* name, velto_text* text) {
  const PropertyList* value = attribute(alert, name);
  if (value == nullptr || text == nullptr) return -1;
  text->utf8 += readableText(*value);
  return 0;
}

int alertAttributeNumber(const velto_alert* alert, const char* name, double* number) noexcept {
  const PropertyList* value = attribute(alert, name);
  if (value == nullptr || number == nullptr) return -1;
  if (value->integer() != nullptr) {
    *number = static_cast<double>(*value->integer());
  } else if (value->unsignedInteger() != nullptr) {
    *number = static_cast<double>(*value->unsignedInteger());
  } else if (value->real() != nullptr) {
    *number = *value->real();
  } else if (value->boolean() != nullptr) {
    *number = *value->boolean() ? 1 : 0;
  } else {
    return -1;
  }
  return 0;
}

constexpr velto_host kHost = {
    .interface_version = VELTO_ALERT_BUNDLE_INTERFACE,
    .size = sizeof(velto_host),
    .register_email_formatter = Guarded<registerEmailFormatter>::call,
    .text_append = Guarded<textAppend>::call,
    .text_create = textCreate,
    .text_destroy = textDestroy,
    .text_bytes = textBytes,
    .error_set = Guarded<errorSet>::call,
    .alert_identifier = alertText<&VLAlert::identifier>,
    .alert_type = alertText<&VLAlert::type>,
    .alert_bundle = alertText<&VLAlert::bundle>,
    .alert_date = alertDate,
    .alert_subject = Guarded<alertBundleText<&VLAlertSubclass::subject>>::call,
    .alert_message = Guarded<alertBundleText<&VLAlertSubclass::message>>::call,
    .register_alert_class = Guarded<registerAlertClass>::call,
    .register_action_class = Guarded<registerActionClass>::call,
    .names_append = Guarded<namesAppend>::call,
    .alert_attribute_text = Guarded<alertAttributeText>::call,
    .alert_attribute_number = alertAttributeNumber,
    .text_append_number = Guarded<textAppendNumber>::call,
    .register_default_alert_class = registerDefaultAlertClass,
};

}  // namespace

bool exchangeHasRunOutOfMemory(bool value) {
  return std::exchange(hasRunOutOfMemory, value);
}

const velto_host& nativeHost() {
  return kHost;
}

}  // namespace velto
