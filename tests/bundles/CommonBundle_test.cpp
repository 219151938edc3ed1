// SPDX-License-Identifier: Apache-2.0
// The bundle as the build puts it together, loaded as the daemon does.

#include <chrono>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "alerts/Bundle.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "platform/process/Task.h"
#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kPython = "/usr/bin/python3";

class CommonBundleTest : public testing::Test {
 protected:
  CommonBundleTest() {
    EXPECT_TRUE(registry_.VLLoadAlertBundle("Common"));
    formatter_ = registry_.makeEmailFormatter("EmailFormatter");
    EXPECT_THAT(log_.lines(), IsEmpty());
    alert_.bundle = "Common";
    alert_.type = "Test";
    alert_.creationDate = Date::fromUnixSeconds(1795208400);
  }

  void SetUp() override { ASSERT_NE(formatter_, nullptr); }

  std::string format(std::string_view localization) {
    std::optional<Error> error;
    const auto alert = registry_.alertSubclass(alert_, &error);
    EXPECT_NE(alert, nullptr);
    const auto message = formatter_->formatMessage(*alert, localization, &error);
    EXPECT_EQ(error, std::nullopt);
    return message.value_or("");
  }

  /// What a mail program sees of the message.
  std::string read(const std::string& message) const {
    const auto output = directory_.path() / "output";
    Task task("/bin/sh", {"-c", std::string(kPython) + R"( "$0" > "$1")", VELTO_MAIL_PEER, output},
              std::chrono::minutes(2));
    task.launch();
    task.write(message);
    task.waitUntilExit();
    EXPECT_EQ(task.terminationStatus(), 0);
    return readFile(output);
  }

  TemporaryDirectory directory_;
  FakeLog log_;
  AlertBundleRegistry registry_{VELTO_BUNDLES_DIR, FileManager::system(), Clock::system(), log_};
  std::unique_ptr<EmailFormatter> formatter_;
  VLAlert alert_;
};

/// An alert whose class has a message of its own, or none.
class SpokenAlert : public VLAlertSubclass {
 public:
  SpokenAlert(VLAlert alert, std::optional<std::string> message)
      : VLAlertSubclass(std::move(alert)), message_(std::move(message)) {}
  std::optional<std::string> subject(std::string_view) const override { return std::nullopt; }
  std::optional<std::string> message(std::string_view) const override { return message_; }
  std::vector<std::string> recoveryOptions() const override { return {}; }

 private:
  const std::optional<std::string> message_;
};

TEST_F(CommonBundleTest, CarriesItsSixLanguages) {
  const auto bundle =
      Bundle::bundleWithPath(std::string(VELTO_BUNDLES_DIR) + "/Common.bundle", nullptr);
  ASSERT_TRUE(bundle.has_value());
  EXPECT_THAT(bundle->localizations(FileManager::system()),
              testing::ElementsAre("de", "en", "fr", "ja", "no", "zh"));
  EXPECT_EQ(*stringForKey(bundle->infoDictionary(), "CFBundleGetInfoString"), "Common");
}

TEST_F(CommonBundleTest, CanBeWrittenByItsOwnerOnly) {
  for (const auto& entry :
       fs::recursive_directory_iterator(std::string(VELTO_BUNDLES_DIR) + "/Common.bundle")) {
    EXPECT_EQ(entry.status().permissions(), fs::perms(entry.is_directory() ? 0755 : 0644))
        << entry.path();
  }
}

TEST_F(CommonBundleTest, TellsItsTestAlertInEveryLanguage) {
  const auto alert = registry_.alertSubclass(alert_, nullptr);
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->subject("en"), "Test alert");
  EXPECT_EQ(alert->subject("fr"), "Alerte de test");
  EXPECT_EQ(alert->subject("de"), "Testwarnung");
  EXPECT_EQ(alert->subject("zh"), "测试警报");
  EXPECT_EQ(alert->subject("ja"), "テストアラート");
  EXPECT_EQ(alert->subject("no"), "Testvarsel");
  EXPECT_EQ(alert->subject("nb-NO"), "Testvarsel");
}

