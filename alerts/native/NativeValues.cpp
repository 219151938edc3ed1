// SPDX-License-Identifier: Apache-2.0
#include "alerts/native/NativeValues.h"

#include <string>

#include "alerts/native/NativeHost.h"
#include "platform/foundation/PropertyList.h"

namespace velto::native {
namespace {

// A velto_value is nothing of its own: its address is that of the value in the alert.
const PropertyList* fromHandle(const velto_value* value) noexcept {
  return reinterpret_cast<const PropertyList*>(value);
}

const velto_value* handleOf(const PropertyList* value) noexcept {
  return reinterpret_cast<const velto_value*>(value);
}

const PropertyList::Dictionary* dictionaryOf(const velto_value* value) noexcept {
  return value == nullptr ? nullptr : fromHandle(value)->dictionary();
}

const PropertyList::Array* listOf(const velto_value* value) noexcept {
  return value == nullptr ? nullptr : fromHandle(value)->array();
}

/// The value as what `get` asks it for, or null.
template <typename Value>
const Value* get(const velto_value* value, const Value* (PropertyList::*get)() const) noexcept {
  return value == nullptr ? nullptr : (fromHandle(value)->*get)();
}

int visitEntries(const PropertyList::Dictionary& entries, velto_visitor visit, void* context) {
  for (const auto& [key, value] : entries) {
    if (const int answer = visit(context, key.c_str(), handleOf(&value)); answer != 0) {
      return answer;
    }
  }
  return 0;
}

struct KindOf {
  velto_kind operator()(std::monostate) const { return VELTO_ABSENT; }
  velto_kind operator()(const std::string&) const { return VELTO_STRING; }
  velto_kind operator()(std::int64_t) const { return VELTO_INTEGER; }
  velto_kind operator()(std::uint64_t) const { return VELTO_UNSIGNED; }
  velto_kind operator()(double) const { return VELTO_REAL; }
  velto_kind operator()(bool) const { return VELTO_BOOLEAN; }
  velto_kind operator()(Date) const { return VELTO_DATE; }
  velto_kind operator()(const Data&) const { return VELTO_DATA; }
  velto_kind operator()(const PropertyList::Array&) const { return VELTO_LIST; }
  velto_kind operator()(const PropertyList::Dictionary&) const { return VELTO_DICTIONARY; }
};

}  // namespace

const velto_value* alertAttribute(const velto_alert* alert, const char* name) noexcept {
  if (alert == nullptr || name == nullptr) return nullptr;
  const auto& attributes = alert->alert.alert().attributes;
  return attributes ? handleOf(velto::valueForKey(*attributes, name)) : nullptr;
}

int alertAttributesEach(const velto_alert* alert, velto_visitor visit, void* context) noexcept {
  if (alert == nullptr || visit == nullptr) return -1;
  const auto& attributes = alert->alert.alert().attributes;
  return attributes ? visitEntries(*attributes, visit, context) : 0;
}

velto_kind valueKind(const velto_value* value) noexcept {
  return value == nullptr ? VELTO_ABSENT : fromHandle(value)->visit(KindOf());
}

int valueInteger(const velto_value* value, std::int64_t* number) noexcept {
  const std::int64_t* held = get(value, &PropertyList::integer);
  if (held == nullptr || number == nullptr) return -1;
  *number = *held;
  return 0;
}

int valueUnsigned(const velto_value* value, std::uint64_t* number) noexcept {
  const std::int64_t* small = get(value, &PropertyList::integer);
  const std::uint64_t* large = get(value, &PropertyList::unsignedInteger);
  if (number == nullptr || (large == nullptr && (small == nullptr || *small < 0))) return -1;
  *number = large != nullptr ? *large : static_cast<std::uint64_t>(*small);
  return 0;
}

int valueReal(const velto_value* value, double* number) noexcept {
  if (number == nullptr) return -1;
  if (const std::int64_t* small = get(value, &PropertyList::integer)) {
    *number = static_cast<double>(*small);
  } else if (const std::uint64_t* large = get(value, &PropertyList::unsignedInteger)) {
    *number = static_cast<double>(*large);
  } else if (const double* real = get(value, &PropertyList::real)) {
    *number = *real;
  } else {
    return -1;
  }
  return 0;
}

int valueBoolean(const velto_value* value, int* condition) noexcept {
  const bool* held = get(value, &PropertyList::boolean);
  if (held == nullptr || condition == nullptr) return -1;
  *condition = *held ? 1 : 0;
  return 0;
}

int valueDate(const velto_value* value, double* seconds) noexcept {
  const Date* date = get(value, &PropertyList::date);
  if (date == nullptr || seconds == nullptr) return -1;
  *seconds = date->secondsSinceReference();
  return 0;
}

const char* valueBytes(const velto_value* value, std::size_t* length) noexcept {
  if (value == nullptr || length == nullptr) return nullptr;
  if (const std::string* text = fromHandle(value)->string()) {
    *length = text->size();
    return text->c_str();
  }
  const Data* data = fromHandle(value)->data();
  if (data == nullptr) return nullptr;
  *length = data->size();
  return data->empty() ? "" : data->view().data();
}

std::size_t valueCount(const velto_value* value) noexcept {
  if (const auto* list = listOf(value)) return list->size();
  const auto* dictionary = dictionaryOf(value);
  return dictionary == nullptr ? 0 : dictionary->size();
}

const velto_value* valueAt(const velto_value* list, std::size_t index) noexcept {
  const auto* elements = listOf(list);
  return elements != nullptr && index < elements->size() ? handleOf(&(*elements)[index]) : nullptr;
}

const velto_value* valueForKey(const velto_value* dictionary, const char* key) noexcept {
  const auto* entries = dictionaryOf(dictionary);
  return entries != nullptr && key != nullptr ? handleOf(velto::valueForKey(*entries, key))
                                              : nullptr;
}

int valueEach(const velto_value* value, velto_visitor visit, void* context) noexcept {
  if (visit == nullptr) return -1;
  if (const auto* entries = dictionaryOf(value)) return visitEntries(*entries, visit, context);
  const auto* elements = listOf(value);
  if (elements == nullptr) return -1;
  for (const PropertyList& element : *elements) {
    if (const int answer = visit(context, nullptr, handleOf(&element)); answer != 0) {
      return answer;
    }
  }
  return 0;
}

}  // namespace velto::native
