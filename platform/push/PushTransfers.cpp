// SPDX-License-Identifier: Apache-2.0
// All notifications go as streams of one connection. The gateway says how many streams it takes
// only over the connection itself, perhaps after the first requests have gone out; it then refuses
// those that are too many, unread. libcurl sends a refused request again and would go on doing so.
// So a connection is started slowly, and a gate (admits(), asked right before a request goes out)
// keeps back what is too early.
//
//     new connection    told by another port on our side: unproven, and nothing admitted
//     unproven          at most `widest_` requests are admitted; the others are held back
//     proven            from the beginning of the first answer to an admitted request on, or when
//                       there was none for a while (the gateway's limit has come by then, and an
//                       answer that does not is to hold up nobody else): up to kMaximum, and
//                       `widest_` grows to what the connection has carried at once
//     refused twice     `widest_` is 1 again
//     another identity  `widest_` is 1 again, and the connection is unproven
//
// 1. A notification is active (libcurl has it), held back (the gate kept it, or the gateway
//    refused it unread) or postponed (the gateway said when to try again), and only one of them. It
//    leaves by a report to its PushReports, at the latest as cancelled when this object goes, or by
//    its caller's giving up.
// 2. It goes out twice at most before it is answered, however often libcurl would try. Once the
//    gateway has asked for it later, it goes out anew.
// 3. A connection that cannot be made fails everything for its identity alike, so that a caller
//    waits for it once, and not once a notification.
//
// All of it is the sending thread's own, so there is no lock; only wakeUp() comes from others, and
// libcurl sees to that. Nothing is on disk: what is under way in a crash is not sent by the next
// start, whether or not the gateway has it.

#include "platform/push/PushTransfers.h"

#include <algorithm>
#include <new>
#include <utility>

#include "platform/push/PushErrors.h"

namespace velto {
namespace {

Error noMemory() {
  return makeError(kPushServiceErrorDomain, CURLE_OUT_OF_MEMORY,
                   curl_easy_strerror(CURLE_OUT_OF_MEMORY));
}

CURLM* makeMulti() {
  static const CURLcode isReady = curl_global_init(CURL_GLOBAL_DEFAULT);
  CURLM* multi = isReady == CURLE_OK ? curl_multi_init() : nullptr;
  if (multi != nullptr) {
    // Transfers wait for the one connection rather than open more.
    curl_multi_setopt(multi, CURLMOPT_MAX_HOST_CONNECTIONS, 1L);
    curl_multi_setopt(multi, CURLMOPT_MAX_CONCURRENT_STREAMS,
                      static_cast<long>(PushTransfers::kMaximum));
  }
  return multi;
}

}  // namespace

PushTransfers::PushTransfers(const PushTimeLimits& limits, const Clock& clock)
    : limits_(limits), clock_(clock), multi_(makeMulti()) {}

PushTransfers::~PushTransfers() {
  while (!active_.empty()) {
    remove(*active_.back()).duty.report(pushCancelled());
  }
  const auto cancel = [](PushNotification& notification) {
    notification.duty.report(pushCancelled());
  };
  std::for_each(heldBack_.begin(), heldBack_.end(), cancel);
  postponed_.forEach(cancel);
}

void PushTransfers::start(PushNotification notification) {
  if (notification.duty.isGivenUp()) {
    return;
  }
  // It is this function's until it is among the active ones, so that it goes where memory runs out.
  Transfer transfer = unused();
  active_.reserve(active_.size() + 1);
  if (multi_ == nullptr || transfer->handle() == nullptr) {
    notification.duty.report(noMemory());
    return;
  }
  forgetOther(notification.message->identity);
  transfer->load(std::move(notification));
  if (curl_multi_add_handle(multi_.get(), transfer->handle()) != CURLM_OK) {
    transfer->unload().duty.report(noMemory());
    return;
  }
  active_.push_back(std::move(transfer));
}

PushTransfers::Transfer PushTransfers::unused() {
  if (free_.empty()) {
    return std::make_unique<PushTransfer>(limits_, static_cast<Gate&>(*this));
  }
  Transfer transfer = std::move(free_.back());
  free_.pop_back();
  return transfer;
}

std::optional<PushTransfers::ConnectionFailure> PushTransfers::perform() {
  int running = 0;
  int left = 0;
  std::optional<ConnectionFailure> failure;
  curl_multi_perform(multi_.get(), &running);
  stopWaitingForAnswer();
  while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
    void* transfer = nullptr;
    curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
    finishWithinMemory(*static_cast<PushTransfer*>(transfer), message->data.result, failure);
  }
  // Only now, so that whatever has an outcome of its own by now is reported with that.
  if (failure) {
    failAlike(*failure);
  }
  return failure;
}

/// Whether the gateway wants to have the notification later, and somebody still waits for it then.
bool PushTransfers::postpone(PushTransfer& transfer, CURLcode code) {
  const auto delay = transfer.delayAskedFor(code, clock_.now());
  const auto due = PostponedNotifications::Clock::now() +
                   std::max(limits_.pause, delay.value_or(std::chrono::milliseconds()));
  if (!delay || due >= transfer.notification().deadline) {
    return false;
  }
  PushNotification notification = remove(transfer);
  notification.timesSent = 0;
  postponed_.add(std::move(notification), due);
  return true;
}

