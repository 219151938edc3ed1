// SPDX-License-Identifier: Apache-2.0
// Calls that nobody waits for.
#include <atomic>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using alerts::Client;
using alerts::ErrorKind;
using alerts::Outcome;
using testing::ElementsAre;
using Answer = ScriptedService::Answer;

const Answer kDone{{reply("{}")}};

TEST(Background, RepliesInOrderOnAThreadOfItsOwn) {
  const TemporaryDirectory directory;
  const ScriptedService service(directory, {{kDone, Answer{{reply(R"({"names":["b"]})")}}, kDone}});
  std::vector<int> order;
  std::promise<std::thread::id> thread;
  {
    Client client({.socketPath = service.path()});
    client.inBackground([](Client& c) { return c.postAlert({}); },
                        [&](Outcome<void> outcome) {
                          EXPECT_TRUE(outcome);
                          order.push_back(1);
                        });
    client.inBackground([](Client& c) { return c.getAlertBundleNames(); },
                        [&](const Outcome<std::vector<std::string>>& outcome) {
                          EXPECT_THAT(*outcome.value, ElementsAre("b"));
                          order.push_back(2);
                        });
    // What is handed over need not be copyable.
    client.inBackground([type = std::make_unique<std::string>("t")](
                            Client& c) { return c.getLastAlertOfType(*type); },
                        [&, own = std::make_unique<int>(3)](const Outcome<alerts::Alert>&) {
                          order.push_back(*own);
                          thread.set_value(std::this_thread::get_id());
                        });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
  }
  EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(Background, WhatTheEndOfTheClientCutsOffIsToldOnceEach) {
  const TemporaryDirectory directory;
  const ScriptedService service(directory, {{Answer{}, Answer{}}});
  std::vector<ErrorKind> kinds;
  std::promise<void> hasBegun;
  {
    Client client({.socketPath = service.path(), .timeLimit = std::nullopt});
    for (int call = 0; call < 3; ++call) {
      client.inBackground(
          [&hasBegun, call](Client& c) {
            if (call == 0) hasBegun.set_value();
            return c.postAlert({});
          },
          [&kinds](Outcome<void> outcome) { kinds.push_back(outcome.error->kind); });
    }
    hasBegun.get_future().wait();
  }
  EXPECT_THAT(kinds, ElementsAre(ErrorKind::kClosed, ErrorKind::kClosed, ErrorKind::kClosed));
}

}  // namespace
}  // namespace velto
