// SPDX-License-Identifier: Apache-2.0
// The operations on attributes, bundles and recipients.
#include "client/ClientParts.h"

namespace velto::alerts {

Outcome<std::map<std::string, std::string>> Client::getAttributes(const CallOptions& options) {
  CallText none;
  return parts_->ask<std::map<std::string, std::string>>(Effect::kReads, "GetAttributes", none,
                                                         "attributes", options);
}

Outcome<void> Client::setAttributes(const Value::Dictionary& attributes,
                                    const CallOptions& options) {
  return parts_->change("SetAttributes",
                        CallText(CallText::Absent::kNull).add("attributes", attributes), options);
}

Outcome<void> Client::enableAlertBundle(const std::string& bundle, const CallOptions& options) {
  return parts_->change("EnableAlertBundle", CallText().add("bundle", bundle), options);
}

Outcome<void> Client::disableAlertBundle(const std::string& bundle, const CallOptions& options) {
  return parts_->change("DisableAlertBundle", CallText().add("bundle", bundle), options);
}

Outcome<std::vector<std::string>> Client::getAlertBundleNames(const CallOptions& options) {
  CallText none;
  return parts_->ask<std::vector<std::string>>(Effect::kReads, "GetAlertBundleNames", none, "names",
                                               options);
}

Outcome<BundleSettingsMap> Client::getAlertBundleSettings(const CallOptions& options) {
  CallText none;
  return parts_->ask<BundleSettingsMap>(Effect::kReads, "GetAlertBundleSettings", none, "settings",
                                        options);
}

Outcome<void> Client::setAlertBundleSettings(const BundleSettingsMap& settings,
                                             const CallOptions& options) {
  return parts_->change("SetAlertBundleSettings", CallText().add("settings", settings), options);
}

Outcome<std::vector<MailRecipient>> Client::getMailRecipients(const CallOptions& options) {
  CallText none;
  return parts_->ask<std::vector<MailRecipient>>(Effect::kReads, "GetMailRecipients", none,
                                                 "recipients", options);
}

Outcome<void> Client::setMailRecipients(const std::vector<MailRecipient>& recipients,
                                        const CallOptions& options) {
  return parts_->change("SetMailRecipients", CallText().add("recipients", recipients), options);
}

Outcome<void> Client::addMailRecipients(const std::vector<MailRecipient>& recipients,
                                        const CallOptions& options) {
  return parts_->change("AddMailRecipients", CallText().add("recipients", recipients), options);
}

Outcome<std::vector<PushRecipient>> Client::getPushRecipients(const CallOptions& options) {
  CallText none;
  return parts_->ask<std::vector<PushRecipient>>(Effect::kReads, "GetPushRecipients", none,
                                                 "recipients", options);
}

Outcome<void> Client::setPushRecipients(const std::vector<PushRecipient>& recipients,
                                        const CallOptions& options) {
  return parts_->change("SetPushRecipients", CallText().add("recipients", recipients), options);
}

Outcome<void> Client::addPushRecipients(const std::vector<PushRecipient>& recipients,
                                        const CallOptions& options) {
  return parts_->change("AddPushRecipients", CallText().add("recipients", recipients), options);
}

}  // namespace velto::alerts
