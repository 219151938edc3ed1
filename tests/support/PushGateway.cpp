// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PushGateway.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <set>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/json.hpp>

#include "platform/process/Spawn.h"

namespace velto {
namespace {

constexpr const char* kMakeCertificates = R"(
key() { openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out "$1.key"; }
key ca; key server; key client; key other
openssl req -x509 -key ca.key -subj /CN=authority -days 2 -out ca.pem
sign() {
  openssl req -new -key "$1.key" -subj "/CN=$1" |
    openssl x509 -req -CA ca.pem -CAkey ca.key -CAcreateserial -days 2 -extfile extensions -out "$1.pem"
}
echo "subjectAltName=DNS:localhost,IP:127.0.0.1" > extensions
sign server; sign client; sign other
)";

std::pair<FileDescriptor, FileDescriptor> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe");
  }
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace

const std::filesystem::path& testCertificates() {
  static const TemporaryDirectory directory;
  static const bool isMade = [] {
    const std::string command =
        "cd " + directory.path().string() + " && { set -e;" + kMakeCertificates + "} 2>log";
    return std::system(command.c_str()) == 0;
  }();
  if (!isMade) {
    throw std::runtime_error("openssl: " + readFile(directory.path() / "log"));
  }
  return directory.path();
}

bool PushGateway::isAvailable() {
  return ::access(VELTO_TEST_NODE, X_OK) == 0 &&
         std::system("openssl version >/dev/null 2>&1") == 0;
}

PushGateway::PushGateway(const std::string& options) {
  auto [childsInput, input] = makePipe();
  auto [output, childsOutput] = makePipe();
  const int error =
      spawnProgram(VELTO_TEST_NODE, {VELTO_TEST_GATEWAY, testCertificates().string(), options},
                   {.standardInput = childsInput.get(),
                    .standardOutput = childsOutput.get(),
                    .environment = inheritableEnvironment()},
                   process_);
  if (error != 0) {
    throw std::runtime_error(VELTO_TEST_NODE " cannot be started");
  }
  input_ = std::move(input);
  output_ = std::move(output);
  childsOutput = FileDescriptor();
  port_ = std::stoi(readLine());
}

PushGateway::~PushGateway() {
  kill();
}

void PushGateway::kill() {
  if (process_ != -1) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
    process_ = -1;
  }
}

void PushGateway::pause() const {
  ::kill(process_, SIGSTOP);
}

void PushGateway::resume() const {
  ::kill(process_, SIGCONT);
}

std::string PushGateway::endpoint() const {
  return "https://localhost:" + std::to_string(port_) + "/3/device";
}

boost::json::array PushGateway::requests() {
  if (::write(input_.get(), "\n", 1) != 1) {
    throw std::runtime_error("the gateway has gone");
  }
  return boost::json::parse(readLine()).as_array();
}

std::size_t PushGateway::sessions() {
  std::set<std::int64_t> numbers;
  for (const auto& request : requests()) {
    numbers.insert(request.at("session").as_int64());
  }
  return numbers.size();
}

std::string PushGateway::readLine() {
  std::array<char, 65536> buffer;
  std::size_t end = 0;
  while ((end = read_.find('\n')) == std::string::npos) {
    const ssize_t count = ::read(output_.get(), buffer.data(), buffer.size());
    if (count <= 0) {
      throw std::runtime_error("the gateway has gone");
    }
    read_.append(buffer.data(), static_cast<std::size_t>(count));
  }
  std::string line = read_.substr(0, end);
  read_.erase(0, end + 1);
  return line;
}

}  // namespace velto
