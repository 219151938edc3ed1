// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Message.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/foundation/Languages.h"

namespace velto {
namespace {

constexpr const char* kDomain = "alertsctl";

/// Many servers have the C locale only. Whoever asks for a language there is to have it all the
/// same: its texts need nothing of the system but UTF-8.
void goWithoutLocale() {
  std::setlocale(LC_ALL, "C.UTF-8");
  const std::string language = preferredLanguages().front();
  setenv("LANGUAGE", language.substr(0, language.find('-')).c_str(), 0);
}

std::string catalogues() {
  std::error_code error;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", error);
  return (program.parent_path().parent_path() / "share/locale").string();
}

}  // namespace

void useLocale() {
  if (std::setlocale(LC_ALL, "") == nullptr) goWithoutLocale();
  // Numbers are written and read as in JSON and C++.
  std::setlocale(LC_NUMERIC, "C");
  bindtextdomain(kDomain, catalogues().c_str());
  bind_textdomain_codeset(kDomain, "UTF-8");
  textdomain(kDomain);
}

}  // namespace velto
