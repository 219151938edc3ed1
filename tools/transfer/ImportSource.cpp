// SPDX-License-Identifier: Apache-2.0
#include "tools/transfer/ImportSource.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

/// The longest that fits into a call.
constexpr std::size_t kLongestLine = std::size_t{15} << 20;
constexpr std::size_t kBlock = 65536;

bool isInput(const std::string& path) {
  return path.empty() || path == "-";
}

}  // namespace

ImportSource::ImportSource(const std::string& path)
    : name_(isInput(path) ? tr("standard input") : printable(path)),
      stream_(isInput(path) ? std::tmpfile() : std::fopen(path.c_str(), "re"), std::fclose) {
  if (stream_ == nullptr) fail(errno);
  if (isInput(path)) {
    keepInput();
  } else if (std::fseek(stream_.get(), 0, SEEK_END) != 0) {
    fail(errno);  // a pipe by a name: it could not be read twice
  }
}

void ImportSource::fail(int code) const {
  throw Failure{.status = kExitFailed,
                .what = say("cannot read {}: {}", name_, std::system_category().message(code))};
}

void ImportSource::keepInput() {
  std::array<char, kBlock> block{};
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), stdin)) {
    if (std::fwrite(block.data(), 1, count, stream_.get()) != count) fail(errno);
  }
  if (std::ferror(stdin) != 0 || std::fflush(stream_.get()) != 0) fail(errno);
}

void ImportSource::forEachLine(
    const std::function<void(const std::string& line, std::size_t number)>& take) {
  std::rewind(stream_.get());
  std::string line;
  std::size_t number = 1;
  const auto end = [&] {
    if (line.find_first_not_of(" \t\r") != std::string::npos) take(line, number);
    line.clear();
    ++number;
  };
  std::array<char, kBlock> block{};
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), stream_.get())) {
    std::string_view rest(block.data(), count);
    for (std::size_t at = 0; (at = rest.find('\n')) != std::string_view::npos;) {
      line.append(rest.substr(0, std::min(at, kLongestLine - std::min(kLongestLine, line.size()))));
      end();
      rest.remove_prefix(at + 1);
    }
    line.append(rest.substr(0, kLongestLine - std::min(kLongestLine, line.size())));
  }
  if (std::ferror(stream_.get()) != 0) fail(errno);
  end();
}

}  // namespace velto
