// SPDX-License-Identifier: Apache-2.0
#include "platform/push/UlmoraPushServiceProvider.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "platform/foundation/Base64.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/Paths.h"
#include "platform/push/PushErrors.h"

namespace velto {
namespace {

/// RFC 4648, section 5, without padding.
std::string base64URL(const Data& data) {
  std::string text = base64Encoded(data);
  text.erase(std::find(text.begin(), text.end(), '='), text.end());
  std::replace(text.begin(), text.end(), '+', '-');
  std::replace(text.begin(), text.end(), '/', '_');
  return text;
}

std::string wholeSeconds(double seconds) {
  constexpr double kLongest = 1e15;
  // The other way round a NaN would pass.
  const double bounded = seconds > 0 ? std::min(seconds, kLongest) : 0;
  return std::to_string(std::llround(bounded));
}

Error copyWithinMemory(const Error& error) noexcept {
  try {
    return error;
  } catch (const std::bad_alloc&) {
    return outOfMemory();
  }
}

Error notAnswered(const PushIdentity& identity) noexcept {
  try {
    return makeError(kPushServiceErrorDomain, kPushTimedOutErrorCode,
                     identity.shownEndpoint() + ": the push service does not answer");
  } catch (const std::bad_alloc&) {
    return outOfMemory();
  }
}

/// Whether the push service was waited for in vain.
bool isSilence(const Error& error) {
  return error.code == kPushTimedOutErrorCode || error.code == CURLE_OPERATION_TIMEDOUT;
}

}  // namespace

UlmoraPushServiceProvider::UlmoraPushServiceProvider(
    const std::string& certificateIdentityPreference, const PushTimeLimits& limits,
    const Clock& clock)
    : identityFile_(rootedPath(kPushIdentityDirectory) + "/" + certificateIdentityPreference +
                    ".plist"),
      limits_(limits),
      clock_(clock),
      sender_(limits, clock) {}

void UlmoraPushServiceProvider::beginBatch() {
  Conversation& own = conversation();
  settle(own);
  own.isBatch = true;
}

void UlmoraPushServiceProvider::endBatch() {
  Conversation& own = conversation();
  own.isBatch = false;
  settle(own);
  endIfUnhandled(own);
}

void UlmoraPushServiceProvider::setErrorHandler(ErrorHandler handler) {
  Conversation& own = conversation();
  settle(own);
  own.errorHandler = std::move(handler);
  endIfUnhandled(own);
}

void UlmoraPushServiceProvider::setErrorResponseHandler(ErrorResponseHandler handler) {
  Conversation& own = conversation();
  settle(own);
  own.errorResponseHandler = std::move(handler);
  endIfUnhandled(own);
}

void UlmoraPushServiceProvider::sendPushNotification(const Data& payload, const Data& device,
                                                     const Data& identifier, Date expiry) {
  Conversation& own = conversation();
  if (own.identity == nullptr && !own.identityError) {
    own.identity = PushIdentity::read(identityFile_, &own.identityError);
  }
  if (own.identity == nullptr) {
    own.report(*own.identityError);
  } else if (own.silence) {
    own.report(*own.silence);
  } else {
    if (!own.deadline) {
      own.deadline = PushReports::Clock::now() + limits_.total;
    }
    if (own.reports == nullptr) {
      own.reports = std::make_shared<PushReports>();
    }
    sender_.send(
        {message(own, payload, identifier, expiry), device, PushDuty(own.reports), *own.deadline});
    while (const auto failure = own.reports->takeFailure()) {
      own.report(*failure);
    }
  }
  endIfUnhandled(own);
}

void UlmoraPushServiceProvider::flush() {
  Conversation& own = conversation();
  settle(own);
  endIfUnhandled(own);
  sender_.waitUntilIdle();
}

void UlmoraPushServiceProvider::Conversation::report(const PushOutcome& outcome) noexcept {
  const auto* error = std::get_if<Error>(&outcome);
  const auto* response = std::get_if<PushErrorResponse>(&outcome);
  if (error != nullptr && isSilence(*error) && isBatch) {
    silence = copyWithinMemory(*error);
  }
  if (error != nullptr && errorHandler) {
    errorHandler(*error);
  } else if (response != nullptr && errorResponseHandler) {
    errorResponseHandler(response->status, response->body, response->device);
  }
}

UlmoraPushServiceProvider::Conversation& UlmoraPushServiceProvider::conversation() {
  const MutexLock lock(mutex_);
  return conversations_[std::this_thread::get_id()];
}

void UlmoraPushServiceProvider::settle(Conversation& conversation) noexcept {
  if (conversation.reports != nullptr) {
    hearOut(conversation);
    conversation.reports.reset();
  }
  if (!conversation.isBatch) {
    conversation.deadline.reset();
    conversation.silence.reset();
  }
}

void UlmoraPushServiceProvider::hearOut(Conversation& conversation) noexcept {
  const auto deadline = conversation.deadline.value_or(PushReports::Clock::now());
  while (const auto failure = conversation.reports->waitForFailure(deadline)) {
    conversation.report(*failure);
  }
  std::size_t missing = conversation.reports->giveUp();
  while (const auto failure = conversation.reports->takeFailure()) {
    conversation.report(*failure);  // came in while time ran out
  }
  if (missing > 0) {
    sender_.forgetGivenUp();
  }
  for (; missing > 0; --missing) {
    conversation.report(notAnswered(*conversation.identity));
  }
}

void UlmoraPushServiceProvider::endIfUnhandled(const Conversation& conversation) {
  if (!conversation.isBatch && !conversation.errorHandler && !conversation.errorResponseHandler) {
    const MutexLock lock(mutex_);
    conversations_.erase(std::this_thread::get_id());
  }
}

std::shared_ptr<const PushMessage> UlmoraPushServiceProvider::message(Conversation& conversation,
                                                                      const Data& payload,
                                                                      const Data& identifier,
                                                                      Date expiry) const {
  if (conversation.message == nullptr || conversation.message->payload != payload ||
      conversation.identifier != identifier || conversation.expiry != expiry) {
    const double timeToLive = expiry.secondsSinceReference() - clock_.now().secondsSinceReference();
    conversation.message = std::make_shared<const PushMessage>(
        PushMessage{conversation.identity,
                    payload,
                    {"Content-Type: application/json", "TTL: " + wholeSeconds(timeToLive),
                     "Topic: " + base64URL(identifier)}});
    conversation.identifier = identifier;
    conversation.expiry = expiry;
  }
  return conversation.message;
}

}  // namespace velto
