// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include <velto/alert_bundle.h>

namespace velto {

// The functions of velto_host that read attributes, named as there. Any thread.
namespace native {

const velto_value* alertAttribute(const velto_alert* alert, const char* name) noexcept;
int alertAttributesEach(const velto_alert* alert, velto_visitor visit, void* context) noexcept;
velto_kind valueKind(const velto_value* value) noexcept;
int valueInteger(const velto_value* value, std::int64_t* number) noexcept;
int valueUnsigned(const velto_value* value, std::uint64_t* number) noexcept;
int valueReal(const velto_value* value, double* number) noexcept;
int valueBoolean(const velto_value* value, int* condition) noexcept;
int valueDate(const velto_value* value, double* seconds) noexcept;
const char* valueBytes(const velto_value* value, std::size_t* length) noexcept;
std::size_t valueCount(const velto_value* value) noexcept;
const velto_value* valueAt(const velto_value* list, std::size_t index) noexcept;
const velto_value* valueForKey(const velto_value* dictionary, const char* key) noexcept;
int valueEach(const velto_value* value, velto_visitor visit, void* context) noexcept;

}  // namespace native

}  // namespace velto
