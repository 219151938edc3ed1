// SPDX-License-Identifier: Apache-2.0
#include "tools/bundlecheck/BundleCommands.h"

#include <algorithm>
#include <optional>

#include "tools/bundlecheck/BundleCheck.h"
#include "tools/bundlecheck/NewBundle.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

constexpr int kFine = 0;
constexpr int kFaulty = 1;
constexpr int kNotTried = 2;

/// What the daemon would log, as lines on a stream.
class StreamLog : public Log {
 public:
  explicit StreamLog(std::ostream& stream) : stream_(stream) {}
  void warning(std::string_view line) override { stream_ << tr("log:") << ' ' << line << '\n'; }

 private:
  std::ostream& stream_;
};

/// The status when something came without success.
int failure(const std::optional<Error>& error, std::ostream& errors) {
  if (!error) return kFaulty;
  errors << error->localizedDescription() << '\n';
  return error->domain == kPOSIXErrorDomain ? kNotTried : kFaulty;
}

void print(const Finding& finding, std::ostream& output) {
  output << finding.file;
  if (finding.line > 0) output << ':' << finding.line;
  const bool isError = finding.kind == Finding::Kind::kError;
  output << ": " << (isError ? tr("error") : tr("warning")) << ": " << finding.text << '\n';
}

}  // namespace

int checkBundleCommand(const std::string& path, std::ostream& output) {
  const Findings findings = checkBundle(path);
  for (const Finding& finding : findings) {
    print(finding, output);
  }
  const bool isFine = std::none_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.kind == Finding::Kind::kError;
  });
  return isFine ? kFine : kFaulty;
}

int renderBundleCommand(const TrialRequest& request, std::ostream& output, std::ostream& errors) {
  StreamLog log(errors);
  std::optional<Error> error;
  const auto rendered = renderAlert(request, log, &error);
  if (!rendered) return failure(error, errors);
  output << rendered->subject << "\n\n"
         << rendered->message << "\n\n-- " << tr("The mail:") << "\n\n"
         << rendered->mail;
  return kFine;
}

int runBundleCommand(const TrialRequest& request, const std::string& action, ActionCall call,
                     std::ostream& output, std::ostream& errors) {
  StreamLog log(errors);
  std::optional<Error> error;
  const bool isDone = tryAction(request, action, call, log, &error);
  if (error || (!isDone && call == ActionCall::kRun)) return failure(error, errors);
  const bool isRun = call == ActionCall::kRun;
  output << (isRun ? tr("done") : isDone ? tr("resolved") : tr("not resolved")) << '\n';
  return isDone ? kFine : kFaulty;
}

int newBundleCommand(const std::string& path, std::ostream& output, std::ostream& errors) {
  std::optional<Error> error;
  const auto made = makeNewBundle(path, &error);
  if (!made) return failure(error, errors);
  output << *made << '\n';
  return kFine;
}

}  // namespace velto
