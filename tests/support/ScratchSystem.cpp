// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ScratchSystem.h"

#include <filesystem>

namespace velto {
namespace fs = std::filesystem;

ScratchSystem::ScratchSystem()
    : pusher(bundles, clock, deliveries,
             [this](const std::string&) {
               auto made = std::make_unique<FakePushProvider>();
               provider = made.get();
               return made;
             }),
      mailer(bundles, path(kMailProgram).string(), log, clock, deliveries) {
  fs::create_directories(path(kStoreDirectory).parent_path());
  fs::create_directories(bundlesDirectory());
  setMailProgram("n=$(ls mails | wc -l); cat > mails/$n");
  fs::create_directories(root.path() / "mails");
}

fs::path ScratchSystem::path(std::string_view rooted) const {
  return root.path().string().append(rooted);
}

void ScratchSystem::addBundle(const std::string& entry, std::string_view info) const {
  root.write(bundlesDirectory() / entry / "Contents/Info.plist", info);
}

void ScratchSystem::addTexts(const std::string& entry, const std::string& language,
                             std::string_view strings) const {
  root.write(
      bundlesDirectory() / entry / "Contents/Resources" / (language + ".lproj") / "Alerts.strings",
      strings);
}

void ScratchSystem::addAction(const std::string& entry, const std::string& name,
                              std::string_view script) const {
  const fs::path actions = bundlesDirectory() / entry / "Contents/Actions";
  trust(root.write(actions / name, "#!/bin/sh\n" + std::string(script) + "\n"));
}

void ScratchSystem::addCode(const std::string& entry, const fs::path& module) const {
  const fs::path code = bundlesDirectory() / entry / "Contents/Linux" / module.filename();
  fs::create_directories(code.parent_path());
  fs::copy_file(module, code);
  trust(code);
}

void ScratchSystem::trust(const fs::path& file) const {
  for (fs::path each = file; each != bundlesDirectory().parent_path(); each = each.parent_path()) {
    fs::permissions(each, fs::perms(0755));
  }
}

void ScratchSystem::addDiskBundle() const {
  addBundle("Disk.bundle",
            R"({ CFBundleGetInfoString = "Disks"; CFBundleDevelopmentRegion = en;
                 VLAlertTypes = { AlmostFull = {}; }; })");
  addTexts("Disk.bundle", "en",
           R"("AlmostFull.subject" = "%{volume} is almost full";
              "AlmostFull.message" = "%{volume} is %{percent} percent full.";)");
  addTexts("Disk.bundle", "fr",
           R"("AlmostFull.subject" = "%{volume} est presque plein";
              "AlmostFull.message" = "%{volume} est plein à %{percent} pour cent.";)");
}

void ScratchSystem::addCommonBundle() const {
  const fs::path built = fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "bundles";
  fs::copy(built / "Common.bundle", bundlesDirectory() / "Common.bundle",
           fs::copy_options::recursive);
  trust(bundlesDirectory());
}

void ScratchSystem::setMailProgram(std::string_view script) const {
  const auto program = root.write(path(kMailProgram), "#!/bin/sh\ncd '" + root.path().string() +
                                                          "'\n" + std::string(script) + "\n");
  fs::permissions(program, fs::perms::owner_all);
}

std::vector<std::string> ScratchSystem::mails() const {
  std::vector<std::string> contents;
  for (int number = 0;; ++number) {
    const auto file = root.path() / "mails" / std::to_string(number);
    if (!fs::exists(file)) {
      return contents;
    }
    contents.push_back(readFile(file));
  }
}

}  // namespace velto
