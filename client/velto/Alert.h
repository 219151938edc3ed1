// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

#include <velto/Value.h>
#include <velto/api.h>

namespace velto::alerts {

// What the service keeps. Plain values; what is absent is not the same as what is empty.

struct Alert {
  /// Made by the service on posting when it is absent; `makeIdentifier` makes one beforehand.
  std::optional<std::string> identifier = {};
  std::optional<std::string> type = {};
  std::optional<std::string> bundle = {};
  std::optional<Date> creationDate = {};
  /// Set by the service on posting.
  std::optional<Date> sentDate = {};
  std::optional<Date> readDate = {};
  std::optional<Date> resolvedDate = {};
  std::optional<Value::Dictionary> attributes = {};

  bool operator==(const Alert&) const = default;
};

/// An identifier that no other alert has, for posting an alert under a known one. Any thread.
VELTO_API std::string makeIdentifier();

/// The switches of one bundle. What is written are the two switches; one that is absent is off.
struct BundleSettings {
  std::optional<std::string> name = {};
  std::optional<bool> pushEnabled = {};
  std::optional<bool> mailEnabled = {};

  bool operator==(const BundleSettings&) const = default;
};

/// The settings of all enabled bundles, by bundle.
using BundleSettingsMap = std::map<std::string, BundleSettings>;

/// Somebody who gets mail. Without a locale the service derives one from the address.
struct MailRecipient {
  std::optional<std::string> address = {};
  std::optional<std::string> locale = {};

  bool operator==(const MailRecipient&) const = default;
};

/// A device that gets notifications.
struct PushRecipient {
  std::optional<std::string> guid = {};
  std::optional<Data> token = {};
  std::optional<std::string> name = {};
  std::optional<std::string> locale = {};
  std::optional<bool> enabled = {};

  bool operator==(const PushRecipient&) const = default;
};

}  // namespace velto::alerts
