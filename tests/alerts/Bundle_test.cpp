// SPDX-License-Identifier: Apache-2.0
#include "alerts/Bundle.h"

#include <filesystem>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManager.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class BundleTest : public testing::Test {
 protected:
  std::string path() const { return (directory_.path() / "X.bundle").string(); }
  std::optional<Bundle> openWithInfo(std::string_view text) const {
    directory_.write("X.bundle/Contents/Info.plist", text);
    return Bundle::bundleWithPath(path(), nullptr);
  }

  TemporaryDirectory directory_;
};

TEST_F(BundleTest, OpensWithADictionaryInAnyFormat) {
  const PropertyList::Dictionary expected{{"CFBundleGetInfoString", "Example"}};
  for (const std::string& text :
       {std::string("{ CFBundleGetInfoString = Example; }"),
        std::string("<plist version=\"1.0\"><dict><key>CFBundleGetInfoString</key>"
                    "<string>Example</string></dict></plist>"),
        std::string(PropertyListSerialization::binaryData(expected, nullptr)->view())}) {
    const auto bundle = openWithInfo(text);
    ASSERT_TRUE(bundle.has_value()) << text;
    EXPECT_EQ(bundle->infoDictionary(), expected);
    EXPECT_EQ(bundle->path(), path());
  }
}

TEST_F(BundleTest, KeepsWhatItReadWhenItWasOpened) {
  const auto bundle = openWithInfo("{ CFBundleGetInfoString = Before; }");
  openWithInfo("{ CFBundleGetInfoString = After; }");
  ASSERT_TRUE(bundle.has_value());
  EXPECT_EQ(*stringForKey(bundle->infoDictionary(), "CFBundleGetInfoString"), "Before");
}

TEST_F(BundleTest, DoesNotOpenWithoutADictionary) {
  EXPECT_FALSE(openWithInfo("( a, b )").has_value());
  EXPECT_FALSE(openWithInfo("{ unfinished = ").has_value());
  EXPECT_FALSE(
      Bundle::bundleWithPath((directory_.path() / "Missing.bundle").string(), nullptr).has_value());
  const auto file = directory_.write("File.bundle", "{ }");
  EXPECT_FALSE(Bundle::bundleWithPath(file.string(), nullptr).has_value());
}

TEST_F(BundleTest, SaysWhyItDoesNotOpen) {
  const std::string file = path() + "/Contents/Info.plist";
  const auto reason = [this] {
    std::optional<Error> error;
    EXPECT_FALSE(Bundle::bundleWithPath(path(), &error).has_value());
    return error ? error->localizedDescription() : "";
  };
  EXPECT_EQ(reason(), "Cannot read " + file + ": No such file or directory");
  openWithInfo("( a, b )");
  EXPECT_EQ(reason(), "Cannot use " + file + ": it holds no dictionary");
  openWithInfo("{ unfinished = ");
  EXPECT_THAT(reason(), testing::StartsWith("Cannot use " + file + ": "));
}

TEST_F(BundleTest, DoesNotOpenWithAnInfoFileBeyondAllMeasure) {
  EXPECT_TRUE(openWithInfo("{ }" + std::string(1000000, ' ')).has_value());
  EXPECT_FALSE(openWithInfo("{ }" + std::string(1100000, ' ')).has_value());
}

TEST_F(BundleTest, DoesNotWaitForAnInfoFileThatIsAFifo) {
  std::filesystem::create_directories(path() + "/Contents");
  ASSERT_EQ(::mkfifo((path() + "/Contents/Info.plist").c_str(), 0600), 0);
  EXPECT_FALSE(Bundle::bundleWithPath(path(), nullptr).has_value());
}

TEST_F(BundleTest, ItsLocalizationsAreItsLanguageFolders) {
  const auto bundle = openWithInfo("{ }");
  ASSERT_TRUE(bundle.has_value());
  EXPECT_THAT(bundle->localizations(FileManager::system()), IsEmpty());
  for (const std::string name : {"zh_CN.lproj", "en.lproj", "de.lproj", ".lproj", "fr.lproj.old"}) {
    std::filesystem::create_directories(path() + "/Contents/Resources/" + name);
  }
  directory_.write("X.bundle/Contents/Resources/ja.lproj", "a file");
  EXPECT_THAT(bundle->localizations(FileManager::system()), ElementsAre("de", "en", "zh_CN"));
}

}  // namespace
}  // namespace velto
