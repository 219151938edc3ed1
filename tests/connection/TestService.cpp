// SPDX-License-Identifier: Apache-2.0
#include "tests/connection/TestService.h"

#include <chrono>
#include <fstream>
#include <new>
#include <utility>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

#include "platform/connection/JSONReader.h"

namespace velto {
namespace {

namespace json = boost::json;

constexpr ArgumentClass kAdmittedClass{5};

std::shared_ptr<const Interface> exportedInterface(const Protocol& protocol) {
  Interface exported = Interface::interfaceWithProtocol(protocol);
  if (&protocol == &testProtocol()) {
    exported.setClasses({kAdmittedClass}, "classes:", 0, false);
  }
  return std::make_shared<const Interface>(std::move(exported));
}

json::value parametersOf(const Invocation& call) {
  return *readJSON(call.parameters);
}

TestObject::Shared& sharedOf(const Invocation& call) {
  return static_cast<TestObject&>(call.object).shared();
}

CallReply echoed(const Invocation& call) {
  const json::value parameters = parametersOf(call);
  const json::value* value = parameters.get_object().if_contains("value");
  return value == nullptr ? CallReply::invalidParameter("value")
                          : CallReply::parameters(json::serialize(json::object{{"value", *value}}));
}

void echo(const Invocation& call, ReplyPromise promise) {
  promise.keep(echoed(call));
}

void note(const Invocation& call, ReplyPromise promise) {
  ++sharedOf(call).calls;
  promise.keep(CallReply::parameters("{}"));
}

void wait(const Invocation& call, ReplyPromise promise) {
  TestObject::Shared& shared = sharedOf(call);
  ++shared.calls;
  shared.isOpen.wait(false);
  promise.keep(CallReply::parameters(R"({"waited":true})"));
}

/// Keeps the promise with the reply when it is called, once.
std::function<void()> keeping(ReplyPromise promise, CallReply reply) {
  auto both =
      std::make_shared<std::pair<ReplyPromise, CallReply>>(std::move(promise), std::move(reply));
  return [both] { both->first.keep(std::move(both->second)); };
}

void later(const Invocation& call, ReplyPromise promise) {
  TestObject::Shared& shared = sharedOf(call);
  shared.held.add(keeping(std::move(promise), echoed(call)));
  ++shared.calls;
}

void elsewhere(const Invocation& call, ReplyPromise promise) {
  sharedOf(call).other.perform(keeping(std::move(promise), echoed(call)));
}

/// The promise is somebody else's already when memory runs out.
void laterThrow(const Invocation& call, ReplyPromise promise) {
  later(call, std::move(promise));
  throw std::bad_alloc();
}

class Numbers : public ReplyBody {
 public:
  Numbers(TestObject::Shared& shared, int last, std::size_t size)
      : shared_(shared), last_(last), fill_(size, '.') {}

  void begin(std::string& text) override { text += '{'; }
  bool append(std::string& text) override {
    ++shared_.pieces;
    ++number_;
    if (text.back() != '{') text += ',';
    text += R"("number":)" + std::to_string(number_) + R"(,"fill":")" + fill_ + '"';
    return number_ < last_;
  }
  void end(std::string& text, bool /*isLast*/) override { text += '}'; }

 private:
  TestObject::Shared& shared_;
  const int last_;
  const std::string fill_;
  int number_ = 0;
};

void count(const Invocation& call, ReplyPromise promise) {
  const json::value parameters = parametersOf(call);
  const auto to = parameters.at("to").to_number<int>();
  const auto size = parameters.at("size").to_number<std::size_t>();
  promise.keep(CallReply::parameters(std::make_unique<Numbers>(sharedOf(call), to, size)));
}

void follow(const Invocation& call, ReplyPromise promise) {
  promise.keep(CallReply::stream(sharedOf(call).news.stream()));
}

void missing(const Invocation& /*call*/, const ReplyPromise& /*promise*/) {}

void runOutOfMemory(const Invocation& /*call*/, const ReplyPromise& /*promise*/) {
  throw std::bad_alloc();
}

void runOutOfMemoryForReply(const Invocation& /*call*/, ReplyPromise promise) {
  promise.keepWith([]() -> CallReply { throw std::bad_alloc(); });
}

void classes(const Invocation& call, ReplyPromise promise) {
  const bool admits = call.classes != nullptr && call.classes->contains(kAdmittedClass);
  promise.keep(CallReply::parameters(admits ? R"({"admitted":true})" : R"({"admitted":false})"));
}

}  // namespace