/// libcurl tells of a transfer's end once: without memory for the outcome it goes all the same, and
/// reports that.
void PushTransfers::finishWithinMemory(PushTransfer& transfer, CURLcode code,
                                       std::optional<ConnectionFailure>& failure) {
  try {
    finish(transfer, code, failure);
  } catch (const std::bad_alloc&) {
    const bool isActive = std::any_of(active_.begin(), active_.end(),
                                      [&](const Transfer& one) { return one.get() == &transfer; });
    if (isActive) remove(transfer);
  }
}

void PushTransfers::finish(PushTransfer& transfer, CURLcode code,
                           std::optional<ConnectionFailure>& failure) {
  if (transfer.canBeSentAgain(code)) {
    heldBack_.push_back(remove(transfer));
    return;
  }
  if (postpone(transfer, code)) {
    return;
  }
  const PushOutcome outcome = transfer.outcome(code);
  const auto* error = std::get_if<Error>(&outcome);
  if (error != nullptr && error->code == kPushRefusedErrorCode) {
    widest_ = 1;
  }
  // A request that goes out has a connection, however long its own answer takes.
  const bool isAlone = code == CURLE_OPERATION_TIMEDOUT && !admitted_.empty();
  if (error != nullptr && transfer.hadNoConnection(code) && !isAlone) {
    failure = {transfer.notification().message->identity, *error};
  }
  remove(transfer).duty.report(outcome);
}

void PushTransfers::failAlike(const ConnectionFailure& failure) {
  std::erase_if(heldBack_, [&](PushNotification& notification) {
    const bool isAlike = *notification.message->identity == *failure.identity;
    if (isAlike) {
      notification.duty.report(failure.error);
    }
    return isAlike;
  });
  // From the end, since remove() puts the last one into the gap.
  for (std::size_t index = active_.size(); index-- > 0;) {
    PushTransfer& transfer = *active_[index];
    if (*transfer.notification().message->identity == *failure.identity) {
      remove(transfer).duty.report(failure.error);
    }
  }
}

std::size_t PushTransfers::room() const {
  const std::size_t maximum = isConnectionProven_ ? kMaximum : widest_;
  return maximum - std::min(maximum, active_.size());
}

/// What is known of one gateway need not hold for another.
void PushTransfers::forgetOther(const std::shared_ptr<const PushIdentity>& identity) {
  if (identity_ != identity && (identity_ == nullptr || !(*identity_ == *identity))) {
    isConnectionProven_ = false;
    widest_ = 1;
  }
  identity_ = identity;
}

bool PushTransfers::admits(const PushTransfer& transfer, int localPort) {
  // What was proven was so of the connection before. `widest_` stays: it is of the gateway.
  if (localPort != connection_) {
    connection_ = localPort;
    isConnectionProven_ = false;
    admitted_.clear();
  }
  // libcurl may ask again for one that it sends once more.
  if (!isConnectionProven_ && admitted_.size() >= widest_) {
    return admitted_.count(&transfer) > 0;
  }
  admitted_.insert(&transfer);
  lastAdmission_ = std::chrono::steady_clock::now();
  widest_ = std::max(widest_, admitted_.size());
  return true;
}

void PushTransfers::noteAnswer(const PushTransfer& transfer) {
  isConnectionProven_ = isConnectionProven_ || admitted_.count(&transfer) > 0;
}

void PushTransfers::stopWaitingForAnswer() {
  const auto now = std::chrono::steady_clock::now();
  isConnectionProven_ =
      isConnectionProven_ || (!admitted_.empty() && now - lastAdmission_ >= limits_.firstAnswer);
}

void PushTransfers::startHeldBack() {
  for (PushNotification& notification : postponed_.takeDue(PostponedNotifications::Clock::now())) {
    heldBack_.push_back(std::move(notification));
  }
  while (!heldBack_.empty() && room() > 0) {
    PushNotification notification = std::move(heldBack_.back());
    heldBack_.pop_back();
    start(std::move(notification));
  }
}

void PushTransfers::dropGivenUp() {
  postponed_.dropGivenUp();
  for (std::size_t index = active_.size(); index-- > 0;) {
    PushTransfer& transfer = *active_[index];
    if (transfer.notification().duty.isGivenUp()) {
      // Who does not answer this one may not answer the next one either.
      transfer.distrustConnection();
      remove(transfer);
    }
  }
}

void PushTransfers::wait() {
  // wakeUp() fails where there was no descriptor for it, and libcurl 7.88 does not always say that
  // a transfer can go on when another one has lost its connection. Nor does it know what is
  // postponed.
  constexpr int kLongestWithoutALook = 100;
  curl_multi_poll(multi_.get(), nullptr, 0, kLongestWithoutALook, nullptr);
}

void PushTransfers::wakeUp() {
  curl_multi_wakeup(multi_.get());
}

PushNotification PushTransfers::remove(PushTransfer& transfer) noexcept {
  curl_multi_remove_handle(multi_.get(), transfer.handle());
  admitted_.erase(&transfer);
  const bool canBeUsedAgain = transfer.canBeUsedAgain();
  PushNotification notification = transfer.unload();
  const auto place = std::find_if(active_.begin(), active_.end(), [&](const Transfer& candidate) {
    return candidate.get() == &transfer;
  });
  if (canBeUsedAgain) {
    keepForLater(std::move(*place));
  }
  *place = std::move(active_.back());
  active_.pop_back();
  return notification;
}

void PushTransfers::keepForLater(Transfer transfer) noexcept {
  try {
    free_.push_back(std::move(transfer));
  } catch (const std::bad_alloc&) {
    // The next one is made anew.
  }
}

}  // namespace velto
