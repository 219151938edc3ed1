// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleCheck.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>

#include <unicode/locid.h>

#include "alerts/texts/BundleTexts.h"
#include "alerts/texts/LanguageFiles.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/Languages.h"
#include "tools/bundlecheck/BundleOnTrial.h"
#include "tools/bundlecheck/InfoCheck.h"
#include "tools/bundlecheck/TextCheck.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

namespace fs = std::filesystem;
using Kind = Finding::Kind;

/// What the daemon would log of a bundle is found here by itself, with lines.
class NoLog : public Log {
 public:
  void warning(std::string_view) override {}
};

/// Whether the name of a folder of texts means a language that there is, as "english" does not.
bool isLanguage(const std::string& name) {
  return !localizationsForReader({name}, name).empty() &&
         *icu::Locale(canonicalLocaleIdentifier(name).c_str()).getISO3Language() != '\0';
}

void append(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                  std::make_move_iterator(more.end()));
}

class BundleCheck {
 public:
  explicit BundleCheck(BundleOnTrial& trial)
      : trial_(trial),
        declared_(declaredTypes(trial.bundle())),
        languages_(trial.bundle().localizations(FileManager::system())) {}

  Findings check() {
    const std::string& path = trial_.path();
    if (fs::path(path).filename().string().find(".bundle") == std::string::npos) {
      add(Kind::kError, path, tr("the name does not end in .bundle"));
    }
    append(findings_, checkInfo(trial_.bundle(), languages_, path + "/Contents/Info.plist"));
    checkLanguages();
    checkCode();
    checkActions();
    return std::move(findings_);
  }

 private:
  void add(Kind kind, std::string file, std::string text) {
    findings_.push_back({kind, std::move(file), 0, std::move(text)});
  }

  void checkLanguages() {
    const std::string* format = stringForKey(trial_.bundle().infoDictionary(), "VLTextFormat");
    const bool hasMessages = format != nullptr && *format == "icu";
    std::vector<TextFile> files;
    for (const std::string& language : languages_) {
      const std::string path =
          trial_.path() + "/Contents/Resources/" + language + ".lproj/Alerts.strings";
      if (!isLanguage(language)) {
        add(Kind::kError, path, say("{} is no language", language));
      } else if (auto file = readTextFile(language, path, path, hasMessages, findings_)) {
        files.push_back(std::move(*file));
      }
    }
    if (languages_.empty()) {
      add(Kind::kError, trial_.path() + "/Contents/Resources",
          tr("there is no language, such as en.lproj, and so no text"));
    }
    append(findings_, checkTexts(files, declared_, trial_.hasCode()));
    for (const std::string& language : languages_) {
      checkBundleName(language);
    }
  }

  /// Its readers see the name that Info.plist has, which is for those whom no language suits.
  void checkBundleName(const std::string& language) {
    const auto places = localizationsForReader(languages_, language);
    const bool isNamed = std::any_of(places.begin(), places.end(), [&](const std::string& place) {
      return LanguageFiles::readNames(trial_.bundle(), place)
          .contains(std::string(LanguageFiles::kBundleNameKey));
    });
    const bool isFallback =
        language == BundleTexts::languagesFor(trial_.bundle(), languages_, "").back();
    if (!isNamed && !isFallback && isLanguage(language)) {
      add(Kind::kWarning, LanguageFiles::pathOfBundleName(trial_.path(), language),
          tr("CFBundleGetInfoString, the name that people see, is missing"));
    }
  }

  VLAlert alertOf(std::optional<std::string> type) const {
    VLAlert alert;
    alert.bundle = trial_.key();
    alert.type = std::move(type);
    return alert;
  }

  void checkCode() {
    if (!trial_.hasCode()) return;
    std::optional<Error> error;
    trial_.registry().alertSubclass(alertOf("x"), &error);
    if (error && error->code == kCodeNotLoadedErrorCode) {
      isRefused_ = true;
      add(Kind::kError, trial_.path() + "/Contents/Linux",
          trial_.shown(error->localizedDescription()));
    }
  }

  void checkActions() {
    const std::string folder = trial_.path() + "/Contents/Actions";
    for (const std::string& name : isRefused_ ? std::vector<std::string>() : declared_.actions) {
      std::optional<Error> error;
      if (trial_.registry().alertAction(name, alertOf(std::nullopt), &error) == nullptr) {
        add(Kind::kError, folder + "/" + name,
            trial_.shown(error ? error->localizedDescription() : tr("cannot be used")));
      } else {
        checkInterpreter(folder + "/" + name);
      }
    }
    const auto files = FileManager::system().contentsOfDirectory(folder, nullptr);
    for (const std::string& name : files.value_or(std::vector<std::string>())) {
      const auto& actions = declared_.actions;
      if (!trial_.hasCode() && std::find(actions.begin(), actions.end(), name) == actions.end()) {
        add(Kind::kWarning, folder + "/" + name, tr("no type offers it among its RecoveryOptions"));
      }
    }
  }

  /// A script whose first line names no program "does not exist" when it is started.
  void checkInterpreter(const std::string& file) {
    std::string line;
    std::ifstream stream(file, std::ios::binary);
    if (!std::getline(stream, line) || !line.starts_with("#!")) return;
    if (line.ends_with('\r')) {
      add(Kind::kError, file, tr("its lines end in CR LF, and so no interpreter is found"));
      return;
    }
    const std::size_t start = line.find_first_not_of(" \t", 2);
    const std::string program = start == std::string::npos
                                    ? ""
                                    : line.substr(start, line.find_first_of(" \t", start) - start);
    std::error_code ignored;
    if (!fs::exists(program, ignored)) {
      add(Kind::kError, file, say("its interpreter {} does not exist", program));
    }
  }

  BundleOnTrial& trial_;
  const DeclaredTypes declared_;
  const std::vector<std::string> languages_;
  Findings findings_;
  bool isRefused_ = false;
};

}  // namespace

Findings checkBundle(const std::string& path) {
  NoLog log;
  std::optional<Error> error;
  const auto trial = BundleOnTrial::open(path, log, &error);
  if (trial == nullptr) {
    return {
        {Kind::kError, path, 0, error ? error->localizedDescription() : tr("cannot be opened")}};
  }
  Findings findings = BundleCheck(*trial).check();
  std::stable_sort(findings.begin(), findings.end(), [](const Finding& a, const Finding& b) {
    return std::pair(a.file, a.line) < std::pair(b.file, b.line);
  });
  return findings;
}

}  // namespace velto
