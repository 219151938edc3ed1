// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/ListeningSocket.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

#include <systemd/sd-daemon.h>

namespace velto {
namespace {

/// The name of our socket in its unit file (FileDescriptorName=).
constexpr std::string_view kHandedOverName = "varlink";
constexpr mode_t kSocketMode = 0666;
constexpr mode_t kLockMode = 0600;

void fail(ErrorSlot error, int code, const std::string& description) {
  setIfEmpty(error, makeError(kListenerErrorDomain, code, description));
}

/// Fails with what the system says about `code`, and with what to do where rights are lacking.
void failWith(ErrorSlot error, int code, const std::string& what) {
  const bool lacksRights = (code == EACCES || code == EPERM) && ::geteuid() != 0;
  fail(error, code,
       what + ": " + std::generic_category().message(code) +
           (lacksRights ? "; run it as root, or in a system of your own (VELTO_ROOT)" : ""));
}

void failInUse(ErrorSlot error, const std::string& path) {
  fail(error, EADDRINUSE, "another process already serves " + path + "; stop it first");
}

// --- A socket handed over ---

/// The names of the descriptors handed over, in their order, and the array that holds them.
class HandedOverNames {
 public:
  HandedOverNames() : count_(sd_listen_fds_with_names(1, &names_)) {}
  ~HandedOverNames() {
    for (int i = 0; i < count_; ++i) {
      std::free(names_[i]);
    }
    std::free(names_);
  }
  HandedOverNames(const HandedOverNames&) = delete;
  HandedOverNames& operator=(const HandedOverNames&) = delete;

  /// Negative: an error's code.
  int count() const { return count_; }
  std::string_view operator[](int index) const { return names_[index]; }

 private:
  char** names_ = nullptr;
  const int count_;
};

/// The descriptor that is ours, or -1.
int descriptorOf(const HandedOverNames& names) {
  if (names.count() == 1) return SD_LISTEN_FDS_START;
  for (int i = 0; i < names.count(); ++i) {
    if (names[i] == kHandedOverName) return SD_LISTEN_FDS_START + i;
  }
  return -1;
}

// --- A socket of our own ---

std::optional<sockaddr_un> addressOf(const std::string& path, ErrorSlot error) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    fail(error, ENAMETOOLONG,
         "the socket's path " + path + " has " + std::to_string(path.size()) +
             " bytes, more than the " + std::to_string(sizeof(address.sun_path) - 1) +
             " that a socket can have; choose a shorter VELTO_ROOT");
    return std::nullopt;
  }
  path.copy(address.sun_path, path.size());
  return address;
}

const sockaddr* generic(const sockaddr_un& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

bool makeDirectory(const std::filesystem::path& directory, ErrorSlot error) {
  namespace fs = std::filesystem;
  std::error_code code;
  if (fs::create_directories(directory, code)) {
    // Whatever the umask: clients have to get through.
    fs::permissions(directory, fs::perms(0755), code);
  }
  if (code) failWith(error, code.value(), "cannot make the directory " + directory.string());
  return !code;
}

FileDescriptor takeLock(const std::string& path, ErrorSlot error) {
  const std::string lockPath = path + ".lock";
  FileDescriptor lock(
      ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kLockMode));
  if (!lock.isOpen()) {
    failWith(error, errno, "cannot open " + lockPath);
    return lock;
  }
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) {
      failInUse(error, path);
    } else {
      failWith(error, errno, "cannot lock " + lockPath);
    }
    return {};
  }
  return lock;
}

FileDescriptor newSocket(ErrorSlot error) {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!socket.isOpen()) failWith(error, errno, "cannot make a socket");
  return socket;
}

/// Removes a socket that nobody serves any more. False, with an error, when the path is taken by
/// something else.
bool clearPath(const std::string& path, const sockaddr_un& address, ErrorSlot error) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno != ENOENT) failWith(error, errno, "cannot look at " + path);
    return errno == ENOENT;
  }
  if (!S_ISSOCK(status.st_mode)) {
    fail(error, EEXIST, path + " exists and is no socket; move it away");
    return false;
  }
  const FileDescriptor probe = newSocket(error);
  if (!probe.isOpen()) return false;
  if (::connect(probe.get(), generic(address), sizeof(address)) == 0 || errno == EAGAIN) {
    failInUse(error, path);
    return false;
  }
  if (errno != ECONNREFUSED || ::unlink(path.c_str()) != 0) {
    failWith(error, errno, "cannot replace the socket " + path);
    return false;
  }
  return true;
}

/// Nobody can connect before `listen`, so there is no moment at which the mode matters.
bool bindAndListen(int socket, const std::string& path, const sockaddr_un& address,
                   ErrorSlot error) {
  if (::bind(socket, generic(address), sizeof(address)) != 0) {
    failWith(error, errno, "cannot make the socket " + path);
    return false;
  }
  if (::chmod(path.c_str(), kSocketMode) != 0 || ::listen(socket, SOMAXCONN) != 0) {
    failWith(error, errno, "cannot open the socket " + path + " to clients");
    ::unlink(path.c_str());
    return false;
  }
  return true;
}

}  // namespace

std::optional<ListeningSocket> ListeningSocket::fromServiceManager(ErrorSlot error) {
  const HandedOverNames names;
  if (names.count() == 0) return std::nullopt;
  if (names.count() < 0) {
    failWith(error, -names.count(), "cannot take the sockets that the service manager handed over");
    return std::nullopt;
  }
  const int descriptor = descriptorOf(names);
  if (descriptor < 0) {
    fail(error, ENOENT,
         "none of the sockets that the service manager handed over is named varlink; set "
         "FileDescriptorName=varlink in the socket unit");
    return std::nullopt;
  }
  if (sd_is_socket_unix(descriptor, SOCK_STREAM, 1, nullptr, 0) <= 0) {
    fail(error, ENOTSOCK,
         "the descriptor that the service manager handed over is no listening Unix stream socket; "
         "use ListenStream= with a path in the socket unit");
    return std::nullopt;
  }
  FileDescriptor socket(descriptor);
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags < 0 || ::fcntl(descriptor, F_SETFL, flags | O_NONBLOCK) != 0) {
    failWith(error, errno, "cannot use the socket that the service manager handed over");
    return std::nullopt;
  }
  return ListeningSocket{.socket = std::move(socket), .lock = {}};
}

std::optional<ListeningSocket> ListeningSocket::atPath(const std::string& path, ErrorSlot error) {
  const std::optional<sockaddr_un> address = addressOf(path, error);
  if (!address || !makeDirectory(std::filesystem::path(path).parent_path(), error)) {
    return std::nullopt;
  }
  FileDescriptor lock = takeLock(path, error);
  if (!lock.isOpen() || !clearPath(path, *address, error)) return std::nullopt;
  FileDescriptor socket = newSocket(error);
  if (!socket.isOpen() || !bindAndListen(socket.get(), path, *address, error)) {
    return std::nullopt;
  }
  return ListeningSocket{.socket = std::move(socket), .lock = std::move(lock)};
}

}  // namespace velto
