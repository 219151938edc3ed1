// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/PendingReply.h"

#include <new>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

namespace velto {
namespace {

class Receiver : public ReplyReceiver {
 public:
  void goOnWithReply() noexcept override { ++goneOn; }

  int goneOn = 0;
};

class PendingReplyTest : public testing::Test {
 protected:
  void keep() { std::exchange(promise_, std::nullopt)->keep(CallReply::parameters("{}")); }

  Receiver receiver_;
  std::shared_ptr<PendingReply> pending_ = std::make_shared<PendingReply>(receiver_);
  std::optional<ReplyPromise> promise_{pending_};
};

TEST_F(PendingReplyTest, waitsForWhoIsStillThere) {
  EXPECT_FALSE(pending_->hasArrived());
  keep();
  EXPECT_TRUE(pending_->hasArrived());
  EXPECT_FALSE(pending_->leave());
  EXPECT_EQ(receiver_.goneOn, 0);
  EXPECT_EQ(pending_->take().text(), R"({"parameters":{}})");
}

TEST_F(PendingReplyTest, makesWhoBringsItGoOnForWhoHasLeft) {
  EXPECT_TRUE(pending_->leave());
  EXPECT_EQ(receiver_.goneOn, 0);
  keep();
  EXPECT_EQ(receiver_.goneOn, 1);
  EXPECT_TRUE(pending_->hasArrived());
}

TEST_F(PendingReplyTest, isDroppedWhenTheConnectionHasEnded) {
  pending_->abandon();
  pending_.reset();
  keep();
  EXPECT_EQ(receiver_.goneOn, 0);
}

TEST_F(PendingReplyTest, isNotOfferedWhereThePromiseIsLetGo) {
  promise_.reset();
  ASSERT_TRUE(pending_->hasArrived());
  EXPECT_EQ(pending_->take().kind(), CallReply::Kind::kNotOffered);
}

TEST_F(PendingReplyTest, isLostWhenItCannotBeMade) {
  promise_->keepWith([]() -> CallReply { throw std::bad_alloc(); });
  promise_.reset();
  EXPECT_EQ(pending_->take().kind(), CallReply::Kind::kLost);
}

TEST_F(PendingReplyTest, doesNotComeTwice) {
  promise_->keep(CallReply::parameters("{}"));
  EXPECT_DEATH(promise_->keep(CallReply::parameters("{}")), "a second reply");
}

TEST_F(PendingReplyTest, isOneThreadsAffairWhoeverComesFirst) {
  for (int round = 0; round < 200; ++round) {
    Receiver receiver;
    auto pending = std::make_shared<PendingReply>(receiver);
    std::thread operation(
        [promise = ReplyPromise(pending)]() mutable { promise.keep(CallReply::parameters("{}")); });
    const bool hasLeft = pending->leave();
    operation.join();
    EXPECT_EQ(receiver.goneOn, hasLeft ? 1 : 0);
    EXPECT_TRUE(pending->hasArrived());
  }
}

}  // namespace
}  // namespace velto
