// SPDX-License-Identifier: Apache-2.0
#include "delivery/ADAlertMailer.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

VLAlert diskAlert() {
  VLAlert alert;
  alert.identifier = "AlmostFull:1";
  alert.type = "AlmostFull";
  alert.bundle = "Disk";
  alert.sentDate = Date(0);
  alert.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"percent", 93}};
  return alert;
}

class ADAlertMailerTest : public ::testing::Test {
 protected:
  ADAlertMailerTest() {
    // As in the daemon: a program that has gone is an error of the write.
    std::signal(SIGPIPE, SIG_IGN);
    system_.addDiskBundle();
  }

  std::optional<Error> mail(const VLAlert& alert = diskAlert()) {
    auto store = system_.store();
    return system_.mailer.mailAlert(alert, store);
  }

  void addRecipients(const std::vector<MailRecipient>& recipients) {
    auto store = system_.store();
    for (const auto& [address, locale] : recipients) {
      store.insertMailRecipientWithAddress(address, locale);
    }
    ASSERT_TRUE(store.save(nullptr));
  }

  ScratchSystem system_;
};

TEST_F(ADAlertMailerTest, OneMessageForTheRecipientsOfALanguage) {
  addRecipients({{"a@x.org", "en"}, {"B <b@x.org>", "en"}, {"c@x.org", "en"}});
  EXPECT_EQ(mail(), std::nullopt);
  EXPECT_THAT(system_.mails(), ElementsAre("To: a@x.org,=?UTF-8?Q?B_?=<b@x.org>,c@x.org\n"
                                           "Subject: =?UTF-8?Q?/home_is_almost_full?=\n"))
      << "without a formatter there is neither a sender nor a text";
}

TEST_F(ADAlertMailerTest, EveryLanguageGetsItsOwnMessage) {
  system_.addCommonBundle();
  addRecipients({{"f@x.org", "fr"}, {"e@x.org", "en"}});
  EXPECT_EQ(mail(), std::nullopt);
  EXPECT_THAT(
      system_.mails(),
      ElementsAre(AllOf(StartsWith("To: e@x.org\nSubject: =?UTF-8?Q?/home_is_almost_full?=\n"
                                   "From: =?UTF-8?Q?Alerts_?=<alerts@"),
                        HasSubstr("\n\n/home is 93 percent full.")),
                  AllOf(StartsWith("To: f@x.org\nSubject: =?UTF-8?Q?/home_est_presque_plein"
                                   "?=\nFrom: "),
                        HasSubstr("\n\n/home est plein =C3=A0 93 pour cent."))));
}

TEST_F(ADAlertMailerTest, NobodyToMailStartsNothing) {
  EXPECT_EQ(mail(), std::nullopt);
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(ADAlertMailerTest, AnUnknownBundleOrTypeSendsNothing) {
  addRecipients({{"a@x.org", "en"}});
  auto alert = diskAlert();
  alert.type = "Unheard";
  const auto error = mail(alert);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kBundleErrorDomain);
  EXPECT_THAT(error->localizedDescription(), AllOf(HasSubstr("Disk"), HasSubstr("Unheard")));
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(ADAlertMailerTest, AStoreThatCannotBeReadSendsNothing) {
  const TemporaryDirectory nothing;
  StoreContainer broken(nothing.path().string(), nothing.path().string(), system_.storeServices);
  ADAlertStore store(broken);
  const auto error = system_.mailer.mailAlert(diskAlert(), store);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
}

TEST_F(ADAlertMailerTest, TheFirstStatusIsTheErrorAndTheOtherLanguagesAreStillMailed) {
  addRecipients({{"d@x.org", "de"}, {"e@x.org", "en"}, {"f@x.org", "fr"}});
  system_.setMailProgram("n=$(ls mails | wc -l); cat > mails/$n; [ $n = 2 ] || exit 7$n");
  EXPECT_EQ(mail(), (Error{"VeltoAlertsMailer", 70, {}}));
  EXPECT_EQ(system_.mails().size(), 3u);
}

TEST_F(ADAlertMailerTest, TheProgramIsRunWithNothingButT) {
  system_.setMailProgram("echo \"$#:$*\" > mails/0; cat > /dev/null");
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", "\n", std::nullopt), 0);
  EXPECT_THAT(system_.mails(), ElementsAre("1:-t\n"));
}

TEST_F(ADAlertMailerTest, AnEmptySubjectOrSenderHasNoLine) {
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "", "\ntext\n", ""), 0);
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, std::nullopt, std::nullopt, std::nullopt), 0);
  EXPECT_THAT(system_.mails(), ElementsAre("To: a@x.org\n\ntext\n", "To: a@x.org\n"));
}

