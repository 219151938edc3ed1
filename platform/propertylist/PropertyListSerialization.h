// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/foundation/Data.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/PropertyList.h"

namespace velto {

/// The encodings of property lists that can be read.
enum class PropertyListFormat {
  kOpenStep,  ///< the old text form: { key = value; }, ( a, b ), <0fbd77>, strings files
  kXMLv1_0,   ///< DTD PropertyList-1.0
  kBinaryv1_0,
};

/// Coding of property lists. Stateless; any thread.
class PropertyListSerialization {
 public:
  /// The binary property list, format 1.0, of `value`: readable by every other reader of the
  /// format. Equal scalars are written once, as far as the reader's limit on shared objects allows:
  /// what is written always reads back. Nothing, with an error (domain
  /// "PropertyListSerialization"), when the value holds an absent value or a string that is not
  /// UTF-8, or is nested deeper than kMaximumDepth.
  static std::optional<Data> binaryData(const PropertyList& value, ErrorSlot error);

  /// Reads a property list of any of the three formats, told apart by content: "bplist0" is
  /// binary, "<?xml", "<!DOCTYPE" or "<plist" (after a byte-order mark and white space) is XML,
  /// everything else is the old text form. The text form accepts UTF-8 and, with a byte-order
  /// mark, UTF-16, and reads a file of bare `key = value;` lines as a dictionary. Text of
  /// nothing but white space and comments is an empty dictionary; no bytes at all are an error.
  ///
  /// Total: any bytes give a value or an error, in time and memory linear in the input. Nesting
  /// deeper than kMaximumDepth, a cycle, and shared references that would unfold to more than a
  /// fixed multiple of the input are errors. A dictionary key must be a string; the last of equal
  /// keys counts. The error says what is wrong and where. `format` is set as soon as the format is
  /// known, also for a value that then fails to read.
  static std::optional<PropertyList> propertyList(const Data& data, ErrorSlot error,
                                                  PropertyListFormat* format = nullptr);

  /// How many containers may stand one in another.
  static constexpr int kMaximumDepth = 512;
};

}  // namespace velto
