// SPDX-License-Identifier: Apache-2.0
// The C interface.
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <velto/Client.h>
#include <velto/alerts.h>

#include "tests/client/ScriptedService.h"

namespace velto {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using Answer = ScriptedService::Answer;

struct Free {
  void operator()(velto_post* post) const { velto_post_free(post); }
};
using Post = std::unique_ptr<velto_post, Free>;

class PostInterface : public testing::Test {
 protected:
  PostInterface() {
    setenv("VELTO_ROOT", directory_.path().c_str(), 1);
    std::filesystem::create_directories(directory_.path() / "run");
    // Where the service's socket is looked for is where the scripted one is.
    std::filesystem::create_directories(
        std::filesystem::path(alerts::serviceSocketPath()).parent_path());
    std::filesystem::create_symlink(directory_.path() / "socket", alerts::serviceSocketPath());
  }
  ~PostInterface() override { unsetenv("VELTO_ROOT"); }

  const TemporaryDirectory directory_;
};

TEST_F(PostInterface, PostsAnAlertWithAttributes) {
  const ScriptedService service(directory_, {{Answer{{reply("{}")}}}});
  const Post post(velto_post_new("Dïsk", "Full"));
  EXPECT_EQ(velto_post_set_text(post.get(), "text", "é"), 0);
  EXPECT_EQ(velto_post_set_text(post.get(), "text", "later"), 0);
  EXPECT_EQ(velto_post_set_integer(post.get(), "integer", INT64_MIN), 0);
  EXPECT_EQ(velto_post_set_real(post.get(), "real", 2), 0);
  EXPECT_EQ(velto_post_set_date(post.get(), "date", 978307201.5), 0);
  EXPECT_EQ(velto_post_set_data(post.get(), "data", "\0\xff", 2), 0);
  EXPECT_EQ(velto_post_set_data(post.get(), "empty", nullptr, 0), 0);
  EXPECT_EQ(velto_post_send(post.get()), 0);
  EXPECT_EQ(velto_post_error(post.get()), nullptr);
  const std::string identifier = velto_post_identifier(post.get());
  EXPECT_EQ(identifier.size(), 32U);
  EXPECT_THAT(service.calls().at(0),
              AllOf(HasSubstr(R"("identifier":")" + identifier + '"'),
                    HasSubstr(R"("type":"Full","bundle":"Dïsk","creationDate":)"),
                    HasSubstr(R"("attributes":{"data":{"$data":"AP8="},"date":{"$date":1.5},)"
                              R"("empty":{"$data":""},"integer":-9223372036854775808,)"
                              R"("real":2.0,"text":"later"}})")));
}

TEST_F(PostInterface, TellsWhyAnAlertWasNotPosted) {
  const Post post(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_send(post.get()), VELTO_ERROR_NO_DAEMON);
  EXPECT_EQ(velto_post_error(post.get())->kind, VELTO_ERROR_NO_DAEMON);
  EXPECT_STREQ(velto_post_error(post.get())->domain, "libvlalerts");

  const ScriptedService service(
      directory_, {{Answer{{reply(R"({"error":{"domain":"D","code":5,"userInfo":{}}})")}}},
                   {Answer{}},
                   {Answer{{reply("{}")}}}});
  EXPECT_EQ(velto_post_send(post.get()), VELTO_ERROR_SERVICE);
  EXPECT_STREQ(velto_post_error(post.get())->domain, "D");
  EXPECT_EQ(velto_post_error(post.get())->code, 5);
  EXPECT_STREQ(velto_post_error(post.get())->description, "D error 5");
  EXPECT_EQ(velto_post_error(post.get())->may_have_been_carried_out, 0);
  EXPECT_EQ(velto_post_send(post.get()), VELTO_ERROR_CONNECTION_LOST);
  EXPECT_EQ(velto_post_error(post.get())->may_have_been_carried_out, 1);
  EXPECT_EQ(velto_post_send(post.get()), 0);
  EXPECT_EQ(velto_post_error(post.get()), nullptr);
}

void expectSpoilt(const Post& post, const std::string& why) {
  EXPECT_EQ(velto_post_send(post.get()), VELTO_ERROR_INVALID_ARGUMENT);
  EXPECT_EQ(velto_post_error(post.get())->description, why);
}

TEST_F(PostInterface, WhatCannotBeSetIsNotSent) {
  const Post text(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_set_text(text.get(), "x", "\xff"), VELTO_ERROR_INVALID_ARGUMENT);
  EXPECT_EQ(velto_post_set_text(text.get(), "y", "good"), 0);
  expectSpoilt(text, "x is not UTF-8 text");
  const Post real(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_set_real(real.get(), "x", NAN), VELTO_ERROR_INVALID_ARGUMENT);
  expectSpoilt(real, "x is not a finite number");
  const Post date(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_set_date(date.get(), "x", INFINITY), VELTO_ERROR_INVALID_ARGUMENT);
  expectSpoilt(date, "x is not a finite number");
  const Post data(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_set_data(data.get(), "x", nullptr, 1), VELTO_ERROR_INVALID_ARGUMENT);
  expectSpoilt(data, "x has no bytes");
  const Post name(velto_post_new("b", "t"));
  EXPECT_EQ(velto_post_set_integer(name.get(), nullptr, 1), VELTO_ERROR_INVALID_ARGUMENT);
  expectSpoilt(name, "an attribute's name is not UTF-8 text");
  expectSpoilt(Post(velto_post_new(nullptr, "t")), "the bundle or the type is not UTF-8 text");
  expectSpoilt(Post(velto_post_new("b", "\xff")), "the bundle or the type is not UTF-8 text");
}

TEST_F(PostInterface, WithoutAnObjectThereIsAnErrorAndNoCrash) {
  EXPECT_EQ(velto_post_set_text(nullptr, "x", "y"), VELTO_ERROR_SYSTEM);
  EXPECT_EQ(velto_post_send(nullptr), VELTO_ERROR_SYSTEM);
  EXPECT_STREQ(velto_post_identifier(nullptr), "");
  EXPECT_EQ(velto_post_error(nullptr)->kind, VELTO_ERROR_SYSTEM);
  EXPECT_STREQ(velto_post_error(nullptr)->description, "there is no memory");
  velto_post_free(nullptr);
}

}  // namespace
}  // namespace velto