TEST_F(ADAlertMailerTest, NoAddressesIsStatusOneAndNothingStarts) {
  EXPECT_EQ(system_.mailer.sendMail({}, "s", "m", "f"), 1);
  EXPECT_THAT(system_.mails(), IsEmpty());
}

TEST_F(ADAlertMailerTest, AMissingProgramIsLogged) {
  std::filesystem::remove(system_.path("/usr/sbin/sendmail"));
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", "m", "f"), -1);
  EXPECT_THAT(system_.log.lines(), ElementsAre(StartsWith("Error sending alert email: ")));
}

TEST_F(ADAlertMailerTest, AProgramThatDoesNotReadGivesItsStatusOrMinusOne) {
  const std::string large(1 << 20, 'x');
  system_.setMailProgram("exit 75");
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", large, "f"), 75);
  system_.setMailProgram("exit 0");
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", large, "f"), -1);
  EXPECT_THAT(system_.log.lines(), ElementsAre(StartsWith("Error sending alert email: "),
                                               StartsWith("Error sending alert email: ")));
}

TEST_F(ADAlertMailerTest, AProgramThatReadsSlowlyGetsAll) {
  const std::string large(1 << 20, 'x');
  system_.setMailProgram("dd bs=613 of=mails/0 status=none");
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", large, ""), 0);
  EXPECT_THAT(system_.mails(), ElementsAre("To: a@x.org\nSubject: s\n" + large));
}

TEST_F(ADAlertMailerTest, AProgramThatCannotBeRunIsLogged) {
  std::filesystem::permissions(system_.path("/usr/sbin/sendmail"), std::filesystem::perms(0600));
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", "m", "f"), -1);
  EXPECT_THAT(system_.log.lines(), ElementsAre(StartsWith("Error sending alert email: ")));
}

TEST_F(ADAlertMailerTest, AProgramEndedByASignalGives128AndItsNumber) {
  system_.setMailProgram("cat > /dev/null; kill -9 $$");
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "s", "m", "f"), 128 + 9);
}

TEST_F(ADAlertMailerTest, TextThatCannotStandInAHeaderIsNeverHandedOver) {
  for (const auto* sender : {"a@x.org\nBcc: b@x.org", "a@x.org\rX: y", "\xC3\xA9@x.org"}) {
    EXPECT_EQ(system_.mailer.sendMail({"ok@x.org"}, "s", "m", sender), -1) << sender;
  }
  EXPECT_EQ(system_.mailer.sendMail({"ok@x.org", "\xC3\xA9@x.org"}, "s", "m", "f"), -1);
  EXPECT_THAT(system_.mails(), ElementsAre("", "", "", ""));
  EXPECT_THAT(
      system_.log.lines(),
      ElementsAre("Error sending alert email: the From header cannot hold \"a@x.org Bcc: b@x.org\"",
                  "Error sending alert email: the From header cannot hold \"a@x.org X: y\"",
                  "Error sending alert email: the From header cannot hold \"\xC3\xA9@x.org\"",
                  "Error sending alert email: the To header cannot hold \"\xC3\xA9@x.org\""));
}

TEST_F(ADAlertMailerTest, AnAddressCannotAddAHeaderLine) {
  EXPECT_EQ(system_.mailer.sendMail(
                {"ok@x.org", "a@x.org\nBcc: b@x.org", "a@x.org\rX: y", "c@x.org"}, "s", "\n", ""),
            -1);
  EXPECT_THAT(system_.mails(), ElementsAre("To: ok@x.org,c@x.org\nSubject: s\n\n"));
  EXPECT_THAT(system_.log.lines(),
              ElementsAre("Error sending alert email: \"a@x.org Bcc: b@x.org\" has a control "
                          "character and is left out",
                          "Error sending alert email: \"a@x.org X: y\" has a control character and "
                          "is left out"));
}

