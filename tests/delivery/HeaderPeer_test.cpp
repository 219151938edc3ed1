// SPDX-License-Identifier: Apache-2.0
// What Python's mail reader makes of the headers.

#include <csignal>
#include <cstdlib>
#include <random>

#include <boost/json.hpp>
#include <gtest/gtest.h>

#include "tests/support/ScratchSystem.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

constexpr const char* kPython = "/usr/bin/python3";

/// Texts of all kinds, the same in every run.
class Texts {
 public:
  std::string next() {
    const std::size_t length = pick(20) == 0 ? pick(20000) : pick(60);
    std::string text;
    while (text.size() < length) {
      text += character();
    }
    return text;
  }

 private:
  std::size_t pick(std::size_t count) { return random_() % count; }

  std::string character() {
    static const std::vector<std::string> special = {
        "\"",   "'",    "<",           ">",      "@",      ",",   ";",
        ":",    "\\",   "=",           "_",      "?",      "=?",  "?=",
        "\r",   "\n",   "\r\n",        "\t",     " ",      "  ",  "\x01",
        "\x1b", "\x7f", "(",           ")",      "é",      "ß",   "警",
        "報",   "🔥",    "👩‍🚒", "\u0301", "\u200f", "=20", "=?UTF-8?Q?x?="};
    return pick(3) == 0 ? special[pick(special.size())]
                        : std::string(1, static_cast<char>('!' + pick(94)));
  }

  std::mt19937 random_{1};
};

/// What a reader sees of a text: a line feed was encoded as a blank.
std::string read(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

TEST(HeaderPeer, ReadsAThousandHeadersAsTheyWere) {
  if (::access(kPython, X_OK) != 0) {
    return skipOrFail(std::string(kPython) + " is missing");
  }
  std::signal(SIGPIPE, SIG_IGN);
  ScratchSystem system;
  system.setMailProgram("cat >> all; printf '\\0' >> all");
  Texts texts;
  std::vector<std::array<std::string, 3>> sent;
  for (int index = 0; index < 1000; ++index) {
    const auto& [subject, name, sender] =
        sent.emplace_back(std::array{texts.next(), texts.next(), texts.next()});
    ASSERT_EQ(system.mailer.sendMail({name + "<a@x.org>", "b@x.org"}, subject, "\ntext\n",
                                     sender + "<c@x.org>"),
              0);
  }
  const std::string all = system.path("/all").string();
  ASSERT_EQ(
      std::system(
          (std::string(kPython) + " " VELTO_HEADER_PEER " <" + all + " >" + all + ".json").c_str()),
      0);
  const auto seen = boost::json::parse(readFile(all + ".json")).as_array();
  ASSERT_EQ(seen.size(), sent.size());
  for (std::size_t index = 0; index < sent.size(); ++index) {
    const auto& [subject, name, sender] = sent[index];
    boost::json::array headers{"To", "Subject", "From"};
    if (subject.empty()) {
      headers.erase(headers.begin() + 1);
    }
    const boost::json::object expected{{"headers", headers},
                                       {"subject", read(subject)},
                                       {"sender", read(sender)},
                                       {"senderAddress", "c@x.org"},
                                       {"recipients", {"a@x.org", "b@x.org"}},
                                       {"names", {read(name), ""}},
                                       {"text", "text\n"}};
    EXPECT_EQ(seen[index], expected) << index << ": " << subject;
  }
}

}  // namespace
}  // namespace velto
