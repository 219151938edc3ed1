// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleOnTrial.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/foundation/Clock.h"
#include "platform/foundation/FileManager.h"

namespace velto {
namespace {

namespace fs = std::filesystem;

/// An absolute path without a slash at its end.
fs::path wholePath(const std::string& path) {
  std::error_code ignored;
  const fs::path whole = fs::absolute(path, ignored).lexically_normal();
  return whole.has_filename() ? whole : whole.parent_path();
}

/// A new directory that only this user can enter; "" with an error.
std::string makeDirectory(ErrorSlot error) {
  std::error_code problem;
  const fs::path parent = fs::temp_directory_path(problem);
  if (problem) {  // nothing is made where it was not asked for
    setIfEmpty(error, makePOSIXError(problem.value(), "TMPDIR"));
    return "";
  }
  std::string name = (parent / "velto-bundle-XXXXXX").string();
  if (::mkdtemp(name.data()) != nullptr) return name;
  setIfEmpty(error, makePOSIXError(errno, name));
  return "";
}

}  // namespace

class BundleOnTrial::ShownLog : public Log {
 public:
  ShownLog(const BundleOnTrial& trial, Log& log) : trial_(trial), log_(log) {}
  void warning(std::string_view line) override { log_.warning(trial_.shown(line)); }

 private:
  const BundleOnTrial& trial_;
  Log& log_;
};

std::unique_ptr<BundleOnTrial> BundleOnTrial::open(const std::string& path, Log& log,
                                                   ErrorSlot error) {
  const fs::path whole = wholePath(path);
  if (!Bundle::bundleWithPath(whole.string(), error)) return nullptr;
  const std::string directory = makeDirectory(error);
  if (directory.empty()) return nullptr;
  std::unique_ptr<BundleOnTrial> trial(
      new BundleOnTrial(whole.string(), whole.stem().string(), directory, log));
  const std::string copy = directory + "/" + trial->key_ + ".bundle";
  std::error_code problem;
  fs::copy(whole, copy, fs::copy_options::recursive | fs::copy_options::copy_symlinks, problem);
  if (problem) {
    setIfEmpty(error, makePOSIXError(problem.value(), whole.string()));
    return nullptr;
  }
  trial->bundle_ = Bundle::bundleWithPath(copy, error);
  return trial->bundle_ ? std::move(trial) : nullptr;
}

BundleOnTrial::BundleOnTrial(std::string path, std::string key, std::string directory, Log& log)
    : path_(std::move(path)),
      key_(std::move(key)),
      directory_(std::move(directory)),
      log_(std::make_unique<ShownLog>(*this, log)),
      registry_(std::make_unique<AlertBundleRegistry>(directory_, FileManager::system(),
                                                      Clock::system(), *log_)) {}

BundleOnTrial::~BundleOnTrial() {
  registry_.reset();
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

bool BundleOnTrial::hasCode() const {
  return valueForKey(bundle_->infoDictionary(), "CFBundleExecutable") != nullptr;
}

std::string BundleOnTrial::shown(std::string_view text) const {
  std::string result(text);
  const std::string copy = directory_ + "/" + key_ + ".bundle";
  for (std::size_t at = 0; (at = result.find(copy, at)) != std::string::npos; at += path_.size()) {
    result.replace(at, copy.size(), path_);
  }
  return result;
}

}  // namespace velto
