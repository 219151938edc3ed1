// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <string>

#include "platform/push/PushNotification.h"

namespace velto {

/// One request over libcurl: a handle that carries a notification, again and again. States: free,
/// loaded (`load`), and free again (`unload`). One thread.
class PushTransfer {
 public:
  /// What passes between a transfer and its connection.
  class Gate {
   public:
    virtual ~Gate() = default;
    /// Asked before a request goes out over the connection that has this port on our side.
    virtual bool admits(const PushTransfer& transfer, int localPort) = 0;
    /// An answer has begun.
    virtual void noteAnswer(const PushTransfer& transfer) = 0;
  };

  PushTransfer(const PushTimeLimits& limits, Gate& gate);
  PushTransfer(const PushTransfer&) = delete;
  PushTransfer& operator=(const PushTransfer&) = delete;

  /// Null when libcurl has no memory for it. Its CURLOPT_PRIVATE is this object.
  CURL* handle() const { return handle_.get(); }

  void load(PushNotification notification);
  /// Returns the notification; the handle must belong to no multi handle.
  PushNotification unload();
  const PushNotification& notification() const { return notification_; }
  /// libcurl counts how often a handle was tried again, from one request to the next, and gives up
  /// at five.
  bool canBeUsedAgain() const { return notification_.timesSent <= 1; }

  /// Whether the transfer ended with `code` before the gateway has looked at the notification, so
  /// that it can be sent once more: the gate held it back, or the gateway was leaving.
  bool canBeSentAgain(CURLcode code) const;
  /// Whether the transfer failed with `code` because there was no connection, or one that is as
  /// good as none.
  bool hadNoConnection(CURLcode code) const;
  /// How long the gateway wants to be left alone before the notification comes again, when its
  /// answer with which libcurl ended the transfer says so.
  std::optional<std::chrono::milliseconds> delayAskedFor(CURLcode code, Date now) const;
  /// What became of it, when libcurl ended the transfer with `code`.
  PushOutcome outcome(CURLcode code) const;
  /// The connection of this transfer is not to be used for another one.
  void distrustConnection();

 private:
  struct Free {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
  };

  bool isAnswered(CURLcode code) const { return code == CURLE_OK || isBodyCut_; }
  long status() const;
  void setMessage(std::shared_ptr<const PushMessage> message);
  void setIdentity(const PushIdentity& identity);
  template <typename Value>
  void set(CURLoption option, Value* value);
  void setContent(CURLoption option, const std::optional<PushIdentityFile>& file);
  static int beforeRequest(void* transfer, char*, char*, int, int localPort);
  static std::size_t receiveHeader(char*, std::size_t, std::size_t count, void* transfer);
  static std::size_t receive(char* bytes, std::size_t, std::size_t count, void* transfer);

  Gate& gate_;
  const std::unique_ptr<CURL, Free> handle_;
  PushNotification notification_;
  std::shared_ptr<const PushMessage> message_;  ///< that the handle is prepared for
  std::unique_ptr<curl_slist, Free> headers_;
  std::string body_;
  bool isBodyCut_ = false;
  bool isHeldBack_ = false;
  std::array<char, CURL_ERROR_SIZE> problem_{};
};

}  // namespace velto
