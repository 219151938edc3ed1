// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "platform/foundation/FileDescriptor.h"

namespace velto::bench {

class BenchDirectory;

/// A whole system below a directory of its own, in which a daemon has been started before: with 20
/// bundles, and this many alerts, of which the first `listed` are of the listed type.
std::string preparedSystem(const BenchDirectory& directory, std::size_t alerts, std::size_t listed);

/// A call with its NUL; the parameters are JSON, the flags its further members.
std::string callOf(std::string_view method, std::string_view parameters,
                   std::string_view flags = {});

/// A socket connected to the one at `path`. Ends the program when there is none.
FileDescriptor connectedSocket(const std::string& path);

/// Lets this process open as many files as it may.
void raiseDescriptorLimit();

/// One end of a connection that carries messages, each ended by a NUL. Ends the program when the
/// other end is gone.
class MessageSocket {
 public:
  explicit MessageSocket(FileDescriptor socket) : socket_(std::move(socket)) {}
  /// Sends messages, whose NULs stand in the text.
  void send(std::string_view messages) const;
  /// Waits for bytes; gives how many messages they end.
  std::size_t receive();
  /// What `receive` got, until the thread receives again.
  std::string_view received() const { return received_; }

 private:
  FileDescriptor socket_;
  std::string_view received_;
};

/// The whole reply to a call, however many pieces it has.
std::string ask(MessageSocket& socket, std::string_view message);

/// The call that saves the new alert of this number.
std::string saveOfNewAlert(std::size_t number);

/// A process that answers every message with one that is always the same. It takes all that has
/// come at once, and answers it at once.
class EchoProcess {
 public:
  explicit EchoProcess(const std::string& answer);
  ~EchoProcess();
  EchoProcess(const EchoProcess&) = delete;
  EchoProcess& operator=(const EchoProcess&) = delete;

  MessageSocket& socket() { return socket_; }
  pid_t process() const { return process_; }

 private:
  MessageSocket socket_;
  pid_t process_ = -1;
};

/// The daemon, with everything below `root`, its log in the file `log`. Ends with this object.
class DaemonProcess {
 public:
  /// Returns when it has told that it is ready.
  explicit DaemonProcess(const std::string& root);
  ~DaemonProcess();
  DaemonProcess(const DaemonProcess&) = delete;
  DaemonProcess& operator=(const DaemonProcess&) = delete;

  std::string socketPath() const;
  MessageSocket connect() const;
  pid_t process() const { return process_; }
  /// From its start until it was ready.
  std::chrono::duration<double> startTime() const { return startTime_; }
  std::size_t residentBytes() const { return memory().resident; }
  /// Of those, what is of files, libraries most of all.
  std::size_t sharedBytes() const { return memory().shared; }
  /// Since its start, in all threads that there are now.
  std::size_t contextSwitches() const;
  /// Since its start, to files.
  std::size_t writtenBytes() const;

 private:
  struct Memory {
    std::size_t resident;
    std::size_t shared;
  };
  Memory memory() const;

  const std::string root_;
  pid_t process_ = -1;
  std::chrono::duration<double> startTime_{};
};

}  // namespace velto::bench
