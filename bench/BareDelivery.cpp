// SPDX-License-Identifier: Apache-2.0
#include "bench/BareDelivery.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace velto::bench {

namespace {

std::size_t discard(char* /*bytes*/, std::size_t size, std::size_t count, void* /*unused*/) {
  return size * count;
}

}  // namespace

BareMulti::BareMulti(std::string endpoint, const std::string& authority)
    : endpoint_(std::move(endpoint)), multi_(curl_multi_init()) {
  curl_multi_setopt(multi_, CURLMOPT_MAX_HOST_CONNECTIONS, 1L);
  headers_ = curl_slist_append(headers_, "Content-Type: application/json");
  headers_ = curl_slist_append(headers_, "TTL: 2592000");
  headers_ = curl_slist_append(headers_, "Topic: 3AUAAA");
  for (std::size_t index = 0; index < kStreams; ++index) {
    CURL* handle = handles_.emplace_back(curl_easy_init());
    curl_easy_setopt(handle, CURLOPT_CAINFO, authority.c_str());
    curl_easy_setopt(handle, CURLOPT_PIPEWAIT, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_2TLS);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers_);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, discard);
  }
}

BareMulti::~BareMulti() {
  for (CURL* handle : handles_) {
    curl_easy_cleanup(handle);
  }
  curl_multi_cleanup(multi_);
  curl_slist_free_all(headers_);
}

void BareMulti::start(CURL* handle, const std::string& device) {
  curl_easy_setopt(handle, CURLOPT_URL, (endpoint_ + "/" + device).c_str());
  curl_multi_add_handle(multi_, handle);
}

bool BareMulti::send(const std::vector<std::string>& devices, const std::string& payload) {
  for (CURL* handle : handles_) {
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, payload.c_str());
  }
  std::size_t next = 0;
  while (next < std::min(kStreams, devices.size())) {
    start(handles_[next], devices[next]);
    ++next;
  }
  std::size_t accepted = 0;
  std::size_t finished = 0;
  while (finished < devices.size()) {
    int running = 0;
    int left = 0;
    curl_multi_perform(multi_, &running);
    while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
      CURL* handle = message->easy_handle;
      long status = 0;
      curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
      accepted += message->data.result == CURLE_OK && status == 200 ? 1 : 0;
      ++finished;
      curl_multi_remove_handle(multi_, handle);
      if (next < devices.size()) {
        start(handle, devices[next++]);
      }
    }
    if (finished < devices.size()) {
      curl_multi_poll(multi_, nullptr, 0, 100, nullptr);
    }
  }
  return accepted == devices.size();
}

int bareSpawn(const std::string& program, const std::string& text) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    return -1;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  std::array<char*, 3> arguments = {const_cast<char*>(program.c_str()), const_cast<char*>("-t"),
                                    nullptr};
  pid_t process = -1;
  const int error =
      posix_spawn(&process, program.c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(ends[0]);
  const ssize_t written = ::write(ends[1], text.data(), text.size());
  ::close(ends[1]);
  int status = -1;
  if (error == 0) {
    ::waitpid(process, &status, 0);
  }
  return written == static_cast<ssize_t>(text.size()) ? status : -1;
}

}  // namespace velto::bench
