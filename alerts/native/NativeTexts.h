// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include <velto/alert_bundle.h>

namespace velto {

// The functions of velto_host that write, named as there. Those that are not noexcept throw
// std::bad_alloc and nothing else. Any thread.
namespace native {

void textAppend(velto_text* text, const char* utf8, std::size_t length);
void textAppendNumber(velto_text* text, double number, int decimals);
velto_text* textCreate() noexcept;
void textDestroy(velto_text* text) noexcept;
const char* textBytes(const velto_text* text, std::size_t* length) noexcept;
void textAppendValue(velto_text* text, const velto_value* value, const char* localization);
void textAppendNumberFor(velto_text* text, double number, int decimals, const char* localization);
void textAppendDate(velto_text* text, double seconds, const char* localization);
void errorSet(velto_error* error, std::int64_t code, const char* description);
void namesAppend(velto_names* names, const char* name);
void bundleLog(const velto_bundle* bundle, const char* line);

}  // namespace native

}  // namespace velto
