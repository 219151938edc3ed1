// SPDX-License-Identifier: Apache-2.0
// What Python's mail reader makes of a list with an accepted address in it.

#include <cstdlib>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "delivery/HeaderEncoding.h"
#include "delivery/Mailbox.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

constexpr const char* kPython = "/usr/bin/python3";

/// Accepted addresses made of what matters to a reader, the same in every run.
std::vector<std::string> acceptedAddresses(std::size_t count) {
  static const std::vector<std::string> parts = {"a",
                                                 "b",
                                                 "x.org",
                                                 "@",
                                                 "@",
                                                 "<",
                                                 ">",
                                                 "\"",
                                                 "\"",
                                                 "(",
                                                 ")",
                                                 ",",
                                                 ";",
                                                 ":",
                                                 "\\",
                                                 " ",
                                                 "\t",
                                                 ".",
                                                 "[",
                                                 "]",
                                                 "<a@b>",
                                                 "c@d",
                                                 "=?UTF-8?Q?x?=",
                                                 "\"x\"",
                                                 "(c)",
                                                 "[::1]",
                                                 "'",
                                                 "|",
                                                 "/"};
  std::mt19937 random(1);
  std::vector<std::string> accepted;
  while (accepted.size() < count) {
    std::string address;
    for (std::size_t left = 1 + random() % 8; left > 0; --left) {
      address += parts[random() % parts.size()];
    }
    address = encodedAddress(address);
    if (namesOneMailbox(address)) {
      accepted.push_back(address);
    }
  }
  return accepted;
}

TEST(AddressPeer, ReadsNoMoreThanOneMailboxAndTheNeighboursAsTheyAre) {
  if (::access(kPython, X_OK) != 0) {
    return skipOrFail(std::string(kPython) + " is missing");
  }
  const auto addresses = acceptedAddresses(5000);
  std::string lists;
  for (const std::string& address : addresses) {
    lists += "one@x.org," + address + ",two@x.org" + '\0';
  }
  const TemporaryDirectory directory;
  const std::string file = directory.write("lists", lists).string();
  ASSERT_EQ(std::system(
                (std::string(kPython) + " " VELTO_ADDRESS_PEER " <" + file + " >" + file + ".json")
                    .c_str()),
            0);
  const auto seen = boost::json::parse(readFile(file + ".json")).as_array();
  ASSERT_EQ(seen.size(), addresses.size());
  for (std::size_t index = 0; index < seen.size(); ++index) {
    const auto& list = seen[index].as_array();
    ASSERT_GE(list.size(), 2U) << addresses[index];
    EXPECT_LE(list.size(), 3U) << addresses[index] << " is read as " << seen[index];
    EXPECT_EQ(list.front(), "one@x.org") << addresses[index];
    EXPECT_EQ(list.back(), "two@x.org") << addresses[index];
  }
}

}  // namespace
}  // namespace velto