void HeldReplies::add(std::function<void()> reply) {
  {
    MutexLock lock(mutex_);
    if (!isOpen_) {
      replies_.push_back(std::move(reply));
      return;
    }
  }
  reply();
}

void HeldReplies::open() {
  std::vector<std::function<void()>> replies;
  {
    MutexLock lock(mutex_);
    isOpen_ = true;
    replies.swap(replies_);
  }
  for (const auto& reply : replies) {
    reply();
  }
}

const Protocol& testProtocol() {
  static const Protocol protocol{
      .name = "test.service",
      .description = "# A \"quoted\" description.\ninterface test.service\n",
      .product = "Test Service",
      .version = "1.2.3",
      .methods = {{.selector = "echo:", .wireName = "Echo", .invoke = echo, .pace = Pace::kQuick},
                  {.selector = "note", .wireName = "Note", .invoke = note},
                  {.selector = "wait", .wireName = "Wait", .invoke = wait, .pace = Pace::kWaits},
                  {.selector = "later:", .wireName = "Later", .invoke = later},
                  {.selector = "elsewhere:", .wireName = "Elsewhere", .invoke = elsewhere},
                  {.selector = "count:", .wireName = "Count", .invoke = count},
                  {.selector = "follow", .wireName = "Follow", .invoke = follow},
                  {.selector = "missing", .wireName = "Missing", .invoke = missing},
                  {.selector = "throw",
                   .wireName = "Throw",
                   .invoke = runOutOfMemory,
                   .pace = Pace::kQuick},
                  {.selector = "waitThrow",
                   .wireName = "WaitThrow",
                   .invoke = runOutOfMemory,
                   .pace = Pace::kWaits},
                  {.selector = "laterThrow:", .wireName = "LaterThrow", .invoke = laterThrow},
                  {.selector = "lose", .wireName = "Lose", .invoke = runOutOfMemoryForReply},
                  {.selector = "classes:", .wireName = "Classes", .invoke = classes}}};
  return protocol;
}

TestService::TestService(const TurnLimits& turns)
    : exported_(exportedInterface(testProtocol())), runLoop_(turns) {
  std::optional<Error> error;
  start(Listener::listenerWithPath(runLoop_, guests_, path_, &error));
}

TestService::TestService(const ListenerFactory& makeListener, const Protocol& protocol,
                         const TurnLimits& turns)
    : exported_(exportedInterface(protocol)), runLoop_(turns) {
  std::optional<Error> error;
  start(makeListener(runLoop_, guests_, &error));
}

TestService::~TestService() {
  open();
  runLoop_.stop();
  if (thread_.joinable()) thread_.join();
}

void TestService::start(std::unique_ptr<Listener> listener) {
  ASSERT_NE(listener, nullptr);
  listener_ = std::move(listener);
  listener_->setDelegate(this);
  listener_->resume();
  thread_ = std::thread([this] { runLoop_.run(); });
}

void TestService::open() {
  shared_.isOpen = true;
  shared_.isOpen.notify_all();
  shared_.held.open();
}

std::vector<AuditToken> TestService::tokens() const {
  MutexLock lock(mutex_);
  return tokens_;
}

std::vector<std::uintptr_t> TestService::guestAddresses() const {
  MutexLock lock(mutex_);
  return guestAddresses_;
}

bool TestService::shouldAcceptNewConnection(Listener& /*listener*/, Connection& connection) {
  {
    MutexLock lock(mutex_);
    tokens_.push_back(connection.auditToken());
    const auto address = reinterpret_cast<std::uintptr_t>(&connection.auditToken());
    if (guests_.guestAt(address)) {
      guestAddresses_.push_back(address);
    }
  }
  connection.setExportedInterface(exported_);
  connection.setMaximumCallSize(maximumCallSize_);
  connection.addExportedObject(std::make_unique<TestObject>(shared_));
  connection.resume();
  return accepting_;
}

void waitUntil(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), end) << "it never came";
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

int threadCount() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Threads:")) return std::stoi(line.substr(8));
  }
  return -1;
}

}  // namespace velto
