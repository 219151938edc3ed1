// SPDX-License-Identifier: Apache-2.0
// Whatever a bundle's Info.plist holds, the bundle opens or says why not, and what it declares of
// its types can be asked for.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "alerts/AlertBundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Log.h"

namespace {

namespace fs = std::filesystem;

class NoLog : public velto::Log {
 public:
  void warning(std::string_view) override {}
};

/// A folder for the bundle, which goes with the process.
struct Folder {
  Folder() {
    std::string name = (fs::temp_directory_path() / "velto-XXXXXX").string();
    path = mkdtemp(name.data());
    fs::create_directory(path / "Contents");
  }
  ~Folder() { fs::remove_all(path); }

  fs::path path;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  std::ofstream(folder.path / "Contents/Info.plist", std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  std::optional<velto::Error> error;
  auto opened = velto::Bundle::bundleWithPath(folder.path.string(), &error);
  if (opened.has_value() == error.has_value()) __builtin_trap();
  if (!opened) return 0;
  NoLog log;
  const auto info = opened->infoDictionary();
  const auto bundle = std::make_shared<const velto::AlertBundle>("Fuzzed", std::move(*opened),
                                                                 velto::FileManager::system(), log);
  const velto::PropertyList* types = velto::valueForKey(info, "VLAlertTypes");
  if (types == nullptr || types->dictionary() == nullptr) return 0;
  for (const auto& [type, declaration] : *types->dictionary()) {
    velto::VLAlert alert;
    alert.type = type;
    const auto made = velto::AlertBundle::makeAlert(bundle, alert);
    if (made == nullptr || bundle->declares(type) != (declaration.dictionary() != nullptr)) {
      __builtin_trap();
    }
    made->subject("en");
    if (made->recoveryOptions() != bundle->recoveryOptions(type)) __builtin_trap();
  }
  return 0;
}
