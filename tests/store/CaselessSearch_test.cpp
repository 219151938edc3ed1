// SPDX-License-Identifier: Apache-2.0
#include "store/CaselessSearch.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace velto {
namespace {

bool isIn(std::string_view text, std::string_view other) {
  return CaselessSearch(text).isIn(other);
}

/// The bytes of UTF-16, the more significant one of a unit first.
std::string bytesOf(std::u16string_view units) {
  std::string bytes;
  for (const char16_t unit : units) {
    bytes.push_back(static_cast<char>(unit >> 8));
    bytes.push_back(static_cast<char>(unit & 0xFF));
  }
  return bytes;
}

TEST(CaselessSearch, FindsASCIIWithoutRegardToCase) {
  EXPECT_TRUE(isIn("DISK", "the disk is full"));
  EXPECT_TRUE(isIn("full", "the disk is FULL"));
  EXPECT_TRUE(isIn("the", "The disk"));
  EXPECT_TRUE(isIn("aab", "aaab"));
  EXPECT_FALSE(isIn("disc", "the disk is full"));
  EXPECT_FALSE(isIn("disks", "disk"));
  EXPECT_FALSE(isIn("[", "{"));
  EXPECT_FALSE(isIn("@", "`"));
}

TEST(CaselessSearch, TheEmptyTextIsEverywhere) {
  CaselessSearch search("");
  EXPECT_TRUE(search.isIn(""));
  EXPECT_TRUE(search.isIn("a"));
  EXPECT_TRUE(search.isIn("ä"));
  EXPECT_TRUE(search.isInASCII(""));
  EXPECT_TRUE(search.isInUTF16(""));
  EXPECT_FALSE(isIn("a", ""));
}

TEST(CaselessSearch, KnowsCaseOutsideOfASCII) {
  EXPECT_TRUE(isIn("ÜBER", "Grund: über"));
  EXPECT_TRUE(isIn("über", "ÜBERLAUF"));
  EXPECT_TRUE(isIn("дИСК", "Диск заполнен"));
  EXPECT_TRUE(isIn("σασ", "ΣΑΣ"));
  EXPECT_TRUE(isIn("σας", "ΣΑΣ"));
  EXPECT_TRUE(isIn("磁盘", "磁盘已满"));
  EXPECT_TRUE(isIn("𐐨", "𐐀"));
  EXPECT_FALSE(isIn("uber", "über"));
  EXPECT_FALSE(isIn("ü", "u"));
}

TEST(CaselessSearch, OneLetterMayFoldToSeveralAndToASCII) {
  EXPECT_TRUE(isIn("STRASSE", "Hauptstraße 1"));
  EXPECT_TRUE(isIn("straße", "STRASSE"));
  EXPECT_TRUE(isIn("office", "O\uFB03ce"));
  EXPECT_TRUE(isIn("kelvin", "\u212Aelvin"));
  EXPECT_TRUE(isIn("\u212A", "k"));
  EXPECT_TRUE(isIn("s", "\u017F"));
}

TEST(CaselessSearch, FindsTheSameInUTF16) {
  CaselessSearch search("Größe");
  EXPECT_TRUE(search.isInUTF16(bytesOf(u"die GRÖSSE des 磁盘")));
  EXPECT_FALSE(search.isInUTF16(bytesOf(u"die Grosse des 磁盘")));
  EXPECT_FALSE(search.isInASCII("Grosse"));
  EXPECT_TRUE(CaselessSearch("disk").isInUTF16(bytesOf(u"ä DISK")));
}

TEST(CaselessSearch, WhatIsNoTextIsNotFoundAndHurtsNobody) {
  CaselessSearch search("full");
  EXPECT_TRUE(search.isIn("\xC3 full"));
  EXPECT_FALSE(search.isIn("fu\xFFll"));
  EXPECT_TRUE(search.isInUTF16(std::string("\xDC\x00", 2) + bytesOf(u"Full")));
  EXPECT_FALSE(search.isInUTF16(bytesOf(u"full").substr(1)));
}

/// Beside a search that compares at every place.
TEST(CaselessSearch, FindsEveryPlaceInASCII) {
  std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same each time
  const auto randomText = [&](std::size_t most) {
    std::string text(random() % (most + 1), 'a');
    for (char& c : text)
      c = "aAbBzZ1/"[random() % 8];
    return text;
  };
  const auto lower = [](std::string text) {
    for (char& c : text)
      c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
  };
  int found = 0;
  for (int round = 0; round < 20000; ++round) {
    const std::string text = randomText(4);
    const std::string other = randomText(30);
    const bool isThere = lower(other).find(lower(text)) != std::string::npos;
    EXPECT_EQ(CaselessSearch(text).isInASCII(other), isThere) << text << " in " << other;
    found += isThere ? 1 : 0;
  }
  EXPECT_GT(found, 5000);
  EXPECT_LT(found, 15000);
}

TEST(CaselessSearch, IsUsedForOneTextAfterTheOther) {
  CaselessSearch search("ÄRGER");
  EXPECT_TRUE(search.isIn("großer Ärger mit vielem, was noch kommt"));
  EXPECT_FALSE(search.isIn("ä"));
  EXPECT_TRUE(search.isIn("ärger"));
  CaselessSearch copy = search;
  EXPECT_TRUE(copy.isIn("mehr ärger"));
}

}  // namespace
}  // namespace velto
