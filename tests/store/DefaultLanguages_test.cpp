#include "store/DefaultLanguages.h"

#include <cstdlib>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "store/ADAlertStore.h"
#include "tests/support/ScratchSystem.h"

namespace velto {
namespace {

/// The language variables as a test sets them; put back afterwards.
class DefaultLanguagesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* value = std::getenv(name);
      saved_[name] = value == nullptr ? "" : value;
      unsetenv(name);
    }
  }
  void TearDown() override {
    for (const auto& [name, value] : saved_) {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }

  ScratchSystem system_;
  std::map<std::string, std::string> saved_;
};

TEST_F(DefaultLanguagesTest, TheLastPartOfTheAddressDecides) {
  setenv("LANGUAGE", "sv", 1);
  const std::map<std::string, std::string> expected = {
      {"a@b.cn", "zh"},  {"a@b.de", "de"},  {"a@b.fr", "fr"},  {"a@b.gf", "fr"},
      {"a@b.jp", "ja"},  {"a@b.net", "en"}, {"a@b.no", "no"},  {"a@b.nz", "en"},
      {"a@b.org", "en"}, {"a@b.pf", "fr"},  {"a@b.tf", "fr"},  {"a@b.uk", "en"},
      {"a@b.com", "sv"}, {"a@b.ca", "sv"},  {"a@b.DE", "sv"},  {"a@b.fr>", "sv"},
      {"fr", "fr"},      {"", "sv"},        {"a@b.fr.", "sv"}, {"A <a@b.fr>", "sv"},
  };
  for (const auto& [address, language] : expected) {
    EXPECT_EQ(defaultLocalizationForEmailAddress(address), language) << address;
    EXPECT_EQ(ADAlertMailer::defaultLocalizationForEmailAddress(address), language) << address;
  }
}

TEST_F(DefaultLanguagesTest, WithoutBundlesThePreferredLanguageInItsCanonicalForm) {
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "en");
  setenv("LANG", "pt_BR.UTF-8", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "pt_BR");
  std::filesystem::remove_all(system_.bundlesDirectory());
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "pt_BR");
}

TEST_F(DefaultLanguagesTest, TheFirstBundlesLanguagesDecide) {
  system_.addDiskBundle();
  setenv("LANGUAGE", "fr_CA:de", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "fr");
  setenv("LANGUAGE", "ja", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "en") << "none suits: the first";
}

TEST_F(DefaultLanguagesTest, AFirstEntryThatIsNoBundleHasNoLanguages) {
  system_.root.write(system_.bundlesDirectory() / "notes.txt", "no bundle");
  setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "de_DE");
}

TEST_F(DefaultLanguagesTest, ItIsWorkedOutAnewAtEveryCall) {
  setenv("LANG", "de", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "de");
  setenv("LANG", "fr", 1);
  EXPECT_EQ(ADAlertStore::preferredLocalizationIdentifier(), "fr");
}

}  // namespace
}  // namespace velto
