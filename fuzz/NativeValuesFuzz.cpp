// SPDX-License-Identifier: Apache-2.0
// Whatever attributes an alert has, the code of a bundle reads what they are, and writes text.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "alerts/native/NativeHost.h"
#include "platform/foundation/UTF8.h"
#include "platform/propertylist/PropertyListSerialization.h"

namespace {

const velto_host& host = velto::nativeHost();

class PlainAlert : public velto::VLAlertSubclass {
 public:
  using VLAlertSubclass::VLAlertSubclass;
  std::optional<std::string> subject(std::string_view) const override { return std::nullopt; }
  std::optional<std::string> message(std::string_view) const override { return std::nullopt; }
  std::vector<std::string> recoveryOptions() const override { return {}; }
};

void check(bool holds) {
  if (!holds) __builtin_trap();
}

/// A value answers the readers of its own kind, and no others.
void checkReaders(const velto_value* value) {
  const velto_kind kind = host.value_kind(value);
  std::int64_t whole = 0;
  std::uint64_t large = 0;
  double real = 0;
  int condition = 0;
  std::size_t length = 0;
  const bool isSigned = host.value_integer(value, &whole) == 0;
  const bool isUnsigned = host.value_unsigned(value, &large) == 0;
  const bool isReal = host.value_real(value, &real) == 0;
  check(isSigned == (kind == VELTO_INTEGER));
  check(isUnsigned == (kind == VELTO_UNSIGNED || (isSigned && whole >= 0)));
  check(isReal == (kind == VELTO_INTEGER || kind == VELTO_UNSIGNED || kind == VELTO_REAL));
  check((host.value_boolean(value, &condition) == 0) == (kind == VELTO_BOOLEAN));
  check((host.value_date(value, &real) == 0) == (kind == VELTO_DATE));
  check((host.value_bytes(value, &length) != nullptr) ==
        (kind == VELTO_STRING || kind == VELTO_DATA));
}

int visit(void* context, const char* key, const velto_value* value) {
  auto& count = *static_cast<std::size_t*>(context);
  const velto_kind kind = host.value_kind(value);
  const bool holds = kind == VELTO_LIST || kind == VELTO_DICTIONARY;
  checkReaders(value);
  std::size_t inner = 0;
  check((host.value_each(value, visit, &inner) == 0) == holds);
  check(inner == host.value_count(value) && (holds || inner == 0));
  check(host.value_at(value, inner) == nullptr);
  if (kind == VELTO_LIST && inner > 0) check(host.value_at(value, inner - 1) != nullptr);
  check(key == nullptr || host.value_kind(host.value_for_key(value, key)) <= VELTO_DICTIONARY);
  ++count;
  return 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const velto::Data bytes(std::string_view(reinterpret_cast<const char*>(data), size));
  const auto attributes = velto::PropertyListSerialization::propertyList(bytes, nullptr);
  if (!attributes || attributes->dictionary() == nullptr) return 0;
  velto::VLAlert alert;
  alert.attributes = *attributes->dictionary();
  const PlainAlert plain(alert);
  const velto_alert handle{plain, {}};
  std::size_t count = 0;
  check(host.alert_attributes_each(&handle, visit, &count) == 0);
  check(count == alert.attributes->size());
  for (const auto& [name, value] : *alert.attributes) {
    for (const char* reader : {"de", "ar-EG", "no such locale"}) {
      velto_text text;
      host.text_append_value(&text, host.alert_attribute(&handle, name.c_str()), reader);
      check(!velto::invalidUTF8Offset(text.utf8));
    }
  }
  velto_text json;
  check(host.alert_json(&handle, &json) == 0 && !json.utf8.empty());
  return 0;
}
