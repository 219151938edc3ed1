// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushIdentity.h"

#include <array>
#include <curl/curl.h>
#include <utility>

#include "platform/foundation/Paths.h"
#include "platform/foundation/RegularFile.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "platform/push/PushErrors.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumFileSize = std::size_t{1} << 16;

/// What is wrong with the endpoint, or nothing.
std::optional<std::string> objection(const std::string& endpoint) {
  const std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url(curl_url(), &curl_url_cleanup);
  const auto has = [&](CURLUPart part) {
    char* text = nullptr;
    const bool isThere = curl_url_get(url.get(), part, &text, 0) == CURLUE_OK;
    curl_free(text);
    return isThere;
  };
  if (endpoint.find('\0') != std::string::npos ||
      curl_url_set(url.get(), CURLUPART_URL, endpoint.c_str(), 0) != CURLUE_OK) {
    return "is no URL";
  }
  if (!endpoint.starts_with("https://")) {
    return "does not begin with https://";
  }
  if (has(CURLUPART_QUERY) || has(CURLUPART_FRAGMENT)) {
    return "has a query or a fragment";
  }
  return std::nullopt;
}

/// Fills in the identity; what is wrong with the dictionary, or nothing.
std::optional<std::string> fill(PushIdentity& identity, const PropertyList::Dictionary& entries) {
  const std::array<std::pair<const char*, std::optional<std::string>*>, 3> paths = {
      {{"Certificate", &identity.certificate},
       {"PrivateKey", &identity.privateKey},
       {"CertificateAuthority", &identity.certificateAuthority}}};
  const std::string* endpoint = stringForKey(entries, "Endpoint");
  if (endpoint == nullptr) {
    return "it has no Endpoint";
  }
  identity.endpoint = *endpoint;
  if (const auto wrong = objection(identity.endpoint)) {
    return "the Endpoint \"" + identity.endpoint + "\" " + *wrong;
  }
  for (const auto& [key, path] : paths) {
    const PropertyList* value = valueForKey(entries, key);
    if (value == nullptr) {
      continue;
    }
    if (value->string() == nullptr || !value->string()->starts_with('/')) {
      return std::string(key) + " is no absolute path";
    }
    *path = rootedPath(*value->string());
  }
  return std::nullopt;
}

std::shared_ptr<const PushIdentity> refuse(ErrorSlot slot, const std::string& reason) {
  replaceError(slot, makeError(kPushServiceErrorDomain, kPushIdentityErrorCode, reason));
  return nullptr;
}

}  // namespace

std::shared_ptr<const PushIdentity> PushIdentity::read(const std::string& path, ErrorSlot error) {
  std::optional<Error> failure;
  const auto content = contentsOfPrivateFile(path, kMaximumFileSize, &failure);
  if (!content) {
    return refuse(error, failure->localizedDescription());
  }
  const auto value =
      PropertyListSerialization::propertyList(Data(std::string_view(*content)), &failure);
  if (!value) {
    return refuse(error, path + ": " + failure->localizedDescription());
  }
  if (value->dictionary() == nullptr) {
    return refuse(error, path + ": it is no dictionary");
  }
  auto identity = std::make_shared<PushIdentity>();
  if (const auto reason = fill(*identity, *value->dictionary())) {
    return refuse(error, path + ": " + *reason);
  }
  return identity;
}

}  // namespace velto
