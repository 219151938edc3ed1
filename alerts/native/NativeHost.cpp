// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeHost.h"

#include <optional>
#include <string_view>
#include <utility>

#include "alerts/AlertText.h"
#include "alerts/VLAlertJSON.h"
#include "alerts/native/NativeGuard.h"
#include "alerts/native/NativeTexts.h"
#include "alerts/native/NativeValues.h"
#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

// The caller is foreign code, through which no exception can pass: that memory ran out is kept
// until the code has returned (callNative).
thread_local bool hasRunOutOfMemory = false;

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
  const auto result = (alert->alert.*operation)(alert->reader.meantBy(localization));
  if (!result) return -1;
  text->utf8 += *result;
  return 0;
}

int alertAttributeText(const velto_alert* alert, const char* name, velto_text* text) {
  const velto_value* const value = native::alertAttribute(alert, name);
  if (value == nullptr || text == nullptr) return -1;
  text->utf8 += readableText(*reinterpret_cast<const PropertyList*>(value));
  return 0;
}

int alertAttributeNumber(const velto_alert* alert, const char* name, double* number) noexcept {
  const velto_value* const value = native::alertAttribute(alert, name);
  int condition = 0;
  if (number == nullptr || native::valueBoolean(value, &condition) != 0) {
    return native::valueReal(value, number);
  }
  *number = condition;
  return 0;
}

int alertJSON(const velto_alert* alert, velto_text* text) {
  if (alert == nullptr || text == nullptr) return -1;
  appendJSON(text->utf8, alert->alert.alert());
  return 0;
}

const velto_bundle* registryBundle(velto_registry* registry) noexcept {
  return registry == nullptr ? nullptr : &registry->handle;
}

constexpr velto_host kHost = {
    .interface_version = VELTO_ALERT_BUNDLE_INTERFACE,
    .size = sizeof(velto_host),
    .register_email_formatter = Guarded<registerEmailFormatter>::call,
    .text_append = Guarded<native::textAppend>::call,
    .text_create = native::textCreate,
    .text_destroy = native::textDestroy,
    .text_bytes = native::textBytes,
    .error_set = Guarded<native::errorSet>::call,
    .alert_identifier = alertText<&VLAlert::identifier>,
    .alert_type = alertText<&VLAlert::type>,
    .alert_bundle = alertText<&VLAlert::bundle>,
    .alert_date = alertDate,
    .alert_subject = Guarded<alertBundleText<&VLAlertSubclass::subject>>::call,
    .alert_message = Guarded<alertBundleText<&VLAlertSubclass::message>>::call,
    .register_alert_class = Guarded<registerAlertClass>::call,
    .register_action_class = Guarded<registerActionClass>::call,
    .names_append = Guarded<native::namesAppend>::call,
    .alert_attribute_text = Guarded<alertAttributeText>::call,
    .alert_attribute_number = alertAttributeNumber,
    .text_append_number = Guarded<native::textAppendNumber>::call,
    .register_default_alert_class = registerDefaultAlertClass,
    .alert_attribute = native::alertAttribute,
    .alert_attributes_each = native::alertAttributesEach,
    .value_kind = native::valueKind,
    .value_integer = native::valueInteger,
    .value_unsigned = native::valueUnsigned,
    .value_real = native::valueReal,
    .value_boolean = native::valueBoolean,
    .value_date = native::valueDate,
    .value_bytes = native::valueBytes,
    .value_count = native::valueCount,
    .value_at = native::valueAt,
    .value_for_key = native::valueForKey,
    .value_each = native::valueEach,
    .alert_json = Guarded<alertJSON>::call,
    .alert_bundle_name = Guarded<alertBundleText<&VLAlertSubclass::bundleName>>::call,
    .alert_type_name = Guarded<alertBundleText<&VLAlertSubclass::typeName>>::call,
    .text_append_value = Guarded<native::textAppendValue>::call,
    .text_append_number_for = Guarded<native::textAppendNumberFor>::call,
    .text_append_date = Guarded<native::textAppendDate>::call,
    .registry_bundle = registryBundle,
    .bundle_log = Guarded<native::bundleLog>::call,
};

}  // namespace

void noteThatMemoryRanOut() noexcept {
  hasRunOutOfMemory = true;
}

bool exchangeHasRunOutOfMemory(bool value) {
  return std::exchange(hasRunOutOfMemory, value);
}

const velto_host& nativeHost() {
  return kHost;
}

}  // namespace velto
