// SPDX-License-Identifier: Apache-2.0
#include "bench/Followers.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "bench/ServiceProcesses.h"

namespace velto::bench {

namespace {

constexpr std::string_view kFollow(
    "{\"method\":\"com.ulmora.velto.AlertsMonitor.Follow\",\"more\":true}\0", 63);
constexpr std::string_view kAdded = R"("kind":"added")";
constexpr std::string_view kLost = R"("kind":"lost")";

/// Counts words in a text that comes in portions.
class WordCount {
 public:
  void add(std::string_view text, Followers::Told& told) {
    rest_.append(text);
    told.added += count(kAdded);
    told.lost += count(kLost);
    rest_.erase(0, rest_.size() - std::min(rest_.size(), kAdded.size() - 1));
  }

 private:
  /// Those that are not within what is kept for the next portion.
  std::size_t count(std::string_view word) const {
    const std::string_view text(rest_);
    std::size_t found = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + word.size())) {
      ++found;
    }
    return found;
  }

  std::string rest_;
};

/// The process of the followers: tells what the first one has been told whenever it is asked.
class Process {
 public:
  Process(const std::string& path, std::size_t count, FileDescriptor questions)
      : questions_(std::move(questions)) {
    watch(questions_.get(), kQuestion);
    for (std::size_t index = 0; index < count; ++index) {
      sockets_.push_back(connectedSocket(path));
      ::send(sockets_.back().get(), kFollow.data(), kFollow.size(), MSG_NOSIGNAL);
      ::recv(sockets_.back().get(), buffer_.data(), buffer_.size(), 0);
      watch(sockets_.back().get(), index);
    }
    answer();
  }

  /// Until the other side has gone.
  [[noreturn]] void run() {
    std::array<epoll_event, 64> events{};
    while (true) {
      const int count = ::epoll_wait(epoll_.get(), events.data(), events.size(), -1);
      for (int index = 0; index < count; ++index) {
        serve(events.at(static_cast<std::size_t>(index)).data.u64);
      }
    }
  }

 private:
  static constexpr std::uint64_t kQuestion = UINT64_MAX;

  void watch(int descriptor, std::uint64_t number) const {
    epoll_event event{.events = EPOLLIN, .data = {.u64 = number}};
    ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event);
  }

  void serve(std::uint64_t number) {
    const int from = number == kQuestion ? questions_.get() : sockets_.at(number).get();
    const ssize_t size = ::recv(from, buffer_.data(), buffer_.size(), 0);
    if (size <= 0) std::_Exit(0);
    if (number == kQuestion) answer();
    if (number == 0) words_.add({buffer_.data(), static_cast<std::size_t>(size)}, told_);
  }

  void answer() {
    ::send(questions_.get(), &told_, sizeof told_, MSG_NOSIGNAL);
    told_ = {};
  }

  const FileDescriptor questions_;
  const FileDescriptor epoll_{::epoll_create1(EPOLL_CLOEXEC)};
  std::vector<FileDescriptor> sockets_;
  std::string buffer_ = std::string(std::size_t{256} * 1024, '\0');
  WordCount words_;
  Followers::Told told_;
};

}  // namespace

Followers::Followers(const std::string& socketPath, std::size_t count) {
  std::array<int, 2> ends{};
  ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data());
  FileDescriptor theirs(ends[1]);
  answers_ = FileDescriptor(ends[0]);
  process_ = ::fork();
  if (process_ == 0) {
    answers_ = FileDescriptor();
    Process(socketPath, count, std::move(theirs)).run();
  }
  Told none;
  ::recv(answers_.get(), &none, sizeof none, MSG_WAITALL);
}

Followers::~Followers() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

Followers::Told Followers::told() {
  Told now;
  ::send(answers_.get(), "?", 1, MSG_NOSIGNAL);
  ::recv(answers_.get(), &now, sizeof now, MSG_WAITALL);
  return now;
}

}  // namespace velto::bench
