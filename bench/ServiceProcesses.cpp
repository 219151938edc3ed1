// SPDX-License-Identifier: Apache-2.0
#include "bench/ServiceProcesses.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>

#include "bench/SampleStore.h"
#include "platform/foundation/Paths.h"
#include "platform/process/Spawn.h"

namespace velto::bench {

namespace {

constexpr std::size_t kBundles = 20;
constexpr const char* kSocket = "/run/velto/com.ulmora.velto.AlertsDaemon";

[[noreturn]] void giveUp(std::string_view what) {
  fmt::print(stderr, "{}\n", what);
  std::exit(1);
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  return address;
}

/// Answers until the other end is gone.
[[noreturn]] void echo(int socket, const std::string& answer) {
  std::string received(std::size_t{64} * 1024, '\0');
  std::string answers;
  while (true) {
    const ssize_t size = ::recv(socket, received.data(), received.size(), 0);
    if (size <= 0) {
      std::_Exit(0);
    }
    answers.clear();
    for (auto messages = std::count(received.begin(), received.begin() + size, '\0'); messages > 0;
         --messages) {
      answers += answer;
    }
    if (::send(socket, answers.data(), answers.size(), MSG_NOSIGNAL) < 0) {
      std::_Exit(0);
    }
  }
}

void end(pid_t process) {
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
}

}  // namespace

FileDescriptor connectedSocket(const std::string& path) {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address = addressOf(path);
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    giveUp("cannot connect to " + path);
  }
  return socket;
}

std::string callOf(std::string_view method, std::string_view parameters, std::string_view flags) {
  return fmt::format(R"({{"method":"com.ulmora.velto.AlertsDaemon.{}","parameters":{}{}}})", method,
                     parameters, flags)
      .append(1, '\0');
}

void raiseDescriptorLimit() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

std::string preparedSystem(const BenchDirectory& directory, std::size_t alerts,
                           std::size_t listed) {
  std::string made = directory.make("root");
  // For clients that are other users.
  std::filesystem::permissions(directory.path(), std::filesystem::perms(0755));
  std::filesystem::permissions(made, std::filesystem::perms(0755));
  for (std::size_t number = 0; number < kBundles; ++number) {
    writeFile(
        fmt::format("{}{}/Bundle{}.bundle/Contents/Info.plist", made, VLAlertsDirectory, number),
        fmt::format("{{ CFBundleIdentifier = \"com.example.bundle{0}\"; "
                    "CFBundleName = \"Bundle {0}\"; VLAlertTypes = {{ Type = {{}}; }}; }}",
                    number));
  }
  std::filesystem::create_directories(made + "/Library/Velto");
  { const DaemonProcess first(made); }
  StoreParts parts(directory);
  StoreContainer container(resourceDirectory(), made + std::string(kStoreDirectory),
                           parts.services());
  fill(container, alerts, listed);
  return made;
}

void MessageSocket::send(std::string_view messages) const {
  while (!messages.empty()) {
    const ssize_t size = ::send(socket_.get(), messages.data(), messages.size(), MSG_NOSIGNAL);
    if (size <= 0) {
      giveUp("the other end does not take anything");
    }
    messages.remove_prefix(static_cast<std::size_t>(size));
  }
}

std::size_t MessageSocket::receive() {
  thread_local std::string buffer(std::size_t{256} * 1024, '\0');
  // As most clients do, and without being woken when the other end takes a message.
  pollfd waiting{.fd = socket_.get(), .events = POLLIN, .revents = 0};
  ::poll(&waiting, 1, -1);
  const ssize_t size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
  if (size <= 0) {
    giveUp("the other end has hung up");
  }
  received_ = {buffer.data(), static_cast<std::size_t>(size)};
  return static_cast<std::size_t>(std::count(received_.begin(), received_.end(), '\0'));
}

std::string ask(MessageSocket& socket, std::string_view message) {
  socket.send(message);
  std::string reply;
  do {
    socket.receive();
    reply.append(socket.received());
  } while (reply.back() != '\0');
  return reply;
}

std::string saveOfNewAlert(std::size_t number) {
  const VLAlert alert = newAlert(number);
  return callOf("SaveAlerts",
                fmt::format(R"({{"alerts":[{{"identifier":"{}","type":"{}","bundle":"{}",)"
                            R"("creationDate":{},"sentDate":{},"attributes":{{"volume":"/home",)"
                            R"("percent":93,"device":"/dev/disk/by-uuid/{}"}}}}]}})",
                            *alert.identifier, *alert.type, *alert.bundle,
                            alert.creationDate->secondsSinceReference(),
                            alert.sentDate->secondsSinceReference(), number));
}

EchoProcess::EchoProcess(const std::string& answer) : socket_(FileDescriptor()) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
    giveUp("no socket");
  }
  FileDescriptor ours(ends[0]);
  const FileDescriptor theirs(ends[1]);
  process_ = ::fork();
  if (process_ == 0) {
    ours = FileDescriptor();
    echo(theirs.get(), answer);
  }
  socket_ = MessageSocket(std::move(ours));
}

EchoProcess::~EchoProcess() {
  end(process_);
}

DaemonProcess::DaemonProcess(const std::string& root) : root_(root) {
  const std::string ready = root + "/ready";
  ::unlink(ready.c_str());
  const FileDescriptor readiness(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const sockaddr_un address = addressOf(ready);
  if (::bind(readiness.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    giveUp("cannot make a socket at " + ready);
  }
  const auto start = std::chrono::steady_clock::now();
  SpawnSettings settings;
  const std::string logFile = root + "/log";
  const FileDescriptor log(
      ::open(logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
  settings.standardError = log.get();
  settings.environment = {"VELTO_ROOT=" + root, "NOTIFY_SOCKET=" + ready, "LANG=C.UTF-8"};
  char told = 0;
  if (spawnProgram(VELTO_ALERTSD, {}, settings, process_) != 0 ||
      ::recv(readiness.get(), &told, 1, 0) != 1) {
    giveUp("the daemon does not start");
  }
  startTime_ = std::chrono::steady_clock::now() - start;
}

DaemonProcess::~DaemonProcess() {
  end(process_);
}

std::string DaemonProcess::socketPath() const {
  return root_ + kSocket;
}

MessageSocket DaemonProcess::connect() const {
  return MessageSocket(connectedSocket(socketPath()));
}

namespace {

/// The sum of the numbers behind the names that end so, in a file of lines such as "name: number".
std::size_t sumOf(const std::filesystem::path& path, std::string_view nameEnd) {
  std::ifstream lines(path);
  std::size_t sum = 0;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t colon = line.find(':');
    if (colon != std::string::npos && std::string_view(line).substr(0, colon).ends_with(nameEnd)) {
      sum += std::stoull(line.substr(colon + 1));
    }
  }
  return sum;
}

}  // namespace

std::size_t DaemonProcess::contextSwitches() const {
  std::size_t sum = 0;
  for (const auto& thread :
       std::filesystem::directory_iterator(fmt::format("/proc/{}/task", process_))) {
    sum += sumOf(thread.path() / "status", "_ctxt_switches");
  }
  return sum;
}

std::size_t DaemonProcess::writtenBytes() const {
  return sumOf(fmt::format("/proc/{}/io", process_), "wchar");
}

DaemonProcess::Memory DaemonProcess::memory() const {
  std::ifstream file(fmt::format("/proc/{}/statm", process_));
  std::size_t all = 0;
  std::size_t resident = 0;
  std::size_t shared = 0;
  file >> all >> resident >> shared;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return {.resident = resident * page, .shared = shared * page};
}

}  // namespace velto::bench
