// SPDX-License-Identifier: Apache-2.0
#include "alerts/VLAlertAction.h"

#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <boost/json.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundleRegistry.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Shared.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FakeLog.h"
#include "tests/support/SkipOrFail.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class VLAlertActionTest : public testing::Test {
 protected:
  VLAlertActionTest() {
    alert_.bundle = "Disk";
    alert_.type = "Full";
    alert_.identifier = "a";
    alert_.sentDate = Date(1.5);
    alert_.attributes = PropertyList::Dictionary{{"volume", "/home"}, {"raw", Data("\x01")}};
    directory_.writeInfo("Disk.bundle",
                         "{ VLAlertTypes = { Full = { RecoveryOptions = (Free); }; }; }");
    directory_.writeStrings("Disk.bundle", "en", "\"Free.title\" = \"Free space\";");
    chmod(directory_.path().c_str(), 0755);
    for (const char* folder : {"", "Contents"}) {
      chmod((bundle() / folder).c_str(), 0755);
    }
  }

  fs::path bundle() const { return fs::path(directory_.path()) / "Disk.bundle"; }
  fs::path actions() const { return bundle() / "Contents/Actions"; }

  fs::path write(const std::string& name, const std::string& script, mode_t mode = 0755) const {
    fs::create_directories(actions());
    chmod(actions().c_str(), 0755);
    fs::path path = files_.write(actions() / name, "#!/bin/sh\n" + script + "\n");
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  std::unique_ptr<VLAlertAction> make(const std::string& name, ErrorSlot error = nullptr) {
    return registry_.alertAction(name, alert_, error);
  }
  /// One that has little time.
  std::unique_ptr<VLAlertAction> makeHasty(const std::string& name) {
    return hasty_.alertAction(name, alert_, nullptr);
  }
  Error errorOf(const std::string& name) {
    std::optional<Error> error;
    EXPECT_EQ(make(name, &error), nullptr);
    EXPECT_TRUE(error.has_value());
    return error.value_or(Error());
  }

  const TemporaryDirectory files_;
  AlertBundleDirectory directory_;
  FakeLog log_;
  FakeClock clock_;
  AlertBundleRegistry registry_{directory_.path(), FileManager::system(), clock_, log_};
  AlertBundleRegistry hasty_{directory_.path(), FileManager::system(), clock_, log_,
                             std::chrono::milliseconds(100)};
  VLAlert alert_;
};

TEST_F(VLAlertActionTest, IsFoundInTheSharedBundles) {
  write("Free", "exit 0");
  const Shared<AlertBundleRegistry> shared(registry_);
  std::optional<Error> error;
  const auto action = VLAlertAction::alertActionWithClassName("Free", alert_, &error);
  ASSERT_NE(action, nullptr) << error->localizedDescription();
  EXPECT_EQ(action->title("en"), "Free space");
  EXPECT_EQ(VLAlertAction::alertActionWithClassName("Missing", alert_, &error), nullptr);
  EXPECT_EQ(error, errorOf("Missing"));
}

