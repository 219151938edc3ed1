// SPDX-License-Identifier: Apache-2.0
// The C interface. No exception leaves it: what throws is told as an error of the object.
#include <chrono>
#include <cmath>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <velto/Client.h>
#include <velto/alerts.h>

#include "client/Failures.h"
#include "platform/foundation/UTF8.h"

namespace alerts = velto::alerts;

static_assert(VELTO_ERROR_SERVICE == static_cast<int>(alerts::ErrorKind::kService) &&
              VELTO_ERROR_OTHER_ANSWER == static_cast<int>(alerts::ErrorKind::kOtherAnswer) &&
              VELTO_ERROR_SYSTEM == static_cast<int>(alerts::ErrorKind::kSystem));

struct velto_post {
  alerts::Alert alert;
  std::optional<alerts::Error> error;  ///< what `failure` points into
  velto_post_failure failure = {};
  bool isSpoilt = false;  ///< a setter has failed
};

namespace {

constexpr velto_post_failure kNoMemory = {VELTO_ERROR_SYSTEM, alerts::kClientDomain,
                                          VELTO_ERROR_SYSTEM, "there is no memory", 0};

int setError(velto_post& post, alerts::Error error) {
  const alerts::Error& kept = post.error.emplace(std::move(error));
  post.failure = {static_cast<velto_error_kind>(kept.kind), kept.domain.c_str(), kept.code,
                  kept.description.c_str(), kept.mayHaveBeenCarriedOut ? 1 : 0};
  return post.failure.kind;
}

/// Does what may throw, and gives its result.
template <typename Step>
int guarded(velto_post* post, Step step) {
  if (post == nullptr) return VELTO_ERROR_SYSTEM;
  try {
    return step(*post);
  } catch (const std::exception&) {
    post->failure = kNoMemory;
    post->error.reset();
    post->isSpoilt = true;
    return VELTO_ERROR_SYSTEM;
  }
}

bool isText(const char* text) {
  return text != nullptr && !velto::invalidUTF8Offset(text);
}

/// Sets an attribute, unless its name or value is none: `problem` says what is wrong with the
/// value.
template <typename MakeValue>
int set(velto_post* post, const char* name, const char* problem, MakeValue makeValue) {
  return guarded(post, [&](velto_post& target) {
    const std::string shownName = isText(name) ? name : "an attribute's name";
    const char* wrong = isText(name) ? problem : "is not UTF-8 text";
    if (wrong != nullptr) {
      target.isSpoilt = true;
      return setError(
          target, alerts::localError(alerts::ErrorKind::kInvalidArgument, shownName + " " + wrong));
    }
    target.alert.attributes->insert_or_assign(name, makeValue());
    return 0;
  });
}

}  // namespace

velto_post* velto_post_new(const char* bundle, const char* type) {
  try {
    auto post = std::make_unique<velto_post>();
    post->alert.identifier = alerts::makeIdentifier();
    post->alert.creationDate = alerts::Date::from(std::chrono::system_clock::now());
    post->alert.attributes.emplace();
    if (isText(bundle) && isText(type)) {
      post->alert.bundle = bundle;
      post->alert.type = type;
    } else {
      post->isSpoilt = true;
      setError(*post, alerts::localError(alerts::ErrorKind::kInvalidArgument,
                                         "the bundle or the type is not UTF-8 text"));
    }
    return post.release();
  } catch (const std::exception&) {
    return nullptr;
  }
}

int velto_post_set_text(velto_post* post, const char* name, const char* text) {
  return set(post, name, isText(text) ? nullptr : "is not UTF-8 text", [text] { return text; });
}

int velto_post_set_integer(velto_post* post, const char* name, int64_t number) {
  return set(post, name, nullptr, [number] { return number; });
}

int velto_post_set_real(velto_post* post, const char* name, double number) {
  return set(post, name, std::isfinite(number) ? nullptr : "is not a finite number",
             [number] { return number; });
}

int velto_post_set_date(velto_post* post, const char* name, double unix_seconds) {
  return set(post, name, std::isfinite(unix_seconds) ? nullptr : "is not a finite number",
             [unix_seconds] { return alerts::Date::fromUnixSeconds(unix_seconds); });
}

int velto_post_set_data(velto_post* post, const char* name, const void* data, size_t size) {
  const auto* bytes = static_cast<const std::uint8_t*>(data);
  const bool isThere = bytes != nullptr || size == 0;
  return set(post, name, isThere ? nullptr : "has no bytes", [bytes, size] {
    return size == 0 ? alerts::Data() : alerts::Data(bytes, bytes + size);
  });
}

int velto_post_send(velto_post* post) {
  return guarded(post, [](velto_post& target) -> int {
    if (target.isSpoilt) return target.failure.kind;
    auto outcome = alerts::Client().postAlert(target.alert);
    if (outcome.error) return setError(target, std::move(*outcome.error));
    target.error.reset();
    target.failure = {};
    return 0;
  });
}

const char* velto_post_identifier(const velto_post* post) {
  return post == nullptr ? "" : post->alert.identifier->c_str();
}

const velto_post_failure* velto_post_error(const velto_post* post) {
  if (post == nullptr) return &kNoMemory;
  return post->failure.description == nullptr ? nullptr : &post->failure;
}

void velto_post_free(velto_post* post) {
  delete post;
}
