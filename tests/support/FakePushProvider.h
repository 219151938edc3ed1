// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/push/PushServiceProvider.h"

namespace velto {

/// A push provider that writes down what it is asked, and fails as it is told to. One thread.
class FakePushProvider : public PushServiceProvider {
 public:
  struct Sent {
    std::string payload;
    std::string device;
    Data identifier;
    Date expiry;
  };

  /// What becomes of the notifications for a device: an error, or a status with an answer.
  void fail(const std::string& device, Error error) { errors_[device] = std::move(error); }
  void refuse(const std::string& device, std::uint64_t status, const std::string& answer) {
    refusals_[device] = {status, answer};
  }

  /// Every operation that was called, by name; those that remove a handler with "no" before.
  std::vector<std::string> operations;
  std::vector<Sent> sent;
  /// How many notifications had been sent at the beginning and at the end of each batch.
  std::vector<std::pair<std::size_t, std::size_t>> batches;

  void beginBatch() override { batches.emplace_back(sent.size(), sent.size()); }
  void endBatch() override { batches.back().second = sent.size(); }
  void setErrorHandler(ErrorHandler handler) override {
    operations.emplace_back(handler ? "errorHandler" : "no errorHandler");
    errorHandler_ = std::move(handler);
  }
  void setErrorResponseHandler(ErrorResponseHandler handler) override {
    operations.emplace_back(handler ? "errorResponseHandler" : "no errorResponseHandler");
    errorResponseHandler_ = std::move(handler);
  }
  void sendPushNotification(const Data& payload, const Data& device, const Data& identifier,
                            Date expiry) override {
    operations.emplace_back("send");
    sent.push_back({std::string(payload.view()), std::string(device.view()), identifier, expiry});
    if (const auto error = errors_.find(sent.back().device); error != errors_.end()) {
      errorHandler_(error->second);
    }
    if (const auto refusal = refusals_.find(sent.back().device); refusal != refusals_.end()) {
      errorResponseHandler_(refusal->second.first, Data(std::string_view(refusal->second.second)),
                            device);
    }
  }
  void flush() override { operations.emplace_back("flush"); }

 private:
  ErrorHandler errorHandler_;
  ErrorResponseHandler errorResponseHandler_;
  std::map<std::string, Error> errors_;
  std::map<std::string, std::pair<std::uint64_t, std::string>> refusals_;
};

}  // namespace velto
