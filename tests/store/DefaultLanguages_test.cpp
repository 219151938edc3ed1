// SPDX-License-Identifier: Apache-2.0
#include "store/DefaultLanguages.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "platform/foundation/Languages.h"
#include "store/ADAlertStore.h"
#include "tests/foundation/ScopedEnvironment.h"
#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

/// Lists a directory in the order that a test gives.
class OrderedFiles : public FileManager {
 public:
  std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path,
                                                              ErrorSlot error) const override {
    return path == directory ? order : system().contentsOfDirectory(path, error);
  }

  std::string directory;
  std::vector<std::string> order;
};

/// Without language variables but those that a test sets.
class DefaultLanguagesTest : public ::testing::Test {
 protected:
  DefaultLanguagesTest() {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      environment_.set(name, std::nullopt);
    }
  }

  std::string preferred() const { return languages_.preferredLocalizationIdentifier(); }

  ScopedEnvironment environment_;
  ScratchSystem system_;
  DefaultLanguages languages_{system_.bundlesDirectory().string(), system_.fileManager,
                              preferredLanguages};
};

TEST_F(DefaultLanguagesTest, TheLastPartOfTheAddressDecides) {
  environment_.set("LANGUAGE", "sv");
  system_.userLanguages = {"sv"};
  const std::map<std::string, std::string> expected = {
      {"a@b.cn", "zh"},  {"a@b.de", "de"},  {"a@b.fr", "fr"},  {"a@b.gf", "fr"},
      {"a@b.jp", "ja"},  {"a@b.net", "en"}, {"a@b.no", "no"},  {"a@b.nz", "en"},
      {"a@b.org", "en"}, {"a@b.pf", "fr"},  {"a@b.tf", "fr"},  {"a@b.uk", "en"},
      {"a@b.com", "sv"}, {"a@b.ca", "sv"},  {"a@b.DE", "sv"},  {"a@b.fr>", "sv"},
      {"fr", "fr"},      {"", "sv"},        {"a@b.fr.", "sv"}, {"A <a@b.fr>", "sv"},
  };
  for (const auto& [address, language] : expected) {
    EXPECT_EQ(languages_.defaultLocalizationForEmailAddress(address), language) << address;
    EXPECT_EQ(ADAlertMailer::defaultLocalizationForEmailAddress(address), language) << address;
  }
}

TEST_F(DefaultLanguagesTest, WithoutBundlesThePreferredLanguageInItsCanonicalForm) {
  EXPECT_EQ(preferred(), "en");
  environment_.set("LANG", "pt_BR.UTF-8");
  EXPECT_EQ(preferred(), "pt_BR");
  std::filesystem::remove_all(system_.bundlesDirectory());
  EXPECT_EQ(preferred(), "pt_BR");
}

TEST_F(DefaultLanguagesTest, TheFirstBundlesLanguagesDecide) {
  system_.addDiskBundle();
  environment_.set("LANGUAGE", "fr_CA:de");
  EXPECT_EQ(preferred(), "fr");
  environment_.set("LANGUAGE", "ja");
  EXPECT_EQ(preferred(), "en") << "none suits: the first";
}

TEST_F(DefaultLanguagesTest, TheFirstEntryIsTheOneThatIsListedFirst) {
  system_.addDiskBundle();
  system_.addBundle("A.bundle", "{ }");
  system_.addTexts("A.bundle", "ja", "");
  OrderedFiles files;
  files.directory = system_.bundlesDirectory().string();
  const DefaultLanguages languages(files.directory, files,
                                   [] { return std::vector<std::string>{"fr"}; });
  files.order = {"Disk.bundle", "A.bundle"};
  EXPECT_EQ(languages.preferredLocalizationIdentifier(), "fr");
  files.order = {"A.bundle", "Disk.bundle"};
  EXPECT_EQ(languages.preferredLocalizationIdentifier(), "ja");
}

TEST_F(DefaultLanguagesTest, AFirstEntryThatIsNoBundleHasNoLanguages) {
  system_.root.write(system_.bundlesDirectory() / "notes.txt", "no bundle");
  environment_.set("LANG", "de_DE.UTF-8");
  EXPECT_EQ(preferred(), "de_DE");
}

TEST_F(DefaultLanguagesTest, ItIsWorkedOutAnewAtEveryCall) {
  environment_.set("LANG", "de");
  EXPECT_EQ(preferred(), "de");
  environment_.set("LANG", "fr");
  EXPECT_EQ(preferred(), "fr");
  system_.addBundle("A.bundle", "{ }");
  system_.addTexts("A.bundle", "ja", "");
  EXPECT_EQ(preferred(), "ja");
}

TEST_F(DefaultLanguagesTest, TheClassOperationAsksTheSharedOnes) {
  system_.userLanguages = {"pt-BR"};
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "pt_BR");
  environment_.set("LANG", "sv");
  const Shared<DefaultLanguages> shared(languages_);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "sv");
}

}  // namespace
}  // namespace velto
