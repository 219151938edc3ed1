// SPDX-License-Identifier: Apache-2.0
#include "bundles/Common/Code/HostName.h"

#include <algorithm>
#include <array>
#include <unistd.h>
#include <vector>

#include "bundles/Common/Code/MailText.h"
#include "platform/foundation/Paths.h"
#include "platform/foundation/RegularFile.h"

namespace velto {
namespace {

constexpr std::size_t kMaximumFile = 1 << 20;
constexpr std::string_view kBlanks = " \t\r";

std::string contents(std::string_view path) {
  return contentsOfRegularFile(rootedPath(path), kMaximumFile, nullptr).value_or("");
}

/// Takes the first line off the text.
std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  return line;
}

std::vector<std::string_view> words(std::string_view line) {
  std::vector<std::string_view> result;
  for (;;) {
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) {
      return result;
    }
    line.remove_prefix(start);
    const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
    result.push_back(line.substr(0, end));
    line.remove_prefix(end);
  }
}

bool isFullName(std::string_view name) {
  return name.find('.') != std::string_view::npos && mailHost(name) == name;
}

/// The first full name in the first line that has one for the host; empty when none has.
std::string fullName(std::string_view hosts, std::string_view hostName) {
  while (!hosts.empty()) {
    const std::string_view line = takeLine(hosts);
    auto names = words(line.substr(0, line.find('#')));
    if (names.empty()) {
      continue;
    }
    names.erase(names.begin());  // the address
    const auto found = std::find_if(names.begin(), names.end(), isFullName);
    if (found != names.end() && std::find(names.begin(), names.end(), hostName) != names.end()) {
      return std::string(*found);
    }
  }
  return "";
}

}  // namespace

std::string mailHostName() {
  std::array<char, 256> name{};
  if (::gethostname(name.data(), name.size() - 1) != 0) {
    name[0] = '\0';
  }
  // Not getaddrinfo(): where the host's name is not in the file it asks the name servers, and a
  // post would wait for them, above all on a day when the network is what the alert is about.
  return mailHostName(contents("/etc/mailname"), contents("/etc/hosts"), name.data());
}

std::string mailHostName(std::string_view mailname, std::string_view hosts,
                         std::string_view hostName) {
  const auto named = words(takeLine(mailname));
  if (named.size() == 1 && mailHost(named.front()) == named.front()) {
    return std::string(named.front());
  }
  const std::string full = isFullName(hostName) ? "" : fullName(hosts, hostName);
  return full.empty() ? std::string(hostName) : full;
}

}  // namespace velto
