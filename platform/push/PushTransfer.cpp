// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushTransfer.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "platform/foundation/Hexadecimal.h"
#include "platform/push/PushErrors.h"
#include "platform/push/RetryAfter.h"

namespace velto {
namespace {

/// More of an answer than this is not waited for.
constexpr std::size_t kMaximumBody = std::size_t{1} << 16;
/// libcurl sends a request once more that the gateway refused unread, and would go on doing so.
constexpr int kMaximumTimesSent = 2;

std::string urlOf(const PushNotification& notification) {
  const std::string& endpoint = notification.message->identity->endpoint;
  return endpoint.substr(0, endpoint.find_last_not_of('/') + 1) + "/" +
         hexadecimal(notification.device);
}

/// The files that may be the reason for what libcurl ended with, as " (one, two)". It does not know
/// their names.
std::string concerned(const PushIdentity& identity, CURLcode code) {
  std::string names;
  const auto add = [&](const std::optional<PushIdentityFile>& file) {
    if (file) {
      names += (names.empty() ? " (" : ", ") + file->path;
    }
  };
  if (code == CURLE_SSL_CERTPROBLEM) {
    add(identity.certificate);
    add(identity.privateKey);
  } else if (code == CURLE_SSL_CACERT_BADFILE) {
    add(identity.certificateAuthority);
  } else if (code == CURLE_PEER_FAILED_VERIFICATION) {
    const char* const machines = curl_version_info(CURLVERSION_NOW)->cainfo;
    names = " (checked by " + (identity.certificateAuthority ? identity.certificateAuthority->path
                               : machines != nullptr         ? std::string(machines)
                                                             : "the machine's authorities");
  }
  return names.empty() ? names : names + ")";
}

}  // namespace

PushTransfer::PushTransfer(const PushTimeLimits& limits, Gate& gate)
    : gate_(gate), handle_(curl_easy_init()) {
  CURL* handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
  curl_easy_setopt(handle, CURLOPT_POST, 1L);
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "https");
  curl_easy_setopt(handle, CURLOPT_SSLVERSION, CURL_SSLVERSION_TLSv1_2);
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
  // Wait for the one connection to say that it takes many streams.
  curl_easy_setopt(handle, CURLOPT_PIPEWAIT, 1L);
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  // The machine's authorities, too, are those of now.
  curl_easy_setopt(handle, CURLOPT_CA_CACHE_TIMEOUT, 0L);
  // A resolver that hangs is not waited for when time is up.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.connecting.count()));
  // Whoever waits gives up before; this ends what nobody waits for.
  const auto longest = limits.total + limits.connecting;
  curl_easy_setopt(handle, CURLOPT_TIMEOUT_MS, static_cast<long>(longest.count()));
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, problem_.data());
  curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &PushTransfer::beforeRequest);
  curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &PushTransfer::receiveHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &PushTransfer::receive);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
}

void PushTransfer::load(PushNotification notification) {
  notification_ = std::move(notification);
  if (message_ != notification_.message) {
    setMessage(notification_.message);
  }
  set(CURLOPT_URL, urlOf(notification_).c_str());
  curl_easy_setopt(handle(), CURLOPT_FORBID_REUSE, 0L);
  body_.clear();
  isBodyCut_ = false;
  isHeldBack_ = false;
  problem_[0] = '\0';
}

