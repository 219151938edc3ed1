// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include <velto/Alert.h>
#include <velto/Value.h>

namespace velto {

/// What begins an export, so that a later tool knows what it reads.
struct ExportHead {
  std::int64_t version = 1;
};

/// One global attribute or more.
struct ExportedAttributes {
  alerts::Value::Dictionary values = {};
};

/// What a line of an export holds. Lines are JSON objects with one member, whose name says which.
using ExportLine =
    std::variant<ExportHead, alerts::Alert, ExportedAttributes, alerts::BundleSettings,
                 alerts::MailRecipient, alerts::PushRecipient>;

/// The line, with its line break. Values are as in the service's interface, so nothing is lost.
std::string exportText(const ExportLine& line);

/// Reads a line without its line break. Throws a Failure that says what is wrong with it.
ExportLine parseExportLine(std::string_view text);

}  // namespace velto
