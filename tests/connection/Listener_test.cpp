// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/Listener.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/connection/RunLoop.h"
#include "platform/foundation/Paths.h"
#include "tests/connection/TestClient.h"
#include "tests/connection/TestService.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using testing::HasSubstr;

constexpr const char* kNote = R"({"method":"test.service.Note"})";
constexpr const char* kNoted = R"({"parameters":{}})";
constexpr int kFirstHandedOver = 3;

/// A socket bound at `path`, listening or not.
FileDescriptor boundSocket(const std::string& path, bool listening) {
  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  EXPECT_EQ(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  EXPECT_EQ(listening ? ::listen(socket.get(), 5) : 0, 0);
  return socket;
}

mode_t modeOf(const std::filesystem::path& path) {
  struct stat status {};
  EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

/// The error of making a listener at `path`, which must fail.
Error failureAt(const std::string& path) {
  GuestTable guests;
  RunLoop runLoop;
  std::optional<Error> error;
  EXPECT_EQ(Listener::listenerWithPath(runLoop, guests, path, &error), nullptr);
  EXPECT_TRUE(error);
  return error.value_or(Error());
}

// --- The socket ---

TEST(Listener, makesASocketForEverybody) {
  const TemporaryDirectory root;
  ASSERT_EQ(setenv("VELTO_ROOT", root.path().c_str(), 1), 0);
  const mode_t mask = umask(077);
  TestService service([](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
    return Listener::listenerWithServiceName(runLoop, guests, "com.example.Service", error);
  });
  umask(mask);
  unsetenv("VELTO_ROOT");
  const auto path = root.path() / "run/velto/com.example.Service";
  EXPECT_EQ(modeOf(path), 0666U);
  EXPECT_EQ(modeOf(path.parent_path()), 0755U);
  TestClient client(path);
  EXPECT_EQ(client.ask(kNote), kNoted);
}

TEST(Listener, replacesASocketThatNobodyServes) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  boundSocket(path, false);
  ASSERT_TRUE(std::filesystem::exists(path));
  TestService service([&](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
    return Listener::listenerWithPath(runLoop, guests, path, error);
  });
  TestClient client(path);
  EXPECT_EQ(client.ask(kNote), kNoted);
}

TEST(Listener, refusesToReplaceASocketThatAnswers) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  const FileDescriptor other = boundSocket(path, true);
  const Error error = failureAt(path);
  EXPECT_EQ(error.domain, "Listener");
  EXPECT_EQ(error.code, EADDRINUSE);
  EXPECT_THAT(error.localizedDescription(), HasSubstr("another process already serves " + path));
  EXPECT_TRUE(TestClient(path).isConnected());
}

TEST(Listener, refusesToReplaceASocketWhoseQueueIsFull) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  const FileDescriptor other = boundSocket(path, true);
  ASSERT_EQ(::listen(other.get(), 0), 0);
  const TestClient queued(path);
  EXPECT_EQ(failureAt(path).code, EADDRINUSE);
}

TEST(Listener, servesASocketOnce) {
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  GuestTable guests;
  RunLoop runLoop;
  std::optional<Error> error;
  auto first = Listener::listenerWithPath(runLoop, guests, path, &error);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(failureAt(path).code, EADDRINUSE);
  EXPECT_TRUE(TestClient(path).isConnected());
  // A lock alone says that somebody is about to serve.
  ASSERT_TRUE(std::filesystem::remove(path));
  EXPECT_EQ(failureAt(path).code, EADDRINUSE);
  first.reset();
  EXPECT_NE(Listener::listenerWithPath(runLoop, guests, path, &error), nullptr);
}

TEST(Listener, leavesAloneWhatIsNoSocket) {
  const TemporaryDirectory directory;
  const std::string file = directory.write("file", "content");
  EXPECT_THAT(failureAt(file).localizedDescription(), HasSubstr(file + " exists and is no socket"));
  EXPECT_EQ(readFile(file), "content");

  const std::string link = directory.path() / "link";
  std::filesystem::create_symlink("nowhere", link);
  EXPECT_EQ(failureAt(link).code, EEXIST);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
}