void PushTransfer::setMessage(std::shared_ptr<const PushMessage> message) {
  setIdentity(*message->identity);
  std::unique_ptr<curl_slist, Free> headers;
  for (const std::string& header : message->headers) {
    curl_slist* longer = curl_slist_append(headers.get(), header.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    headers.release();
    headers.reset(longer);
  }
  set(CURLOPT_HTTPHEADER, headers.get());
  headers_ = std::move(headers);
  curl_easy_setopt(handle(), CURLOPT_POSTFIELDS, message->payload.view().data());
  curl_easy_setopt(handle(), CURLOPT_POSTFIELDSIZE, static_cast<long>(message->payload.size()));
  message_ = std::move(message);
}

PushNotification PushTransfer::unload() {
  return std::exchange(notification_, {});
}

void PushTransfer::setIdentity(const PushIdentity& identity) {
  // libcurl takes a connection for another one only when what it was told differs, and it is told
  // of files by their names alone. Of their contents it sees that they were replaced.
  const auto& key = identity.privateKey ? identity.privateKey : identity.certificate;
  setContent(CURLOPT_SSLCERT_BLOB, identity.certificate);
  setContent(CURLOPT_SSLKEY_BLOB, key);
  setContent(CURLOPT_CAINFO_BLOB, identity.certificateAuthority);
  // An authority that is named counts alone, and not beside those of the machine.
  const curl_version_info_data* machine = curl_version_info(CURLVERSION_NOW);
  const bool isNamed = identity.certificateAuthority.has_value();
  set(CURLOPT_CAINFO, isNamed ? nullptr : machine->cainfo);
  set(CURLOPT_CAPATH, isNamed ? nullptr : machine->capath);
}

/// The file belongs to the message that the handle is prepared for.
void PushTransfer::setContent(CURLoption option, const std::optional<PushIdentityFile>& file) {
  curl_blob blob{};
  if (file) {
    blob.data = const_cast<char*>(file->content.data());
    blob.len = file->content.size();
    blob.flags = CURL_BLOB_NOCOPY;
  }
  set(option, file ? &blob : nullptr);
}

/// What libcurl takes a copy of. The handle is good for nothing when there is no memory for it.
template <typename Value>
void PushTransfer::set(CURLoption option, Value* value) {
  if (curl_easy_setopt(handle(), option, value) == CURLE_OUT_OF_MEMORY) throw std::bad_alloc();
}

void PushTransfer::distrustConnection() {
  curl_easy_setopt(handle(), CURLOPT_FORBID_REUSE, 1L);
}

bool PushTransfer::canBeSentAgain(CURLcode code) const {
  // The latter is how libcurl tells of a stream that it could not even open.
  return isHeldBack_ || (code == CURLE_HTTP2 && notification_.timesSent < kMaximumTimesSent);
}

bool PushTransfer::hadNoConnection(CURLcode code) const {
  constexpr std::array kCodes = {CURLE_COULDNT_RESOLVE_PROXY, CURLE_COULDNT_RESOLVE_HOST,
                                 CURLE_COULDNT_CONNECT,       CURLE_PEER_FAILED_VERIFICATION,
                                 CURLE_SSL_CONNECT_ERROR,     CURLE_SSL_CERTPROBLEM,
                                 CURLE_SSL_CACERT_BADFILE,    CURLE_OPERATION_TIMEDOUT};
  // A transfer whose connection died may have been sent, and then have met one of these.
  return notification_.timesSent == 0 ||
         std::find(kCodes.begin(), kCodes.end(), code) != kCodes.end();
}

long PushTransfer::status() const {
  long status = 0;
  curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
  return status;
}

std::optional<std::chrono::milliseconds> PushTransfer::delayAskedFor(CURLcode code,
                                                                     Date now) const {
  constexpr long kTooManyRequests = 429;
  constexpr long kServiceUnavailable = 503;
  curl_header* header = nullptr;
  if (!isAnswered(code) || (status() != kTooManyRequests && status() != kServiceUnavailable) ||
      curl_easy_header(handle(), "Retry-After", 0, CURLH_HEADER, -1, &header) != CURLHE_OK) {
    return std::nullopt;
  }
  return retryDelay(header->value, now);
}

PushOutcome PushTransfer::outcome(CURLcode code) const {
  if (isAnswered(code)) {
    if (status() >= 200 && status() < 300) {
      return std::monostate();
    }
    return PushErrorResponse{static_cast<std::uint64_t>(status()), Data(std::string_view(body_)),
                             notification_.device};
  }
  const PushIdentity& identity = *notification_.message->identity;
  const std::string endpoint = identity.shownEndpoint() + ": ";
  if (notification_.timesSent > kMaximumTimesSent) {
    return makeError(kPushServiceErrorDomain, kPushRefusedErrorCode,
                     endpoint + "the push service turned the notification away twice");
  }
  return makeError(kPushServiceErrorDomain, code,
                   endpoint + (problem_[0] != '\0' ? problem_.data() : curl_easy_strerror(code)) +
                       concerned(identity, code));
}

int PushTransfer::beforeRequest(void* transfer, char* /*peer*/, char* /*local*/, int /*peerPort*/,
                                int localPort) {
  auto& self = *static_cast<PushTransfer*>(transfer);
  try {
    self.isHeldBack_ = !self.gate_.admits(self, localPort);
  } catch (const std::bad_alloc&) {
    return CURL_PREREQFUNC_ABORT;
  }
  if (self.isHeldBack_ || ++self.notification_.timesSent > kMaximumTimesSent) {
    return CURL_PREREQFUNC_ABORT;
  }
  return CURL_PREREQFUNC_OK;
}

std::size_t PushTransfer::receiveHeader(char* /*bytes*/, std::size_t /*one*/, std::size_t count,
                                        void* transfer) {
  const auto& self = *static_cast<PushTransfer*>(transfer);
  self.gate_.noteAnswer(self);
  return count;
}

std::size_t PushTransfer::receive(char* bytes, std::size_t /*one*/, std::size_t count,
                                  void* transfer) {
  auto& self = *static_cast<PushTransfer*>(transfer);
  const std::size_t room = kMaximumBody - self.body_.size();
  try {
    self.body_.append(bytes, std::min(room, count));
  } catch (const std::bad_alloc&) {
    return 0;  // an error of the transfer
  }
  self.isBodyCut_ = count > room;
  return self.isBodyCut_ ? 0 : count;
}

}  // namespace velto
