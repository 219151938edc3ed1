// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// A directory of alert bundles that a test fills.
class AlertBundleDirectory {
 public:
  std::string path() const { return directory_.path().string(); }

  void write(const std::string& path, std::string_view text) const { directory_.write(path, text); }
  /// Writes the Info.plist of the entry, such as "Disk.bundle".
  void writeInfo(const std::string& entry, std::string_view text) const {
    directory_.write(entry + "/Contents/Info.plist", text);
  }
  void writeStrings(const std::string& entry, const std::string& language,
                    std::string_view text) const {
    directory_.write(entry + "/Contents/Resources/" + language + ".lproj/Alerts.strings", text);
  }

  /// Makes an entry with a module as its code, all of it with the modes that the loader accepts;
  /// gives the code's path.
  std::filesystem::path writeNativeBundle(const std::string& entry,
                                          const std::filesystem::path& module) const {
    namespace fs = std::filesystem;
    writeInfo(entry, "{ CFBundleExecutable = \"libTest.so\"; VLAlertTypes = { Test = {}; }; }");
    writeStrings(entry, "en", "\"Test.subject\" = \"A test\"; \"Test.message\" = \"It is one.\";");
    const fs::path contents = directory_.path() / entry / "Contents";
    fs::create_directories(contents / "Linux");
    const fs::path code = contents / "Linux/libTest.so";
    fs::copy_file(module, code);
    fs::permissions(code, fs::perms(0644));
    for (const fs::path& folder : {contents.parent_path(), contents, contents / "Linux"}) {
      fs::permissions(folder, fs::perms(0755));
    }
    return code;
  }

 private:
  TemporaryDirectory directory_;
};

}  // namespace velto
