// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/foundation/PropertyList.h"

namespace velto {

/// A value as programs and engineers read it, whatever their language: strings and integers as they
/// are, reals in the fewest digits that give the same number, "yes" or "no", dates as "2026-11-20
/// 21:00:00 UTC", data in hexadecimal, "first, second" for an array and "key: value, key: value"
/// for a dictionary. Nothing for an absent value, and for a date whose year has no four digits. Any
/// thread.
std::string readableText(const PropertyList& value);

}  // namespace velto
