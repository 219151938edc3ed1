// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace velto::binary_property_list {

// What the writer and the reader of the binary form have to agree on.
//
// A file is the signature, the objects, a table of the objects' offsets, and a trailer. An object
// starts with a marker byte: its type in the high half; a count, or the logarithm of a width, in
// the low half. Arrays and dictionaries hold references, which are object numbers. Every number is
// big-endian.

/// The signature less its last digit: readers take every minor version.
inline constexpr std::string_view kSignature = "bplist0";
inline constexpr std::string_view kWrittenSignature = "bplist00";

enum Type : unsigned {
  kSimple = 0x0,
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCIIString = 0x5,
  kUTF16String = 0x6,
  kUID = 0x8,
  kArray = 0xA,
  kSet = 0xC,
  kDictionary = 0xD,
};

inline constexpr std::uint8_t kLowHalf = 0xF;

/// The low half of kSimple markers.
inline constexpr std::uint8_t kNull = 0x0;
inline constexpr std::uint8_t kFalse = 0x8;
inline constexpr std::uint8_t kTrue = 0x9;

/// The low half of a marker whose count does not fit and follows as an integer object.
inline constexpr std::uint8_t kCountFollows = 0xF;

/// The trailer: 6 bytes unused, the widths of an offset and of a reference, then three 8-byte
/// numbers: how many objects, the top object's number, where the table of offsets starts.
inline constexpr std::size_t kTrailerSize = 32;
inline constexpr std::size_t kTrailerOffsetWidth = 6;
inline constexpr std::size_t kTrailerReferenceWidth = 7;
inline constexpr std::size_t kTrailerObjectCount = 8;
inline constexpr std::size_t kTrailerTopObject = 16;
inline constexpr std::size_t kTrailerTableOffset = 24;

// Several references may name one object, which then unfolds into several values, and that can grow
// exponentially. So the reader charges kReferenceCost for each reference it follows and the size of
// each object it reads, as often as it reads it, against kUnfoldFactor times the file's size plus
// kUnfoldAllowance.
//
// The writer keeps its files within that: sharing an object of up to kAlwaysShared bytes costs no
// more than kUnfoldFactor for the reference, which is at least one byte of the file; larger objects
// are shared until the allowance is used up.
inline constexpr std::uint64_t kReferenceCost = 64;
inline constexpr std::uint64_t kAlwaysShared = 63;
inline constexpr std::uint64_t kUnfoldFactor = kReferenceCost + kAlwaysShared + 1;
inline constexpr std::uint64_t kUnfoldAllowance = std::uint64_t{16} * 1024 * 1024;

}  // namespace velto::binary_property_list
