// SPDX-License-Identifier: Apache-2.0
// Texts for many readers at once.

#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "alerts/AlertBundle.h"
#include "platform/foundation/FileManager.h"
#include "tests/alerts/AlertBundleDirectory.h"
#include "tests/support/FakeLog.h"

namespace velto {
namespace {

TEST(ReaderThreads, AllReadersGetTheirOwnNumbersAndDates) {
  const AlertBundleDirectory directory;
  directory.writeInfo("Disk.bundle", "{ VLTextFormat = icu; VLAlertTypes = { Full = {}; }; }");
  const std::string pattern =
      "{n, plural, one{#} other{# s}} {n, number, ::.0} {when} {when, date, ::yMMMd} {all}";
  for (const char* language : {"en", "de", "fr", "ja"}) {
    directory.writeStrings("Disk.bundle", language, "\"Full.message\" = \"" + pattern + "\";");
  }
  FakeLog log;
  const AlertBundle bundle("Disk",
                           *Bundle::bundleWithPath(directory.path() + "/Disk.bundle", nullptr),
                           FileManager::system(), log);
  const PropertyList::Dictionary attributes{
      {"n", 1234.5}, {"when", Date(0)}, {"all", PropertyList::Array{1, true, "x"}}};
  const std::vector<std::string> readers = {"en", "de", "fr-CA", "ja", "de-CH", "en-GB", "it"};
  std::vector<std::vector<std::string>> texts(8);
  std::vector<std::thread> threads;
  for (auto& own : texts) {
    threads.emplace_back([&] {
      for (int round = 0; round < 20; ++round) {
        for (const std::string& reader : readers) {
          own.push_back(
              bundle.texts().textAbout(attributes, "Full.message", reader).value_or("none"));
        }
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_THAT(texts, testing::Each(texts.front()));
  EXPECT_THAT(texts.front()[1], testing::StartsWith("1.234,5 s 1.234,5 1. Januar 2001 um "));
  EXPECT_THAT(texts.front()[4], testing::EndsWith(" 1. Jan. 2001 1, ja und x"));
}

}  // namespace
}  // namespace velto
