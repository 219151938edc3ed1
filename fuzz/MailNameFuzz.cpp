// SPDX-License-Identifier: Apache-2.0
// Whatever stands in /etc/mailname and /etc/hosts, the sender of mails is one address of one line.
// The first NUL parts the two files.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "bundles/Common/Code/HostName.h"
#include "bundles/Common/Code/MailText.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view mailname = text.substr(0, text.find('\0'));
  const std::string_view hosts = text.substr(std::min(size, mailname.size() + 1));
  const std::string sender = velto::mailSender(velto::mailHostName(mailname, hosts, "host"), "en");
  const bool isPrintable =
      std::all_of(sender.begin(), sender.end(), [](char c) { return c >= ' ' && c <= '~'; });
  if (!isPrintable || std::count(sender.begin(), sender.end(), '@') != 1 ||
      std::count(sender.begin(), sender.end(), '<') != 1 || !sender.ends_with('>')) {
    __builtin_trap();
  }
  return 0;
}
