// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace velto {

/// The name of this machine that mail for it is sent to: the one in /etc/mailname, else the host's
/// full name, else its short one. It is read anew each time, and nobody on the network is asked.
/// Any thread.
std::string mailHostName();

/// The same for a host that calls itself `hostName`, with the text of the two files.
std::string mailHostName(std::string_view mailname, std::string_view hosts,
                         std::string_view hostName);

}  // namespace velto