TEST_F(ADAlertMailerTest, AnAddressCannotAddARecipient) {
  for (const auto* address : {"a@x.org, b@x.org", "<a@x.org>, b@x.org", "\"a@x.org",
                              "<a@x.org>b@x.org", "x <a@x.org>b@x.org", "a@x.org\"x\"@x.org"}) {
    EXPECT_EQ(system_.mailer.sendMail({"ok@x.org", address}, "", "\n", ""), -1) << address;
    EXPECT_EQ(system_.mails().back(), "To: ok@x.org\n\n") << "the other gets its mail";
    EXPECT_THAT(system_.log.lines().back(),
                AllOf(HasSubstr(address), HasSubstr(" is not one address and is left out")));
  }
  EXPECT_EQ(system_.mailer.sendMail({"b@x.org, \"A\" <a@x.org>"}, "", "\n", ""), 0);
  EXPECT_EQ(system_.mails().back(), "To: =?UTF-8?Q?b=40x=2Eorg=2C_=22A=22_?=<a@x.org>\n\n");
  EXPECT_EQ(system_.log.lines().size(), 6u);
}

TEST_F(ADAlertMailerTest, WhenAllAreLeftOutNothingStarts) {
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org, b@x.org", "c@x.org\n"}, "s", "m", "f"), -1);
  EXPECT_THAT(system_.mails(), IsEmpty());
  EXPECT_EQ(system_.log.lines().size(), 2u);
}

TEST_F(ADAlertMailerTest, TheStatusOfTheProgramCountsBeforeAnAddressThatIsLeftOut) {
  system_.setMailProgram("cat > /dev/null; exit 75");
  EXPECT_EQ(system_.mailer.sendMail({"ok@x.org", "a@x.org, b@x.org"}, "s", "m", "f"), 75);
}

TEST_F(ADAlertMailerTest, EveryMessageLeavesAnEntryInTheJournal) {
  addRecipients({{"d@x.org", "de"}, {"e@x.org", "en"}, {"f@x.org", "en"}});
  system_.setMailProgram("grep -q e@x.org || exit 75");
  mail();
  EXPECT_THAT(system_.deliveries.entries(),
              ElementsAre("mail de: AlmostFull:1 to d@x.org: failed 75",
                          "mail en: AlmostFull:1 to e@x.org, f@x.org: delivered 0"));
}

TEST_F(ADAlertMailerTest, WithoutRecipientsTheJournalHasNoEntry) {
  mail();
  EXPECT_THAT(system_.deliveries.entries(), IsEmpty());
}

TEST_F(ADAlertMailerTest, ALocaleCannotAddAnything) {
  system_.addCommonBundle();
  const std::string locales[] = {"en\nBcc: b@x.org", "../../etc", "en\r\n\r\ntext",
                                 "=?UTF-8?Q?x?="};
  for (const auto& locale : locales) {
    addRecipients({{"a@x.org", locale}});
  }
  EXPECT_EQ(mail(), std::nullopt);
  const auto mails = system_.mails();
  EXPECT_THAT(mails, testing::SizeIs(4));
  EXPECT_THAT(mails, testing::Each(mails.front())) << "each is in the language of last resort";
}

TEST_F(ADAlertMailerTest, ASubjectCannotAddAHeaderLine) {
  EXPECT_EQ(system_.mailer.sendMail({"a@x.org"}, "a\r\nBcc: b@x.org", "\n", std::nullopt), 0);
  EXPECT_THAT(system_.mails(),
              ElementsAre("To: a@x.org\nSubject: =?UTF-8?Q?a=0D_Bcc=3A_b=40x=2Eorg?=\n\n"));
}

TEST_F(ADAlertMailerTest, TheFormatterComesFromTheBundleCommon) {
  EXPECT_EQ(system_.mailer.getEmailFormatter(), nullptr);
  EXPECT_THAT(system_.log.lines(),
              ElementsAre(testing::HasSubstr("'Common' not loaded: there is no such bundle"),
                          testing::HasSubstr("put Common.bundle into ")));
  EXPECT_EQ(system_.mailer.getEmailFormatter(), nullptr);
  EXPECT_EQ(system_.log.lines().size(), 2u) << "why is said once";
}

TEST_F(ADAlertMailerTest, EveryFormatterIsNew) {
  system_.addCommonBundle();
  const auto one = system_.mailer.getEmailFormatter();
  const auto two = system_.mailer.getEmailFormatter();
  ASSERT_NE(one, nullptr);
  ASSERT_NE(two, nullptr);
  EXPECT_NE(one, two);
}

}  // namespace
}  // namespace velto
