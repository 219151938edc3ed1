// SPDX-License-Identifier: Apache-2.0
// The attribute records of ADAlertStore.

#include <array>
#include <charconv>
#include <system_error>
#include <type_traits>

#include "store/ADAlertStore.h"
#include "store/ADAlertStoreFetch.h"
#include "store/ADAttribute.h"

namespace velto {
namespace {

/// The text of an integer, and the shortest one of a real number that reads back the same: without
/// an exponent, unless it were longer than people read.
template <typename Number>
std::string decimal(Number number) {
  constexpr std::size_t kReadable = 39;
  std::array<char, 32> text{};
  if constexpr (std::is_floating_point_v<Number>) {
    std::array<char, kReadable> plain{};
    const auto written = std::to_chars(plain.data(), plain.data() + plain.size(), number + 0.0,
                                       std::chars_format::fixed);
    if (written.ec == std::errc()) {
      return {plain.data(), written.ptr};
    }
  }
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
  return {text.data(), end};
}

/// Nothing for a value that is absent or has no such form.
std::optional<std::string> stringForm(const PropertyList& value) {
  return value.visit([](const auto& held) -> std::optional<std::string> {
    using Held = std::decay_t<decltype(held)>;
    if constexpr (std::is_same_v<Held, std::string>) {
      return held;
    } else if constexpr (std::is_same_v<Held, bool>) {
      return held ? "1" : "0";
    } else if constexpr (std::is_arithmetic_v<Held>) {
      return decimal(held);
    } else {
      return std::nullopt;
    }
  });
}

}  // namespace

std::map<std::string, std::string> ADAlertStore::getAttributes(ErrorSlot error) {
  std::map<std::string, std::string> attributes;
  for (const auto& record : allObjects<ADAttribute>(managedObjectContext(), error)) {
    const auto name = record.name();
    auto value = record.value();
    if (name && value) {
      attributes[*name] = std::move(*value);
    }
  }
  return attributes;
}

bool ADAlertStore::setAttributes(const PropertyList::Dictionary& attributes, ErrorSlot error) {
  for (const auto& [name, value] : attributes) {
    if (!value.isAbsent() && !stringForm(value)) {
      setIfEmpty(error,
                 storeError("Set Attributes: The value of '" + name + "' has no string form."));
      return false;
    }
  }
  ManagedObjectContext& context = managedObjectContext();
  bool changed = false;
  for (const auto& [name, value] : attributes) {
    auto record = firstWithKey<ADAttribute>(context, "name = %@", std::optional(name), error);
    if (!record && value.isAbsent()) {
      continue;
    }
    changed = true;
    if (value.isAbsent()) {
      context.deleteObject(*record);
      continue;
    }
    if (!record) {
      record = context.insertNewObject<ADAttribute>(ADAttribute::kEntityName);
      record->setName(name);
    }
    record->setValue(stringForm(value));
  }
  return changed;
}

}  // namespace velto
