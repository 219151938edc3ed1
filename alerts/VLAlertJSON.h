// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "alerts/VLAlert.h"
#include "platform/foundation/JSONText.h"

namespace velto {

/// The alert as JSON: its members by name, dates as seconds since 2001-01-01 00:00:00 UTC, and the
/// attributes as every property list. What is absent is left out. Any thread.
void appendJSON(std::string& text, const VLAlert& alert);

/// What an alert says beside its attributes, wherever it is kept.
struct AlertFields {
  std::optional<std::string_view> identifier;
  std::optional<std::string_view> type;
  std::optional<std::string_view> bundle;
  std::optional<Date> creationDate;
  std::optional<Date> sentDate;
  std::optional<Date> readDate;
  std::optional<Date> resolvedDate;
};

/// Adds them to the alert's object; the attributes come after them.
void addMembers(JSONObjectText& alert, const AlertFields& fields);

}  // namespace velto
