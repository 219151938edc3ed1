// SPDX-License-Identifier: Apache-2.0
#include "platform/events/EventsReply.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/events/EventsServiceClient.h"

namespace velto {
namespace {

TEST(EventsReply, AnObjectWithoutAnErrorIsSuccess) {
  EXPECT_EQ(errorInEventsReply("{}"), std::nullopt);
  EXPECT_EQ(errorInEventsReply(R"({"parameters": {"x": 1}})"), std::nullopt);
  EXPECT_EQ(errorInEventsReply(R"({"error": null, "parameters": {}})"), std::nullopt);
}

TEST(EventsReply, AnErrorIsToldWithItsParameters) {
  EXPECT_EQ(errorInEventsReply(R"({"error": "a.NotFound", "parameters": {"path": "/x"}})"),
            makeError(kEventsErrorDomain, kEventsRefusedErrorCode,
                      R"(The events service answered with a.NotFound: {"path":"/x"})"));
  EXPECT_EQ(errorInEventsReply(R"({"error": "a.NotFound"})"),
            makeError(kEventsErrorDomain, kEventsRefusedErrorCode,
                      "The events service answered with a.NotFound"));
}

TEST(EventsReply, AnythingElseIsNoAnswer) {
  const std::string deep(200, '[');
  for (const std::string& text :
       {std::string(), std::string("null"), std::string("[]"), std::string("{"),
        std::string("\"x\""), std::string("{\"error\": 3}"), std::string("{} {}"),
        std::string("\xff"), deep}) {
    EXPECT_EQ(errorInEventsReply(text), makeError(kEventsErrorDomain, kEventsNoReplyErrorCode,
                                                  "The events service sent what is no answer."))
        << text;
  }
}

}  // namespace
}  // namespace velto
