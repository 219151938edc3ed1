// SPDX-License-Identifier: Apache-2.0
#include "tools/PrettyJSON.h"

#include <boost/json/parse.hpp>
#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(PrettyJSON, setsOneMemberOrElementALine) {
  EXPECT_EQ(prettyJSON(boost::json::parse(R"({"a":[1,"x\n",{"b":null}],"\"c\"":true})")),
            R"({
  "a": [
    1,
    "x\n",
    {
      "b": null
    }
  ],
  "\"c\"": true
})");
}

TEST(PrettyJSON, keepsEmptyContainersShort) {
  EXPECT_EQ(prettyJSON(boost::json::parse(R"({"a":{},"b":[]})")),
            "{\n  \"a\": {},\n  \"b\": []\n}");
  EXPECT_EQ(prettyJSON(boost::json::object()), "{}");
}

}  // namespace
}  // namespace velto