TEST(Listener, saysWhyThereCanBeNoSocket) {
  const TemporaryDirectory directory;
  const std::string below = directory.write("file", "") / "socket";
  EXPECT_EQ(failureAt(below).code, ENOTDIR);
  EXPECT_THAT(failureAt(below).localizedDescription(), HasSubstr("cannot make the directory"));

  const std::string tooLong = directory.path() / std::string(200, 'x');
  EXPECT_EQ(failureAt(tooLong).code, ENAMETOOLONG);
  EXPECT_THAT(failureAt(tooLong).localizedDescription(),
              testing::AllOf(HasSubstr(tooLong), HasSubstr("107"), HasSubstr("VELTO_ROOT")));
}

// --- A socket handed over ---

/// Hands descriptors over to this process, as the service manager does.
class HandedOver : public testing::Test {
 protected:
  void handOver(const std::vector<int>& descriptors, const char* names,
                pid_t process = ::getpid()) {
    int next = kFirstHandedOver;
    for (const int descriptor : descriptors) {
      // Above all others first, since one of them may stand where another has to go.
      const FileDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, 100));
      ASSERT_EQ(::dup2(copy.get(), next), next);
      ++next;
    }
    setenv("LISTEN_PID", std::to_string(process).c_str(), 1);
    setenv("LISTEN_FDS", std::to_string(descriptors.size()).c_str(), 1);
    setenv("LISTEN_FDNAMES", names, 1);
    setenv("VELTO_ROOT", directory_.path().c_str(), 1);
  }
  void TearDown() override {
    for (const auto* name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES", "VELTO_ROOT"}) {
      unsetenv(name);
    }
  }

  static std::unique_ptr<Listener> make(RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
    return Listener::listenerWithServiceName(runLoop, guests, "name", error);
  }
  static Error failure() {
    GuestTable guests;
    RunLoop runLoop;
    std::optional<Error> error;
    EXPECT_EQ(make(runLoop, guests, &error), nullptr);
    return error.value_or(Error());
  }

  TemporaryDirectory directory_;
  const std::string path_ = directory_.path() / "handed-over";
};

TEST_F(HandedOver, isServedAndKeptFromChildren) {
  const FileDescriptor socket = boundSocket(path_, true);
  handOver({socket.get()}, "varlink");
  TestService service(make);
  TestClient client(path_);
  EXPECT_EQ(client.ask(kNote), kNoted);
  EXPECT_EQ(getenv("LISTEN_FDS"), nullptr);
  EXPECT_EQ(getenv("LISTEN_PID"), nullptr);
  EXPECT_EQ(getenv("LISTEN_FDNAMES"), nullptr);
  EXPECT_EQ(::fcntl(kFirstHandedOver, F_GETFD), FD_CLOEXEC);
  EXPECT_FALSE(std::filesystem::exists(directory_.path() / "run"));
}

TEST_F(HandedOver, isFoundByItsNameAmongOthers) {
  const FileDescriptor other = boundSocket(directory_.path() / "other", true);
  const FileDescriptor socket = boundSocket(path_, true);
  handOver({other.get(), socket.get()}, "something:varlink");
  TestService service(make);
  TestClient client(path_);
  EXPECT_EQ(client.ask(kNote), kNoted);
}

TEST_F(HandedOver, needsNoNameWhenItIsTheOnlyOne) {
  const FileDescriptor socket = boundSocket(path_, true);
  handOver({socket.get()}, "velto.socket");
  TestService service(make);
  TestClient client(path_);
  EXPECT_EQ(client.ask(kNote), kNoted);
}

TEST_F(HandedOver, needsAnameAmongOthers) {
  const FileDescriptor one = boundSocket(path_, true);
  const FileDescriptor two = boundSocket(directory_.path() / "other", true);
  handOver({one.get(), two.get()}, "a:b");
  EXPECT_THAT(failure().localizedDescription(), HasSubstr("FileDescriptorName=varlink"));
}

