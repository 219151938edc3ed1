// SPDX-License-Identifier: Apache-2.0
#include "platform/push/PushIdentity.h"

#include <array>
#include <cerrno>
#include <curl/curl.h>
#include <utility>

#include "platform/foundation/Paths.h"
#include "platform/foundation/RegularFile.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "platform/push/PushErrors.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumFileSize = std::size_t{1} << 16;
constexpr std::size_t kMaximumPEMSize = std::size_t{1} << 22;

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

/// Text that may hold a URL, without what stands before the host. Also when it is not a URL: what
/// was meant as a password is not for others to see.
std::string withoutPassword(const std::string& text) {
  const std::size_t end = text.rfind('@');
  const std::size_t scheme = text.find("://");
  if (end == std::string::npos) {
    return text;
  }
  const std::size_t begin = scheme < end ? scheme + 3 : 0;
  return text.substr(0, begin) + text.substr(end + 1);
}

Error failure(std::int64_t code, const std::string& description) {
  return makeError(kPushServiceErrorDomain, code, description);
}

std::optional<PushIdentity> refuse(ErrorSlot slot, const std::string& reason) {
  replaceError(slot, failure(kPushIdentityErrorCode, reason));
  return std::nullopt;
}

/// A file that the identity may name, and libcurl's code for one that cannot be read.
struct NamedFile {
  const char* key;
  std::optional<PushIdentityFile> PushIdentity::*member;
  CURLcode code;
};

constexpr std::array<NamedFile, 3> kNamedFiles = {
    {{"Certificate", &PushIdentity::certificate, CURLE_SSL_CERTPROBLEM},
     {"PrivateKey", &PushIdentity::privateKey, CURLE_SSL_CERTPROBLEM},
     {"CertificateAuthority", &PushIdentity::certificateAuthority, CURLE_SSL_CACERT_BADFILE}}};

/// Whether the file holds what others must not see.
bool isSecret(const PushIdentity& identity, const NamedFile& file) {
  return file.member == &PushIdentity::privateKey ||
         (file.member == &PushIdentity::certificate && !identity.privateKey);
}

/// Reads the files that the identity names.
std::optional<Error> readFiles(PushIdentity& identity) {
  for (const NamedFile& file : kNamedFiles) {
    std::optional<PushIdentityFile>& named = identity.*file.member;
    if (!named) {
      continue;
    }
    std::optional<Error> problem;
    auto content = isSecret(identity, file)
                       ? contentsOfPrivateFile(named->path, kMaximumPEMSize, &problem)
                       : contentsOfRegularFile(named->path, kMaximumPEMSize, &problem);
    if (!content) {
      const bool isRefused = problem->code == EPERM;
      return failure(isRefused ? kPushIdentityErrorCode : file.code,
                     problem->localizedDescription());
    }
    named->content = std::move(*content);
  }
  return std::nullopt;
}

}  // namespace

std::string PushIdentity::shownEndpoint() const {
  return withoutPassword(endpoint);
}

std::optional<PushIdentity> PushIdentity::fromPropertyList(std::string_view bytes,
                                                           ErrorSlot error) {
  std::optional<Error> problem;
  const auto value = PropertyListSerialization::propertyList(Data(bytes), &problem);
  if (!value) {
    return refuse(error, problem->localizedDescription());
  }
  if (value->dictionary() == nullptr) {
    return refuse(error, "it is no dictionary");
  }
  const std::string* endpoint = stringForKey(*value->dictionary(), "Endpoint");
  if (endpoint == nullptr) {
    return refuse(error, "it has no Endpoint");
  }
  if (const auto wrong = objection(*endpoint)) {
    return refuse(error, "the Endpoint \"" + withoutPassword(*endpoint) + "\" " + *wrong);
  }
  PushIdentity identity{*endpoint, {}, {}, {}};
  for (const NamedFile& file : kNamedFiles) {
    const PropertyList* path = valueForKey(*value->dictionary(), file.key);
    if (path == nullptr) {
      continue;
    }
    if (path->string() == nullptr || !path->string()->starts_with('/')) {
      return refuse(error, std::string(file.key) + " is no absolute path");
    }
    identity.*file.member = {rootedPath(*path->string()), {}};
  }
  return identity;
}

std::shared_ptr<const PushIdentity> PushIdentity::read(const std::string& path, ErrorSlot error) {
  std::optional<Error> problem;
  const auto content = contentsOfPrivateFile(path, kMaximumFileSize, &problem);
  if (!content) {
    replaceError(error, failure(kPushIdentityErrorCode, problem->localizedDescription()));
    return nullptr;
  }
  auto identity = fromPropertyList(*content, &problem);
  if (!identity) {
    replaceError(error, failure(problem->code, path + ": " + problem->localizedDescription()));
    return nullptr;
  }
  if (auto unreadable = readFiles(*identity)) {
    replaceError(error, std::move(*unreadable));
    return nullptr;
  }
  return std::make_shared<const PushIdentity>(std::move(*identity));
}

}  // namespace velto
