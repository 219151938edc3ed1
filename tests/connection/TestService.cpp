#include "tests/connection/TestService.h"

#include <chrono>
#include <fstream>
#include <new>
#include <utility>

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

namespace velto {
namespace {

namespace json = boost::json;

TestObject::Shared& sharedOf(const Invocation& call) {
  return static_cast<TestObject&>(call.object).shared();
}

InvocationResult reply(std::string parameters) {
  InvocationResult result;
  result.reply = [parameters = std::move(parameters)](std::string& text) {
    text += parameters;
    return false;
  };
  return result;
}

InvocationResult echoed(const Invocation& call) {
  const json::value* value = call.parameters.if_contains("value");
  if (value == nullptr) {
    return {.kind = InvocationResult::Kind::kInvalidParameter, .parameter = "value", .reply = {}};
  }
  return reply(json::serialize(json::object{{"value", *value}}));
}

void echo(const Invocation& call, const ResultHandler& handler) {
  handler(echoed(call));
}

void note(const Invocation& call, const ResultHandler& handler) {
  ++sharedOf(call).calls;
  handler(reply("{}"));
}

void wait(const Invocation& call, const ResultHandler& handler) {
  TestObject::Shared& shared = sharedOf(call);
  ++shared.calls;
  shared.isOpen.wait(false);
  handler(reply(R"({"waited":true})"));
}

void later(const Invocation& call, const ResultHandler& handler) {
  TestObject::Shared& shared = sharedOf(call);
  shared.held.add([handler, result = echoed(call)] { handler(result); });
  ++shared.calls;
}

void elsewhere(const Invocation& call, const ResultHandler& handler) {
  sharedOf(call).other.perform([handler, result = echoed(call)] { handler(result); });
}

void count(const Invocation& call, const ResultHandler& handler) {
  const auto to = call.parameters.at("to").to_number<int>();
  const auto size = call.parameters.at("size").to_number<std::size_t>();
  TestObject::Shared& shared = sharedOf(call);
  InvocationResult result;
  result.reply = [&shared, number = 0, to, size, more = call.more](std::string& text) mutable {
    ++shared.pieces;
    ++number;
    text += json::serialize(json::object{{"number", number}, {"fill", std::string(size, '.')}});
    return more && number < to;
  };
  handler(std::move(result));
}

void missing(const Invocation& /*call*/, const ResultHandler& handler) {
  handler({.kind = InvocationResult::Kind::kNotImplemented, .parameter = {}, .reply = {}});
}

void runOutOfMemory(const Invocation& /*call*/, const ResultHandler& /*handler*/) {
  throw std::bad_alloc();
}

void classes(const Invocation& call, const ResultHandler& handler) {
  const std::size_t number = call.classes == nullptr ? 0 : call.classes->size();
  handler(reply(json::serialize(json::object{{"classes", number}})));
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
      .methods = {
          {.selector = "echo:", .wireName = "Echo", .invoke = echo, .isQuick = true},
          {.selector = "note", .wireName = "Note", .invoke = note},
          {.selector = "wait", .wireName = "Wait", .invoke = wait},
          {.selector = "later:", .wireName = "Later", .invoke = later},
          {.selector = "elsewhere:", .wireName = "Elsewhere", .invoke = elsewhere},
          {.selector = "count:", .wireName = "Count", .invoke = count},
          {.selector = "missing", .wireName = "Missing", .invoke = missing},
          {.selector = "throw", .wireName = "Throw", .invoke = runOutOfMemory, .isQuick = true},
          {.selector = "classes:", .wireName = "Classes", .invoke = classes}}};
  return protocol;
}

TestService::TestService() : protocol_(testProtocol()) {
  std::optional<Error> error;
  start(Listener::listenerWithPath(runLoop_, guests_, path_, &error));
}

TestService::TestService(const ListenerFactory& makeListener, const Protocol& protocol)
    : protocol_(protocol) {
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
  Interface exported = Interface::interfaceWithProtocol(protocol_);
  exported.setClasses({ArgumentClass::kString, ArgumentClass::kArray}, "classes:", 0, false);
  connection.setExportedInterface(std::move(exported));
  connection.setExportedObject(std::make_unique<TestObject>(shared_));
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
