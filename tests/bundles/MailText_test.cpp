// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/MailText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velto {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kHeader =
    "MIME-Version: 1.0\nContent-Type: text/plain; charset=UTF-8\n"
    "Content-Transfer-Encoding: quoted-printable\nAuto-Submitted: auto-generated\n\n";

std::string body(const MailContent& content, std::string_view localization) {
  const std::string text = mailText(content, localization);
  EXPECT_TRUE(text.starts_with(kHeader)) << text;
  return text.substr(std::min(text.size(), kHeader.size()));
}

TEST(MailHost, IsTheMachinesName) {
  EXPECT_EQ(mailHost("web-1.example.org"), "web-1.example.org");
}

TEST(MailHost, HasOnlyCharactersOfAnAddress) {
  EXPECT_EQ(mailHost("my host>\n_x"), "myhostx");
  EXPECT_EQ(mailHost("möbel"), "mbel");
}

TEST(MailHost, IsTheLocalHostWhenTheNameCannotBeUsed) {
  for (const std::string_view name : {"", "(none)..", ".", "-a", "a-", "a..b", "\xff", ".a"}) {
    EXPECT_EQ(mailHost(name), "localhost") << name;
  }
}

TEST(MailSender, HasItsNameInTheLanguage) {
  EXPECT_EQ(mailSender("host", "en"), "Alerts <alerts@host>");
  EXPECT_EQ(mailSender("host", "fr-CA"), "Alertes <alerts@host>");
  EXPECT_EQ(mailSender("", "ja"), "アラート <alerts@localhost>");
}

TEST(MailText, IsTheMessageAndTheLabelledLines) {
  EXPECT_EQ(body({"It is full.", "Disk", "AlmostFull", std::nullopt}, "en"),
            "It is full.\n\nBundle: Disk\nType: AlmostFull\n");
  EXPECT_EQ(body({"Voll.", "Disk", "AlmostFull", std::nullopt}, "de"),
            "Voll.\n\nModul: Disk\nArt: AlmostFull\n");
}

TEST(MailText, LeavesOutWhatTheAlertDoesNotSay) {
  EXPECT_EQ(body({"Text.\n\r\n", std::nullopt, "", std::nullopt}, "en"), "Text.\n\n");
  EXPECT_EQ(body({"", "Disk", std::nullopt, std::nullopt}, "en"), "\n\nBundle: Disk\n");
}

TEST(MailText, TellsTheTimeInTheLanguage) {
  const Date time = Date::fromUnixSeconds(1795208400);
  const MailContent content{"x", std::nullopt, std::nullopt, time};
  EXPECT_THAT(body(content, "en"), testing::ContainsRegex("Time: November 2[01], 2026 at "));
  EXPECT_THAT(body(content, "de"), testing::ContainsRegex("Zeit: 2[01]. November 2026"));
  EXPECT_THAT(body(content, "en-GB"), testing::ContainsRegex("Time: 2[01] November 2026 at "));
  EXPECT_THAT(body(content, "it"), HasSubstr("Time: November"));
  EXPECT_THAT(body(content, "ja"), Not(HasSubstr("November")));
}

TEST(MailText, CannotBeEndedByTheMessage) {
  EXPECT_EQ(body({"a\n.\nFrom b\n\nc", std::nullopt, std::nullopt, std::nullopt}, "en"),
            "a\n=2E\n=46rom b\n\nc\n\n");
}

}  // namespace
}  // namespace velto
