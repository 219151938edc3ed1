// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <curl/curl.h>
#include <memory>
#include <string>
#include <vector>

namespace velto::bench {

/// What delivery is compared with: notifications sent with nothing but libcurl, over one warm
/// connection with 100 streams.
class BareMulti {
 public:
  static constexpr std::size_t kStreams = 100;

  /// Sends to `endpoint`, believing the authority in the PEM file.
  BareMulti(std::string endpoint, const std::string& authority);
  ~BareMulti();
  BareMulti(const BareMulti&) = delete;
  BareMulti& operator=(const BareMulti&) = delete;

  /// Sends the payload to each device, given in hexadecimal. False unless all were accepted.
  bool send(const std::vector<std::string>& devices, const std::string& payload);

 private:
  void start(CURL* handle, const std::string& device);

  const std::string endpoint_;
  CURLM* const multi_;
  curl_slist* headers_ = nullptr;
  std::vector<CURL*> handles_;
};

/// Runs a program with "-t", hands it the text, and waits for its end; gives its exit status.
/// Nothing but posix_spawn.
int bareSpawn(const std::string& program, const std::string& text);

}  // namespace velto::bench
