// SPDX-License-Identifier: Apache-2.0
#include "delivery/HeaderEncoding.h"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace velto {
namespace {

TEST(HeaderEncoding, EncodesWhatIsNotPlain) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"a=b_c", "a=b_c"},
      {"!*+-/=_09azAZ", "!*+-/=_09azAZ"},
      {"Disk full", "=?UTF-8?Q?Disk_full?="},
      {"caf\xC3\xA9", "=?UTF-8?Q?caf=C3=A9?="},
      {"a=b c_d", "=?UTF-8?Q?a=3Db_c=5Fd?="},
      {"tab\tcr\rlf\n", "=?UTF-8?Q?tab=09cr=0Dlf_?="},
      {"?", "=?UTF-8?Q?=3F?="},
      {"!*+-/ ", "=?UTF-8?Q?!*+-/_?="},
      {std::string("\0\x7f", 2), "=?UTF-8?Q?=00=7F?="},
      {"\xF0\x9F\x98\x80", "=?UTF-8?Q?=F0=9F=98=80?="},
  };
  for (const auto& [text, encoded] : rows) {
    EXPECT_EQ(encodedHeaderText(text), encoded);
  }
}

TEST(HeaderEncoding, ALongTextStaysOneWord) {
  EXPECT_EQ(encodedHeaderText(std::string(5000, ' ')),
            "=?UTF-8?Q?" + std::string(5000, '_') + "?=");
}

TEST(HeaderEncoding, OnlyTheDisplayNameOfAnAddressIsEncoded) {
  const std::pair<std::string, std::string> rows[] = {
      {"a@example.org", "a@example.org"},
      {"a b@example.org", "a b@example.org"},
      {"Jane Doe <jane@example.org>", "=?UTF-8?Q?Jane_Doe_?=<jane@example.org>"},
      {"Admin <a@b>", "=?UTF-8?Q?Admin_?=<a@b>"},
      {"Admin<a@b>", "Admin<a@b>"},
      {"<a@b>", "<a@b>"},
      {"a <b <c@d>", "=?UTF-8?Q?a_=3Cb_?=<c@d>"},
      {"", ""},
  };
  for (const auto& [address, encoded] : rows) {
    EXPECT_EQ(encodedAddress(address), encoded);
  }
}

}  // namespace
}  // namespace velto
