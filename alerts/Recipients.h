// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "platform/foundation/Data.h"

namespace velto {

/// One mail recipient as administration tools exchange it.
struct MailRecipient {
  std::optional<std::string> address;
  std::optional<std::string> locale;

  bool operator==(const MailRecipient&) const = default;
};

/// A mail recipient that is to be added, or just the address of one.
using MailRecipientOrAddress = std::variant<MailRecipient, std::string>;

/// One push recipient as administration tools exchange it.
struct PushRecipient {
  std::optional<std::string> guid;
  std::optional<Data> token;
  std::optional<std::string> name;
  std::optional<std::string> locale;
  std::optional<bool> enabled;

  bool operator==(const PushRecipient&) const = default;
};

}  // namespace velto