TEST_F(CommonBundleTest, HasANameInEveryLanguage) {
  const auto alert = registry_.alertSubclass(alert_, nullptr);
  ASSERT_NE(alert, nullptr);
  EXPECT_EQ(alert->bundleName("de-AT"), "Warnungsdienst");
  EXPECT_EQ(alert->bundleName("es"), "Alerts service");
  EXPECT_EQ(alert->typeName("zh"), "测试");
}

TEST_F(CommonBundleTest, SendsFromThisMachine) {
  EXPECT_THAT(*formatter_->fromAddress("en"),
              testing::MatchesRegex("Alerts <alerts@[-.a-zA-Z0-9]+>"));
  EXPECT_THAT(*formatter_->fromAddress("no"), StartsWith("Varsler <alerts@"));
}

TEST_F(CommonBundleTest, SendsFromTheNameThatMailIsSentTo) {
  directory_.write("etc/mailname", "mail.example.org\n");
  ScopedEnvironment environment;
  environment.set("VELTO_ROOT", directory_.path().string());
  EXPECT_EQ(formatter_->fromAddress("en"), "Alerts <alerts@mail.example.org>");
}

TEST_F(CommonBundleTest, MailProgramsReadTheMessage) {
  if (::access(kPython, X_OK) != 0) {
    return skipOrFail(std::string(kPython) + " is missing");
  }
  const auto alert = registry_.alertSubclass(alert_, nullptr);
  ASSERT_NE(alert, nullptr);
  for (const std::string language : {"en", "fr", "de", "zh", "ja", "no"}) {
    const std::string seen = read("To: a@b.example\n" + format(language));
    EXPECT_THAT(seen, StartsWith("To: a@b.example\n"
                                 "MIME-Version: 1.0\n"
                                 "Content-Type: text/plain; charset=\"UTF-8\"\n"
                                 "Content-Transfer-Encoding: quoted-printable\n"
                                 "Auto-Submitted: auto-generated\n\n" +
                                 *alert->message(language) + "\n\n"));
    const std::string names =
        *alert->bundleName(language) + "\n[^\n]*" + *alert->typeName(language);
    EXPECT_THAT(seen, testing::ContainsRegex("\n[^\n]*" + names + "\n[^\n]*2026[^\n]*\n$"));
  }
}

TEST_F(CommonBundleTest, MailProgramsReadAnyText) {
  if (::access(kPython, X_OK) != 0) {
    return skipOrFail(std::string(kPython) + " is missing");
  }
  const std::string text = ".\nFrom here = there\t\n" + std::string(300, '.') + " é " +
                           std::string(200, '=') + "\n\n.\n警报";
  std::optional<Error> error;
  const auto message = formatter_->formatMessage(SpokenAlert({}, text), "en", &error);
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ(message->find("\n."), std::string::npos);
  EXPECT_EQ(message->find("\nFrom "), std::string::npos);
  const std::string seen = read("To: a@b.example\n" + *message);
  EXPECT_THAT(seen, testing::EndsWith("\n\n" + text + "\n\n"));
  EXPECT_EQ(seen.find("defect"), std::string::npos);
}

TEST_F(CommonBundleTest, ThereIsNoEnglishInAGermanMail) {
  EXPECT_THAT(read("To: a@b.example\n" + format("de-AT")),
              testing::ContainsRegex("Modul: Warnungsdienst\nArt: Test\n"
                                     "Zeit: 2[01]. November 2026 um [0-9:]+ [^\n]+\n$"));
}

TEST_F(CommonBundleTest, TellsWhenTheAlertWasSentRatherThanMade) {
  EXPECT_THAT(format("en"), HasSubstr("2026"));
  alert_.sentDate = Date::fromUnixSeconds(1000000000);
  EXPECT_THAT(format("en"), HasSubstr("2001"));
}

TEST_F(CommonBundleTest, AnAlertWithoutAMessageIsAnError) {
  std::optional<Error> error;
  EXPECT_EQ(formatter_->formatMessage(SpokenAlert({}, std::nullopt), "en", &error), std::nullopt);
  EXPECT_EQ(error, makeError("Common", 1, "The alert has no message."));
}

TEST_F(CommonBundleTest, FormattersDoNotShareAnything) {
  const auto second = registry_.makeEmailFormatter("EmailFormatter");
  formatter_.reset();
  ASSERT_NE(second, nullptr);
  EXPECT_THAT(*second->fromAddress("de"), StartsWith("Warnungen "));
}

}  // namespace
}  // namespace velto