TEST_F(VLAlertActionTest, AsksWhetherTheConditionHasGone) {
  write("Yes", "[ \"$*\" = has-been-resolved ]");
  write("No", "exit 1");
  EXPECT_TRUE(make("Yes")->hasBeenResolved());
  EXPECT_FALSE(make("No")->hasBeenResolved());
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(VLAlertActionTest, AnAnswerThatIsNoneIsLogged) {
  write("Broken", "echo broken >&2; exit 2");
  write("Slow", "sleep 600");
  write("Killed", "kill -9 $$");
  EXPECT_FALSE(make("Broken")->hasBeenResolved());
  EXPECT_FALSE(makeHasty("Slow")->hasBeenResolved());
  EXPECT_FALSE(make("Killed")->hasBeenResolved());
  const std::string rest = "' of alert bundle 'Disk', asked whether it has been resolved, ";
  EXPECT_THAT(log_.lines(),
              ElementsAre("Recovery action 'Broken" + rest + "ended with status 2: broken",
                          "Recovery action 'Slow" + rest + "took too long and was ended",
                          "Recovery action 'Killed" + rest + "was ended by signal 9"));
}

TEST_F(VLAlertActionTest, RunsWithALocalizationAndTheAlertAsJSON) {
  const std::string seen = (files_.path() / "seen").string();
  write("Free", "[ \"$1\" = run ] && [ \"$2\" = fr ] && cat > " + seen);
  std::optional<Error> error;
  EXPECT_TRUE(make("Free")->runWithLocalization("fr", &error));
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(boost::json::parse(readFile(seen)), boost::json::parse(R"({
      "identifier": "a", "type": "Full", "bundle": "Disk", "sentDate": 1.5,
      "attributes": {"volume": "/home", "raw": {"$data": "AQ=="}}})"));
}

TEST_F(VLAlertActionTest, AFailureSaysWhatTheActionSays) {
  write("Free", "echo; echo '  The disk is busy.'; echo '  The disk is busy.' >&2; exit 1");
  write("Silent", "exit 7");
  write("Slow", "sleep 600");
  std::optional<Error> error;
  EXPECT_FALSE(make("Free")->runWithLocalization("en", &error));
  EXPECT_EQ(error, makeError(kBundleErrorDomain, kActionFailedErrorCode, "The disk is busy."));
  error.reset();
  EXPECT_FALSE(make("Silent")->runWithLocalization("en", &error));
  EXPECT_EQ(error,
            makeError(kBundleErrorDomain, kActionFailedErrorCode,
                      "Recovery action 'Silent' of alert bundle 'Disk' ended with status 7."));
  error.reset();
  EXPECT_FALSE(makeHasty("Slow")->runWithLocalization("en", &error));
  EXPECT_EQ(error, makeError(kBundleErrorDomain, kActionTimedOutErrorCode,
                             "Recovery action 'Slow' of alert bundle 'Disk' took too long and was "
                             "ended."));
  EXPECT_FALSE(make("Silent")->runWithLocalization("en", nullptr));
}

TEST_F(VLAlertActionTest, WhatIsNoTextIsMadeOne) {
  write("Odd", "printf 'caf\\303\\251 \\377\\376 x\\303' >&2; exit 1");
  write("Lines", "printf 'one\\ntwo\\n' >&2; exit 2");
  std::optional<Error> error;
  EXPECT_FALSE(make("Odd")->runWithLocalization("en", &error));
  EXPECT_EQ(error->localizedDescription(), "caf\xC3\xA9 ?? x?");
  EXPECT_FALSE(make("Lines")->hasBeenResolved());
  EXPECT_THAT(log_.lines(), ElementsAre(HasSubstr("ended with status 2: one two")));
}

TEST_F(VLAlertActionTest, TheTitleIsTheBundlesTextOrTheName) {
  write("Free", "");
  write("Other", "");
  EXPECT_EQ(make("Free")->title("en"), "Free space");
  EXPECT_EQ(make("Other")->title("en"), "Other");
}

TEST_F(VLAlertActionTest, WhatTheBundleHasNotIsAnError) {
  write("Free", "");
  for (const std::string& name :
       {std::string("None"), std::string(), std::string("."), std::string(".."),
        std::string("../Info.plist"), std::string("Free\0", 5), std::string("/bin/sh")}) {
    const Error error = errorOf(name);
    EXPECT_EQ(error.domain, kBundleErrorDomain);
    EXPECT_EQ(error.code, kNoSuchActionErrorCode);
    EXPECT_EQ(
        error.localizedDescription(),
        std::string("Alert bundle 'Disk' has no recovery action '").append(name).append("'."));
  }
  alert_.bundle = "Tape";
  EXPECT_EQ(errorOf("Free").code, kBundleNotOpenedErrorCode);
  EXPECT_THAT(errorOf("Free").localizedDescription(), HasSubstr("'Tape'"));
  alert_.bundle = std::nullopt;
  EXPECT_EQ(errorOf("Free").code, kAlertWithoutBundleErrorCode);
}

TEST_F(VLAlertActionTest, AFileThatOthersCanWriteIsRefused) {
  const fs::path path = write("Free", "", 0775);
  const auto refusal = [this] {
    const Error error = errorOf("Free");
    EXPECT_EQ(error.code, kActionRefusedErrorCode);
    return error.localizedDescription();
  };
  const std::string start = "Recovery action 'Free' of alert bundle 'Disk' cannot be used: ";
  const std::string why = " can be written by others than its owner.";
  EXPECT_EQ(refusal(), start + path.string() + why);
  chmod(path.c_str(), 0755);
  for (const fs::path& folder :
       {actions(), bundle() / "Contents", bundle(), fs::path(directory_.path())}) {
    chmod(folder.c_str(), 0757);
    EXPECT_EQ(refusal(), start + folder.string() + why);
    chmod(folder.c_str(), 0755);
  }
  EXPECT_NE(make("Free"), nullptr);
  chmod(path.c_str(), 0644);
  EXPECT_EQ(refusal(), start + path.string() + " is not executable.");
}

TEST_F(VLAlertActionTest, AFileOfSomebodyElseIsRefused) {
  if (geteuid() != 0) {
    return skipOrFail("only root can give a file away");
  }
  const fs::path path = write("Free", "");
  ASSERT_EQ(chown(path.c_str(), 12345, 0), 0);
  EXPECT_THAT(errorOf("Free").localizedDescription(), HasSubstr("Free belongs to user 12345."));
}

TEST_F(VLAlertActionTest, LinksAndFoldersAreNoActions) {
  write("Real", "");
  fs::create_symlink("Real", actions() / "Link");
  fs::create_directory(actions() / "Folder");
  EXPECT_EQ(errorOf("Link").code, kActionRefusedErrorCode);
  EXPECT_THAT(errorOf("Folder").localizedDescription(), HasSubstr("is not a regular file"));
}

TEST_F(VLAlertActionTest, AFileThatBecameWritableIsNotRun) {
  const fs::path path = write("Free", "touch " + (files_.path() / "ran").string());
  const auto action = make("Free");
  ASSERT_NE(action, nullptr);
  chmod(path.c_str(), 0777);
  std::optional<Error> error;
  EXPECT_FALSE(action->runWithLocalization("en", &error));
  EXPECT_THAT(error->localizedDescription(),
              HasSubstr("was not started: " + path.string() + " can be written by others"));
  EXPECT_FALSE(action->hasBeenResolved());
  EXPECT_FALSE(fs::exists(files_.path() / "ran"));
}

TEST_F(VLAlertActionTest, SeveralRunAtOnce) {
  write("Free", "exit 0");
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int time = 0; time < 5; ++time) {
        EXPECT_TRUE(make("Free")->runWithLocalization("en", nullptr));
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

}  // namespace
}  // namespace velto
