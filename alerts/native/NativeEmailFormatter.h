// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "alerts/EmailFormatter.h"
#include "alerts/native/NativeClasses.h"

namespace velto {

/// An object of a formatter class that a bundle's code registered. One thread at a time.
class NativeEmailFormatter : public EmailFormatter {
 public:
  /// Takes over `object`, which the class made. `log`, which is told of text that is not UTF-8,
  /// outlives the formatter.
  NativeEmailFormatter(void* object, NativeFormatterClass formatterClass, std::string className,
                       Log& log);
  ~NativeEmailFormatter() override;
  NativeEmailFormatter(const NativeEmailFormatter&) = delete;
  NativeEmailFormatter& operator=(const NativeEmailFormatter&) = delete;

  /// Nothing also when the bundle fails or gives a text that is not UTF-8.
  std::optional<std::string> fromAddress(std::string_view localization) override;
  /// The error's domain is the bundle's key when the bundle set the error.
  std::optional<std::string> formatMessage(const VLAlertSubclass& alert,
                                           std::string_view localization, ErrorSlot error) override;

 private:
  Error failure(std::string_view what) const;
  /// The same, told in the log too.
  Error loggedFailure(std::string_view what) const;

  void* const object_;
  const NativeFormatterClass class_;
  const std::string className_;
  Log& log_;
};

}  // namespace velto
