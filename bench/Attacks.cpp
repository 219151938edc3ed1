// SPDX-License-Identifier: Apache-2.0
#include "bench/Attacks.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "bench/ServiceProcesses.h"
#include "platform/foundation/FileDescriptor.h"

namespace velto::bench {
namespace {

constexpr uid_t kAttacker = 65534;
constexpr gid_t kNoRole = 65534;
constexpr gid_t kAdministrators = 0;

std::string repeated(const std::string& text, int count) {
  std::string all;
  for (; count > 0; --count) {
    all += text;
  }
  return all;
}

/// A connection that sends the same again and again, as fast as it is let.
class Sender {
 public:
  explicit Sender(FileDescriptor socket) : socket_(std::move(socket)) {}

  int descriptor() const { return socket_.get(); }
  /// False when the other end has hung up.
  bool send(std::string_view text) {
    const ssize_t size = ::send(socket_.get(), text.data() + sent_, text.size() - sent_,
                                MSG_NOSIGNAL | MSG_DONTWAIT);
    if (size > 0) sent_ = (sent_ + static_cast<std::size_t>(size)) % text.size();
    return size >= 0 || errno == EAGAIN;
  }
  /// The same for what has come.
  bool discard() const {
    static std::array<char, 262144> buffer;
    const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
    return size > 0 || (size < 0 && errno == EAGAIN);
  }

 private:
  FileDescriptor socket_;
  std::size_t sent_ = 0;
};

/// Keeps so many connections that send without end; whoever `reads` takes the replies.
void flood(const std::string& path, std::size_t connections, const std::string& text, bool reads) {
  std::vector<Sender> senders;
  std::vector<pollfd> polled;
  while (true) {
    while (senders.size() < connections) {
      senders.emplace_back(connectedSocket(path));
    }
    polled.clear();
    for (const Sender& each : senders) {
      polled.push_back({.fd = each.descriptor(),
                        .events = static_cast<short>(reads ? POLLIN | POLLOUT : POLLOUT),
                        .revents = 0});
    }
    ::poll(polled.data(), polled.size(), -1);
    for (std::size_t at = senders.size(); at-- > 0;) {
      const short events = polled[at].revents;
      const bool isAlive = (events & (POLLERR | POLLHUP)) == 0 &&
                           ((events & POLLIN) == 0 || senders[at].discard()) &&
                           ((events & POLLOUT) == 0 || senders[at].send(text));
      if (!isAlive) senders.erase(senders.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
}

/// Makes so many connections, sends on each and reads nothing; ends them and begins again.
void burst(const std::string& path, std::size_t connections, const std::string& text) {
  while (true) {
    std::vector<FileDescriptor> sockets;
    while (sockets.size() < connections) {
      sockets.push_back(connectedSocket(path));
      ::send(sockets.back().get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    }
  }
}

const std::string& names() {
  static const std::string call = callOf("GetAlertBundleNames", "{}");
  return call;
}

std::string list() {
  return callOf("GetAlertsOfType", R"({"type":"Listed"})");
}

void pipeline(const std::string& path) {
  flood(path, 50, repeated(names(), 200), true);
}

void askForListsAndReadNothing(const std::string& path) {
  burst(path, 2000, list());
}

void readLists(const std::string& path) {
  flood(path, 16, list(), true);
}

void connectAgainAndAgain(const std::string& path) {
  while (true) {
    const FileDescriptor socket = connectedSocket(path);
    ::send(socket.get(), names().data(), names().size(), MSG_NOSIGNAL);
  }
}

void sendHalfMessages(const std::string& path) {
  burst(path, 500, std::string(60000, ' '));
}

void askForWhatIsDenied(const std::string& path) {
  flood(path, 50, repeated(callOf("GetMailRecipients", "{}"), 200), true);
}

void post(const std::string& path) {
  flood(path, 300, callOf("PostAlert", R"({"alert":{"bundle":"Bundle0","type":"Type"}})"), true);
}

void askForPeriods(const std::string& path) {
  flood(path, 50, callOf("GetAlertsFromDate", R"({"fromDate":0.0,"toDate":1.0})"), true);
}

}  // namespace

const std::vector<Attack>& attacks() {
  static const std::vector<Attack> all = {
      {"50 connections, 200 calls in flight each", kNoRole, pipeline},
      {"50 connections, 200 denied calls in flight each", kNoRole, askForWhatIsDenied},
      {"A new connection for each call, without end", kNoRole, connectAgainAndAgain},
      {"Bursts of 500 half messages of 60 KB", kNoRole, sendHalfMessages},
      {"Bursts of 2,000 askers for a long list who read nothing", kAdministrators,
       askForListsAndReadNothing},
      {"16 readers of long lists", kAdministrators, readLists},
      {"50 askers for periods", kAdministrators, askForPeriods},
      {"300 connections that post, to a slow mail program", kAdministrators, post},
  };
  return all;
}

HostileProcess::HostileProcess(const Attack& attack, const std::string& socketPath) {
  start(attack.group, [&] { attack.run(socketPath); });
}

HostileProcess::HostileProcess() {
  start(kNoRole, [] {
    volatile std::uint64_t count = 0;
    while (true) {
      const std::uint64_t next = count + 1;
      count = next;
    }
  });
}

HostileProcess::HostileProcess(HostileProcess&& other) noexcept
    : process_(std::exchange(other.process_, -1)) {}

HostileProcess::~HostileProcess() {
  if (process_ < 0) return;
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
}

bool HostileProcess::isRunning() const {
  siginfo_t end{};
  return ::waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         end.si_pid == 0;
}

template <typename Run>
void HostileProcess::start(gid_t group, const Run& run) {
  process_ = ::fork();
  if (process_ != 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::setgroups(0, nullptr) == 0 && ::setresgid(group, group, group) == 0 &&
      ::setresuid(kAttacker, kAttacker, kAttacker) == 0) {
    run();
  }
  std::_Exit(1);
}

}  // namespace velto::bench
