// SPDX-License-Identifier: Apache-2.0
// The example in C.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"
#include "tests/support/FakeLog.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

class BackupBundleTest : public testing::Test {
 protected:
  BackupBundleTest() {
    alert_.bundle = "Backup";
    alert_.type = "Failed";
    alert_.attributes = PropertyList::Dictionary{{"files", 1234},
                                                 {"incremental", true},
                                                 {"since", Date::fromUnixSeconds(1795176000)},
                                                 {"volumes", PropertyList::Array{"/home", "/srv"}}};
  }

  std::unique_ptr<VLAlertSubclass> alert() {
    std::optional<Error> error;
    auto made = registry_.alertSubclass(alert_, &error);
    EXPECT_EQ(error, std::nullopt);
    return made;
  }

  FakeLog log_;
  AlertBundleRegistry registry_{VELTO_EXAMPLES_DIR, FileManager::system(), Clock::system(), log_};
  VLAlert alert_;
};

TEST_F(BackupBundleTest, TellsOfAFailureInThreeLanguages) {
  const auto made = alert();
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(made->subject("en"), "The incremental backup has failed: /home and /srv");
  EXPECT_EQ(made->subject("de"), "Die inkrementelle Sicherung ist fehlgeschlagen: /home und /srv");
  EXPECT_EQ(made->subject("fr"), "La sauvegarde incrémentielle a échoué: /home et /srv");
  EXPECT_EQ(made->message("de-AT"),
            "1\u00a0234 Dateien von /home und /srv gesichert. "
            "Inkrementell: ja.");
  EXPECT_EQ(made->typeName("de"), "Sicherung fehlgeschlagen");
  EXPECT_THAT(log_.lines(), testing::IsEmpty());
}

TEST_F(BackupBundleTest, CountsInEveryLanguage) {
  alert_.type = "Finished";
  for (const auto& [files, text] : std::vector<std::pair<int, std::string>>{
           {0, "Keine Datei wurde"}, {1, "1 Datei wurde"}, {2, "2 Dateien wurden"}}) {
    alert_.attributes->insert_or_assign("files", files);
    EXPECT_EQ(alert()->message("de"), text + " seit dem 20. November 2026 gesichert.");
  }
}

TEST_F(BackupBundleTest, RemovesTheLockThatWasLeft) {
  const TemporaryDirectory directory;
  const auto lock = directory.write("lock", "");
  alert_.attributes->emplace("lock", lock.string());
  const auto action = registry_.alertAction("RemoveLock", alert_, nullptr);
  ASSERT_NE(action, nullptr);
  EXPECT_FALSE(action->hasBeenResolved());
  EXPECT_TRUE(action->runWithLocalization("de", nullptr));
  EXPECT_FALSE(std::filesystem::exists(lock));
  EXPECT_TRUE(action->hasBeenResolved());
}

TEST_F(BackupBundleTest, SaysWhyItRemovesNothing) {
  std::optional<Error> error;
  const auto action = registry_.alertAction("RemoveLock", alert_, nullptr);
  ASSERT_NE(action, nullptr);
  EXPECT_FALSE(action->runWithLocalization("de", &error));
  EXPECT_EQ(error, makeError("Backup", EINVAL, "The lock cannot be removed."));
  EXPECT_FALSE(action->hasBeenResolved());
  EXPECT_THAT(log_.lines(), testing::Contains("Alert bundle 'Backup': an alert without a lock "
                                              "cannot be looked after"));
}

}  // namespace
}  // namespace velto
