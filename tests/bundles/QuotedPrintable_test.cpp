// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/QuotedPrintable.h"

#include <sstream>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(QuotedPrintable, LeavesPlainTextAlone) {
  EXPECT_EQ(quotedPrintable("Disk full: /home (97%)\n"), "Disk full: /home (97%)\n");
  EXPECT_EQ(quotedPrintable("one\n\ntwo\n"), "one\n\ntwo\n");
}

TEST(QuotedPrintable, EndsTheLastLine) {
  EXPECT_EQ(quotedPrintable(""), "");
  EXPECT_EQ(quotedPrintable("text"), "text\n");
}

TEST(QuotedPrintable, EncodesWhatIsNotPlain) {
  EXPECT_EQ(quotedPrintable("a=b"), "a=3Db\n");
  EXPECT_EQ(quotedPrintable("é"), "=C3=A9\n");
  EXPECT_EQ(quotedPrintable(std::string_view("\0\x1b\x7f", 3)), "=00=1B=7F\n");
  EXPECT_EQ(quotedPrintable("a\tb"), "a\tb\n");
}

TEST(QuotedPrintable, EncodesBlanksAtTheEndOfALine) {
  EXPECT_EQ(quotedPrintable("a \nb\t\n"), "a=20\nb=09\n");
  EXPECT_EQ(quotedPrintable(" "), "=20\n");
}

TEST(QuotedPrintable, TakesBothKindsOfLineBreaks) {
  EXPECT_EQ(quotedPrintable("a\r\nb\rc\r"), "a\nb=0Dc=0D\n");
}

TEST(QuotedPrintable, NoLineLooksLikeTheEndOfAMessage) {
  EXPECT_EQ(quotedPrintable(".\n..\n.a\n"), "=2E\n=2E.\n=2Ea\n");
  EXPECT_EQ(quotedPrintable("From here\nFrom\nAFrom x\n"), "=46rom here\nFrom\nAFrom x\n");
}

TEST(QuotedPrintable, BreaksLongLines) {
  EXPECT_EQ(quotedPrintable(std::string(75, 'x')), std::string(75, 'x') + "\n");
  EXPECT_EQ(quotedPrintable(std::string(76, 'x')), std::string(75, 'x') + "=\nx\n");
}

TEST(QuotedPrintable, ABrokenLineIsGuardedAsWell) {
  EXPECT_EQ(quotedPrintable(std::string(75, 'x') + "."), std::string(75, 'x') + "=\n=2E\n");
  EXPECT_EQ(quotedPrintable(std::string(75, 'x') + "From y"),
            std::string(75, 'x') + "=\n=46rom y\n");
}

TEST(QuotedPrintable, NoLineIsLongerThanAllowedWhereverTheBreakFalls) {
  for (std::size_t shift = 0; shift < 80; ++shift) {
    std::string text(shift, 'x');
    for (int index = 0; index < 100; ++index)
      text += index % 7 == 0 ? "=" : "é.";
    std::istringstream lines(quotedPrintable(text));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 76U) << shift;
      EXPECT_NE(line.front(), '.') << shift;
    }
  }
}

}  // namespace
}  // namespace velto