TEST_F(HandedOver, mustBeAListeningSocket) {
  const FileDescriptor socket = boundSocket(path_, false);
  handOver({socket.get()}, "varlink");
  EXPECT_EQ(failure().code, ENOTSOCK);
  const FileDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  handOver({file.get()}, "varlink");
  EXPECT_EQ(failure().code, ENOTSOCK);
}

TEST_F(HandedOver, isIgnoredWhenItIsMeantForAnotherProcess) {
  const FileDescriptor socket = boundSocket(path_, true);
  handOver({socket.get()}, "varlink", ::getppid());
  TestService service(make);
  TestClient client(directory_.path() / "run/velto/name");
  EXPECT_EQ(client.ask(kNote), kNoted);
}

// --- Clients ---

TEST(Listener, notesACallerAsAGuestWhileItsDelegateDecides) {
  TestService service;
  TestClient client(service.path());
  EXPECT_EQ(client.ask(kNote), kNoted);
  const auto addresses = service.guestAddresses();
  ASSERT_EQ(addresses.size(), 1U);
  EXPECT_FALSE(service.guests().guestAt(addresses.front()));
}

TEST(Listener, servesClientsThatCameBeforeItWasResumed) {
  std::optional<TestClient> early;
  const TemporaryDirectory directory;
  const std::string path = directory.path() / "socket";
  TestService service([&](RunLoop& runLoop, GuestTable& guests, ErrorSlot error) {
    auto listener = Listener::listenerWithPath(runLoop, guests, path, error);
    early.emplace(path);
    EXPECT_TRUE(early->send(kNote));
    return listener;
  });
  EXPECT_EQ(early->receive(), kNoted);
}

TEST(Listener, closesTheConnectionsThatItsDelegateTurnsAway) {
  TestService service;
  service.setAccepting(false);
  TestClient unwanted(service.path());
  EXPECT_EQ(unwanted.receive(), std::nullopt);
  waitUntil([&] { return service.shared().objects == 0; });
  service.setAccepting(true);
  TestClient wanted(service.path());
  EXPECT_EQ(wanted.ask(kNote), kNoted);
}

TEST(Listener, tellsWhoHasConnected) {
  TestService service;
  TestClient first(service.path());
  EXPECT_EQ(first.ask(kNote), kNoted);
  TestClient second(service.path());
  EXPECT_EQ(second.ask(kNote), kNoted);
  const std::vector<AuditToken> tokens = service.tokens();
  ASSERT_EQ(tokens.size(), 2U);
  for (const AuditToken& token : tokens) {
    EXPECT_EQ(token.effectiveUserIdentifier, ::geteuid());
    EXPECT_EQ(token.effectiveGroupIdentifier, ::getegid());
    EXPECT_EQ(token.processIdentifier, ::getpid());
    EXPECT_GT(token.processStartTime, 0U);
  }
  EXPECT_LT(tokens[0].serialNumber, tokens[1].serialNumber);
}

TEST(Listener, waitsForDescriptorsWhenThereAreNone) {
  TestService service;
  TestClient early(service.path());
  EXPECT_EQ(early.ask(kNote), kNoted);
  rlimit limit{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
  rlimit low = limit;
  low.rlim_cur = 64;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  std::vector<FileDescriptor> all;
  for (int copy = 0; (copy = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)) >= 0;) {
    all.emplace_back(copy);
  }
  ASSERT_EQ(errno, EMFILE);

  // The client gets the last descriptor, and the service has none for its side.
  all.pop_back();
  TestClient late(service.path());
  ASSERT_TRUE(late.isConnected());
  EXPECT_TRUE(late.send(kNote));
  for (int i = 0; i < 100; ++i) {
    EXPECT_EQ(early.ask(kNote), kNoted);
  }
  EXPECT_EQ(service.tokens().size(), 1U);

  all.clear();
  EXPECT_EQ(late.receive(), kNoted);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
}

}  // namespace
}  // namespace velto
