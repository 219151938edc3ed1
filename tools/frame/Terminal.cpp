// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Terminal.h"

#include <charconv>
#include <cstdlib>
#include <langinfo.h>
#include <string_view>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>

namespace velto {
namespace {

constexpr std::size_t kUsualWidth = 80;

std::string_view variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

std::size_t widthOfTerminal() {
  const std::string_view columns = variable("COLUMNS");
  std::size_t wanted = 0;
  const auto result = std::from_chars(columns.data(), columns.data() + columns.size(), wanted);
  if (result.ec == std::errc() && wanted > 0) return wanted;
  winsize size{};
  const bool isKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsualWidth;
}

}  // namespace

Terminal Terminal::ofProcess() {
  Terminal terminal;
  terminal.isTerminal = isatty(STDOUT_FILENO) == 1;
  terminal.hasUTF8 = std::string_view(nl_langinfo(CODESET)) == "UTF-8";
  if (terminal.isTerminal) {
    terminal.width = widthOfTerminal();
    terminal.hasColours = variable("NO_COLOR").empty() && variable("TERM") != "dumb";
  }
  return terminal;
}

}  // namespace velto
