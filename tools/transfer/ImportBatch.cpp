// SPDX-License-Identifier: Apache-2.0
#include "tools/transfer/ImportBatch.h"

#include <utility>
#include <variant>

#include "tools/frame/Failure.h"

namespace velto {
namespace {

/// A call that the daemon saves in a moment, and that lets others save in between.
constexpr std::size_t kMostAlerts = 1000;
constexpr std::size_t kMostBytes = std::size_t{1} << 20;

}  // namespace

ImportBatch::ImportBatch(Session& session)
    : session_(session), isStoreEmpty_(required(session.client().getStatus()).counts.alerts == 0) {}

void ImportBatch::add(ExportLine line, std::size_t size) {
  if (!alerts_.empty() && (alerts_.size() >= kMostAlerts || size_ + size > kMostBytes)) send();
  size_ += size;
  std::visit([this](auto&& held) { addOne(std::move(held)); }, std::move(line));
}

void ImportBatch::finish() {
  if (!alerts_.empty()) send();
}

/// Saving an alert a second time would make two of it.
bool ImportBatch::isKnown(const alerts::Alert& alert) {
  if (isStoreEmpty_ || !alert.identifier) return false;
  const auto outcome = session_.client().getAlert(*alert.identifier, std::nullopt);
  if (outcome.error && outcome.error->kind != alerts::ErrorKind::kNoSuchAlert) {
    throw failureOf(*outcome.error);
  }
  return !outcome.error;
}

void ImportBatch::addOne(alerts::Alert alert) {
  if (isKnown(alert)) {
    ++counts_.known;
  } else {
    alerts_.push_back(std::move(alert));
  }
}

void ImportBatch::addOne(ExportedAttributes attributes) {
  require(session_.client().setAttributes(attributes.values));
  ++counts_.settings;
}

void ImportBatch::addOne(alerts::BundleSettings settings) {
  const std::string name = settings.name.value_or("");
  require(session_.client().setAlertBundleSettings({{name, std::move(settings)}}));
  ++counts_.settings;
}

void ImportBatch::addOne(alerts::MailRecipient recipient) {
  require(session_.client().addMailRecipients({std::move(recipient)}));
  ++counts_.settings;
}

void ImportBatch::addOne(alerts::PushRecipient recipient) {
  const bool isOff = !recipient.enabled.value_or(true);
  const auto guid = recipient.guid;
  require(session_.client().addPushRecipients({std::move(recipient)}));
  ++counts_.settings;
  if (!isOff) return;
  // What is added is on.
  auto devices = required(session_.client().getPushRecipients());
  for (alerts::PushRecipient& device : devices) {
    if (device.guid == guid) device.enabled = false;
  }
  require(session_.client().setPushRecipients(devices));
}

void ImportBatch::send() {
  require(session_.client().saveAlerts(alerts_));
  counts_.alerts += static_cast<std::int64_t>(alerts_.size());
  alerts_.clear();
  size_ = 0;
}

}  // namespace velto
