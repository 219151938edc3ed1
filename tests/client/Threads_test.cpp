// SPDX-License-Identifier: Apache-2.0
// One client and many threads, against a service that serves many connections.
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/connection/TestService.h"

namespace velto {
namespace {

using alerts::Client;

std::optional<std::string> echo(Client& client, const std::string& text) {
  return client.call("test.service.Echo", R"({"value":")" + text + R"("})").value;
}

std::string echoed(const std::string& text) {
  return R"({"value":")" + text + R"("})";
}

TEST(Threads, EachCallGetsItsOwnReply) {
  const TestService service;
  Client client({.socketPath = service.path()});
  std::vector<std::thread> threads;
  for (int number = 0; number < 8; ++number) {
    threads.emplace_back([&client, number] {
      for (int call = 0; call < 100; ++call) {
        const std::string text = std::to_string(number) + "," + std::to_string(call);
        EXPECT_EQ(echo(client, text), echoed(text));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(Threads, ACallThatWaitsHoldsUpNobody) {
  TestService service;
  Client client({.socketPath = service.path()});
  std::promise<bool> waited;
  client.inBackground([](Client& c) { return c.call("test.service.Wait", "{}"); },
                      [&](const alerts::Outcome<std::string>& outcome) {
                        waited.set_value(outcome.error == std::nullopt);
                      });
  waitUntil([&] { return service.shared().calls == 1; });
  EXPECT_EQ(echo(client, "x"), echoed("x"));
  service.open();
  EXPECT_TRUE(waited.get_future().get());
}

}  // namespace
}  // namespace velto
