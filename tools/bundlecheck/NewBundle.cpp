// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/NewBundle.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

namespace velto {
namespace {

namespace fs = std::filesystem;

struct NewFile {
  const char* name;  ///< below Contents
  fs::perms mode;
  std::string_view text;
};

constexpr auto kText = fs::perms(0644);

constexpr NewFile kFiles[] = {
    {"Info.plist", kText,
     R"(/* What the daemon knows of the bundle. Its name in other languages is in InfoPlist.strings. */
{
  CFBundleGetInfoString = "Example";
  CFBundleDevelopmentRegion = en;
  VLTextFormat = icu;
  VLAlertTypes = {
    /* An alert of this type has the attributes folder (a path) and files (a number). */
    TooManyFiles = { RecoveryOptions = (Empty); };
  };
}
)"},
    {"Resources/en.lproj/Alerts.strings", kText,
     R"("TooManyFiles.name" = "Too many files";
"TooManyFiles.subject" = "There are too many files in {folder}";
"TooManyFiles.message" = "{files, plural, one {# file is} other {# files are}} waiting in {folder}.";
"Empty.title" = "Empty the folder";
)"},
    {"Resources/de.lproj/Alerts.strings", kText,
     R"("TooManyFiles.name" = "Zu viele Dateien";
"TooManyFiles.subject" = "In {folder} liegen zu viele Dateien";
"TooManyFiles.message" = "In {folder} {files, plural, one {wartet # Datei} other {warten # Dateien}}.";
"Empty.title" = "Ordner leeren";
)"},
    {"Resources/de.lproj/InfoPlist.strings", kText, R"("CFBundleGetInfoString" = "Beispiel";
)"},
    {"Actions/Empty", fs::perms(0755),
     R"--(#!/bin/sh
# usage: Empty has-been-resolved | Empty run LANGUAGE    with the alert as JSON on standard input
folder=$(sed -n 's/.*"folder":"\([^"\\]*\)".*/\1/p')
[ -d "$folder" ] || { echo "There is no such folder." >&2; exit 2; }

case $1 in
  has-been-resolved)
    [ -z "$(find "$folder" -mindepth 1 -type f -print -quit)" ] # 0: yes, 1: no
    ;;
  run)
    find "$folder" -mindepth 1 -type f -delete >&2
    ;;
  *)
    exit 2
    ;;
esac
)--"},
};

bool isWritten(const fs::path& path, const NewFile& file) {
  std::error_code problem;
  fs::create_directories(path.parent_path(), problem);
  std::ofstream stream(path, std::ios::binary);
  stream << file.text;
  stream.close();
  fs::permissions(path, file.mode, problem);
  return stream.good() && !problem;
}

/// Whatever the umask is: the daemon refuses actions in folders that a group can write.
void closeToOthers(const fs::path& bundle) {
  std::error_code ignored;
  fs::permissions(bundle, fs::perms(0755), ignored);
  for (const auto& entry : fs::recursive_directory_iterator(bundle, ignored)) {
    if (entry.is_directory(ignored)) fs::permissions(entry.path(), fs::perms(0755), ignored);
  }
}

}  // namespace

std::optional<std::string> makeNewBundle(const std::string& path, ErrorSlot error) {
  fs::path bundle = fs::path(path).lexically_normal();
  if (!bundle.has_filename()) bundle = bundle.parent_path();
  if (bundle.extension() != ".bundle") bundle += ".bundle";
  std::error_code ignored;
  if (fs::exists(fs::symlink_status(bundle, ignored))) {
    setIfEmpty(error, makePOSIXError(EEXIST, bundle.string()));
    return std::nullopt;
  }
  for (const NewFile& file : kFiles) {
    if (!isWritten(bundle / "Contents" / file.name, file)) {
      setIfEmpty(error, makePOSIXError(errno, (bundle / "Contents" / file.name).string()));
      return std::nullopt;
    }
  }
  closeToOthers(bundle);
  return bundle.string();
}

}  // namespace velto
