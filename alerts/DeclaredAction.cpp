// SPDX-License-Identifier: Apache-2.0
#include "alerts/DeclaredAction.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <utility>

#include <boost/json.hpp>

#include "alerts/ActionProcess.h"
#include "alerts/AlertBundleErrors.h"
#include "alerts/VLAlertJSON.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/SingleLine.h"
#include "platform/foundation/TrustedFile.h"
#include "platform/foundation/UTF8.h"

namespace velto {
namespace {

using Kind = ActionOutcome::Kind;

/// What a program wrote, as text to be shown: any bytes may have come.
std::string shown(std::string text) {
  text = withoutInvalidUTF8(std::move(text));
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return first == std::string::npos
             ? ""
             : text.substr(first, text.find_last_not_of(" \t\r\n") + 1 - first);
}

/// How an outcome reads after the name of the action.
std::string describe(const ActionOutcome& outcome) {
  switch (outcome.kind) {
    case Kind::kExited:
      return "ended with status " + std::to_string(outcome.status);
    case Kind::kSignalled:
      return "was ended by signal " + std::to_string(outcome.status);
    case Kind::kTimedOut:
      break;
  }
  return "took too long and was ended";
}

/// The same, followed by what the program wrote, in one line.
std::string describeWithText(const ActionOutcome& outcome) {
  const std::string text = singleLine(outcome.standardError);
  const std::string rest = outcome.droppedBytes == 0
                               ? ""
                               : " (and " + std::to_string(outcome.droppedBytes) + " more bytes)";
  return describe(outcome) + (text.empty() ? "" : ": " + text + rest);
}

class DeclaredAction : public VLAlertAction {
 public:
  DeclaredAction(std::shared_ptr<const AlertBundle> bundle, std::string className,
                 const VLAlert& alert, const ActionContext& context)
      : bundle_(std::move(bundle)), className_(std::move(className)), context_(context) {
    appendJSON(alertText_, alert);
  }

  /// Why the executable cannot be used, in a phrase; nothing when it can.
  std::optional<Error> objection() const {
    const std::filesystem::path path(bundle_->bundle().path());
    std::optional<Error> error;
    const FileDescriptor file = openTrustedFileBelow(
        path.parent_path(), {path.filename(), "Contents", "Actions", className_}, &error);
    struct stat status {};
    if (file.isOpen() && (::fstat(file.get(), &status) != 0 || (status.st_mode & S_IXUSR) == 0)) {
      error = makeError(kPOSIXErrorDomain, EACCES, executable() + " is not executable");
    }
    return error;
  }

  std::string title(std::string_view localization) const override {
    return bundle_->titleOfAction(className_, localization);
  }

  bool hasBeenResolved() override {
    std::optional<Error> problem;
    const auto outcome = run({"has-been-resolved"}, &problem);
    if (outcome && outcome->kind == Kind::kExited && outcome->status <= 1) {
      return outcome->status == 0;
    }
    context_.log.warning(name() + ", asked whether it has been resolved, " +
                         (outcome ? describeWithText(*outcome) : problem->localizedDescription()));
    return false;
  }

  bool runWithLocalization(std::string_view localization, ErrorSlot error) override {
    std::optional<Error> problem;
    const auto outcome = run({"run", std::string(localization)}, &problem);
    if (outcome && outcome->kind == Kind::kExited && outcome->status == 0) {
      return true;
    }
    setIfEmpty(error, outcome ? failure(*outcome)
                              : makeError(kBundleErrorDomain, kActionFailedErrorCode,
                                          shown(problem->localizedDescription())));
    return false;
  }

  std::string name() const {
    return "Recovery action '" + className_ + "' of alert bundle '" + bundle_->key() + "'";
  }

 private:
  std::string executable() const {
    return bundle_->bundle().path() + "/Contents/Actions/" + className_;
  }

  /// Nothing, with an error that reads as a sentence about the action, when it cannot be run.
  std::optional<ActionOutcome> run(const std::vector<std::string>& arguments,
                                   ErrorSlot error) const {
    if (const auto refusal = objection()) {
      setIfEmpty(error, makeError(kBundleErrorDomain, kActionRefusedErrorCode,
                                  "was not started: " + refusal->localizedDescription()));
      return std::nullopt;
    }
    // By its path and not by the descriptor that was checked: the interpreter of a script opens the
    // script anew, and a script finds what it needs by its own name. Only those who own the folders
    // on the way can make the path mean another file by now, and they may write the program anyway.
    return runAction(executable(), arguments, alertText_, context_.timeLimit, error);
  }

  /// What the program says of its failure, if it says something in time.
  Error failure(const ActionOutcome& outcome) const {
    const bool hasTimedOut = outcome.kind == Kind::kTimedOut;
    const std::string text = hasTimedOut ? "" : shown(outcome.standardError);
    return makeError(kBundleErrorDomain,
                     hasTimedOut ? kActionTimedOutErrorCode : kActionFailedErrorCode,
                     text.empty() ? name() + " " + describe(outcome) + "." : text);
  }

  const std::shared_ptr<const AlertBundle> bundle_;
  const std::string className_;
  std::string alertText_;
  const ActionContext context_;
};

}  // namespace

std::unique_ptr<VLAlertAction> makeDeclaredAction(std::shared_ptr<const AlertBundle> bundle,
                                                  const std::string& className,
                                                  const VLAlert& alert,
                                                  const ActionContext& context, ErrorSlot error) {
  auto action = std::make_unique<DeclaredAction>(bundle, className, alert, context);
  std::error_code ignored;
  const std::filesystem::path path = bundle->bundle().path() + "/Contents/Actions";
  if (!isFileName(className) || !std::filesystem::exists(path / className, ignored)) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kNoSuchActionErrorCode,
                                "Alert bundle '" + bundle->key() + "' has no recovery action '" +
                                    className + "'."));
    return nullptr;
  }
  if (const auto refusal = action->objection()) {
    setIfEmpty(error, makeError(kBundleErrorDomain, kActionRefusedErrorCode,
                                action->name() +
                                    " cannot be used: " + refusal->localizedDescription() + "."));
    return nullptr;
  }
  return action;
}

}  // namespace velto
