// SPDX-License-Identifier: Apache-2.0
// Whatever a service sends is a reply of some kind or none, and an alert in it survives being sent
// back and read again.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "client/CallText.h"
#include "client/Failures.h"
#include "client/ReplyDecoding.h"
#include "client/ReplyMessage.h"

namespace {

using namespace velto::alerts;

template <typename Reply>
void decodeWhole(const boost::json::object& parameters) {
  Reply value;
  static_cast<void>(decodeReply(parameters, value));
}

template <typename T>
void decodeAt(const boost::json::object& parameters, std::string_view name) {
  std::optional<T> value;
  static_cast<void>(decodeMember(parameters, name, value));
}

void checkRoundTrip(const boost::json::object& parameters) {
  std::optional<Alert> alert;
  if (!decodeMember(parameters, "alert", alert) || !alert) return;
  const auto text = CallText(CallText::Absent::kNull).add("alert", *alert).finish();
  const auto again = ReplyMessage::parse(R"({"parameters":)" + text.value.value_or("") + "}");
  std::optional<Alert> second;
  // Read as deep as it may be, it lies one level deeper now.
  if (again && (!decodeMember(again->parameters, "alert", second) || *second != *alert)) {
    __builtin_trap();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto reply = ReplyMessage::parse({reinterpret_cast<const char*>(data), size});
  if (!reply) return 0;
  const boost::json::object& parameters = reply->parameters;
  if (errorOfAnswer(reply->error, parameters).description.empty()) __builtin_trap();
  bool isWellFormed = false;
  if (const auto error = serviceError(parameters, isWellFormed)) {
    if (!isWellFormed || error->description.empty()) __builtin_trap();
  }
  decodeWhole<ListPage>(parameters);
  decodeWhole<AlertDetails>(parameters);
  decodeWhole<Changes>(parameters);
  decodeAt<Status>(parameters, "status");
  decodeAt<std::vector<HistoryEntry>>(parameters, "entries");
  decodeAt<std::vector<Alert>>(parameters, "alerts");
  decodeAt<BundleSettingsMap>(parameters, "settings");
  decodeAt<std::vector<MailRecipient>>(parameters, "recipients");
  decodeAt<std::vector<PushRecipient>>(parameters, "recipients");
  decodeAt<std::map<std::string, std::string>>(parameters, "attributes");
  decodeAt<std::vector<std::string>>(parameters, "names");
  decodeAt<std::int64_t>(parameters, "count");
  checkRoundTrip(parameters);
  return 0;
}
