// SPDX-License-Identifier: Apache-2.0
// Mail programs that hang, leave something running, or complain.

#include <csignal>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class MailFailuresTest : public ::testing::Test {
 protected:
  MailFailuresTest() { std::signal(SIGPIPE, SIG_IGN); }

  /// The status of a mail through the script.
  int status(std::string_view script, const std::string& message = "\ntext\n") {
    system_.setMailProgram(script);
    return system_.mailer.sendMail({"a@x.org"}, "s", message, "");
  }

  std::string program() const { return system_.path(kMailProgram).string(); }

  ScratchSystem system_;
  const std::string large_ = std::string(1 << 20, 'x');
};

TEST_F(MailFailuresTest, TheEndOfTheProgramEndsTheWritingWhoeverHasItsInput) {
  const std::string resident = "exec 3<&0; sleep 600 <&3 3<&- & echo $! > mails/resident; ";
  EXPECT_EQ(status(resident + "exit 75", large_), 75);
  EXPECT_EQ(::kill(std::stoi(readFile(system_.path("/mails/resident"))), SIGKILL), 0);
  EXPECT_EQ(status(resident + "exit 0", large_), -1) << "it has not taken all";
  EXPECT_EQ(::kill(std::stoi(readFile(system_.path("/mails/resident"))), SIGKILL), 0);
  EXPECT_EQ(status(resident + "cat > /dev/null", large_), 0);
  EXPECT_EQ(::kill(std::stoi(readFile(system_.path("/mails/resident"))), SIGKILL), 0);
}

TEST_F(MailFailuresTest, AProgramThatHangsIsEndedWithAllThatItStarted) {
  ADAlertMailer mailer(system_.bundles, program(), system_.log, system_.clock, system_.deliveries,
                       std::chrono::milliseconds(1));
  system_.setMailProgram("sleep 600 & wait");
  for (const std::string& message : {std::string("m"), large_}) {
    EXPECT_EQ(mailer.sendMail({"a@x.org"}, "s", message, ""), 128 + SIGKILL);
  }
  const std::string line =
      "Error sending alert email: " + program() + " took too long and was ended";
  EXPECT_THAT(system_.log.lines(), ElementsAre(line)) << "once a minute";
}

TEST_F(MailFailuresTest, WhatAFailedProgramSaidIsLoggedInOneLine) {
  EXPECT_EQ(status("cat > /dev/null; printf 'no\\nroom \\033[1m\\377'; echo left >&2; exit 75"),
            75);
  EXPECT_THAT(system_.log.lines(), ElementsAre("Error sending alert email: " + program() +
                                               " ended with status 75: no room [1m?left"));
}

TEST_F(MailFailuresTest, WhatASuccessfulProgramSaidIsNot) {
  EXPECT_EQ(status("cat > /dev/null; echo queued; echo as 1 >&2"), 0);
  EXPECT_THAT(system_.log.lines(), IsEmpty());
}

TEST_F(MailFailuresTest, AProgramThatSaysTooMuchIsReadAndCut) {
  EXPECT_EQ(status("head -c 1000000 /dev/zero | tr '\\0' x; cat > /dev/null; exit 75", large_), 75);
  EXPECT_THAT(system_.log.lines(),
              ElementsAre(AllOf(StartsWith("Error sending alert email: " + program() +
                                           " ended with status 75: xxx"),
                                EndsWith("xxx (and 934464 more bytes)"))));
}

}  // namespace
}  // namespace velto
