// SPDX-License-Identifier: Apache-2.0
// `bundle check`, `bundle render`, `bundle run` and `bundle new`, which need no daemon.

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

#include <boost/json/object.hpp>

#include "platform/foundation/UTF8.h"
#include "tools/Verbs.h"
#include "tools/bundlecheck/BundleCheck.h"
#include "tools/bundlecheck/BundleCommands.h"
#include "tools/bundlecheck/NewBundle.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONList.h"
#include "tools/frame/Session.h"
#include "tools/settings/Recipients.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

struct Options {
  TrialRequest request = {};
  std::string action = {};
  bool isAsked = false;
};

/// The tool's own statuses.
ExitStatus statusOf(int result) {
  return result == 0 ? kExitDone : result == 1 ? kExitWrong : kExitFailed;
}

/// What the daemon would log, on standard error.
class WarnedLog : public Log {
 public:
  explicit WarnedLog(Session& session) : session_(session) {}
  void warning(std::string_view line) override { session_.warn(printable(line)); }

 private:
  Session& session_;
};

[[noreturn]] void fail(const std::optional<Error>& error) {
  const bool isOfBundle = !error || error->domain != kPOSIXErrorDomain;
  throw Failure{.status = isOfBundle ? kExitWrong : kExitFailed,
                .what = error ? printable(error->localizedDescription()) : tr("not done")};
}

ExitStatus checkAsJSON(Session& session, const std::string& path) {
  JSONList list(session, "findings");
  bool isFine = true;
  for (const Finding& finding : checkBundle(path)) {
    const bool isError = finding.kind == Finding::Kind::kError;
    isFine = isFine && !isError;
    boost::json::object object{{"kind", isError ? "error" : "warning"},
                               {"file", withoutInvalidUTF8(finding.file)},
                               {"text", withoutInvalidUTF8(finding.text)}};
    if (finding.line > 0) object["line"] = finding.line;
    list.add(object);
  }
  return isFine ? kExitDone : kExitWrong;
}

ExitStatus renderAsJSON(Session& session, const TrialRequest& request) {
  WarnedLog log(session);
  std::optional<Error> error;
  const auto rendered = renderAlert(request, log, &error);
  if (!rendered) fail(error);
  session.print({{"language", request.locale},
                 {"subject", withoutInvalidUTF8(rendered->subject)},
                 {"message", withoutInvalidUTF8(rendered->message)},
                 {"mail", withoutInvalidUTF8(rendered->mail)}});
  return kExitDone;
}

ExitStatus runAsJSON(Session& session, const TrialRequest& request, const std::string& action,
                     ActionCall call) {
  WarnedLog log(session);
  std::optional<Error> error;
  const bool isRun = call == ActionCall::kRun;
  const bool isDone = tryAction(request, action, call, log, &error);
  if (error || (isRun && !isDone)) fail(error);
  session.print({{"action", action},
                 {"result", isRun    ? "done"
                            : isDone ? "resolved"
                                     : "unresolved"}});
  return isDone ? kExitDone : kExitWrong;
}

ExitStatus newAsJSON(Session& session, const std::string& path) {
  std::optional<Error> error;
  const auto made = makeNewBundle(path, &error);
  if (!made) fail(error);
  session.print({{"path", withoutInvalidUTF8(*made)}});
  return kExitDone;
}

/// Writes what a command gives; its lines are the author's own texts.
template <typename Command>
ExitStatus show(Session& session, const Command& command) {
  std::ostringstream output;
  std::ostringstream errors;
  const int result = command(output, errors);
  session.write(output.str());
  std::istringstream lines(errors.str());
  for (std::string line; std::getline(lines, line);) {
    session.warn(printable(line));
  }
  return statusOf(result);
}

/// A reader's language: the one of whoever asks, unless another is given.
TrialRequest requestFor(const Session& session, const Options& options) {
  TrialRequest request = options.request;
  request.locale = requiredLanguage(request.locale).value_or(session.language());
  return request;
}

void addAlert(Verb verb, Options& options) {
  options.request.locale = "";
  verb.argument("KIND", options.request.type, tr("The kind of alert"), Need::kRequired);
  verb.argument("ATTRIBUTE", options.request.attributes, tr("NAME=TEXT, or NAME:=JSON"));
  verb.option("-l,--language,--locale", options.request.locale, tr("TAG"),
              tr("The reader's language"));
}

void addDirectory(Verb verb, Options& options) {
  verb.argument("DIRECTORY", options.request.path, tr("The bundle's folder"), Need::kRequired);
}

void addRender(VerbSet& group) {
  const auto options = std::make_shared<Options>();
  Verb verb = group.add(
      {.name = "render",
       .description = tr("Show what a bundle's readers are told"),
       .example = "alertsctl bundle render Disk.bundle AlmostFull volume=/home percent:=97 -l de"},
      [options](Session& session) {
        const TrialRequest request = requestFor(session, *options);
        if (session.isJSON()) return renderAsJSON(session, request);
        return show(session, [&](auto& output, auto& errors) {
          return renderBundleCommand(request, output, errors);
        });
      });
  addDirectory(verb, *options);
  addAlert(verb, *options);
}

void addRun(VerbSet& group) {
  const auto options = std::make_shared<Options>();
  Verb verb = group.add(
      {.name = "run",
       .description = tr("Run a bundle's action as the daemon would"),
       .example = "alertsctl bundle run Disk.bundle FreeSpace AlmostFull volume=/home"},
      [options](Session& session) {
        const auto call = options->isAsked ? ActionCall::kHasBeenResolved : ActionCall::kRun;
        const TrialRequest request = requestFor(session, *options);
        if (session.isJSON()) return runAsJSON(session, request, options->action, call);
        return show(session, [&](auto& output, auto& errors) {
          return runBundleCommand(request, options->action, call, output, errors);
        });
      });
  addDirectory(verb, *options);
  verb.argument("ACTION", options->action, tr("The action's name"), Need::kRequired);
  addAlert(verb, *options);
  verb.flag("--ask", options->isAsked, tr("Only ask whether the alert has been resolved"));
}

void addCheck(VerbSet& group) {
  const auto options = std::make_shared<Options>();
  addDirectory(group.add({.name = "check",
                          .description = tr("Look for mistakes in a bundle that you write"),
                          .example = "alertsctl bundle check Disk.bundle"},
                         [options](Session& session) {
                           if (session.isJSON()) return checkAsJSON(session, options->request.path);
                           return show(session, [&](auto& output, auto&) {
                             return checkBundleCommand(options->request.path, output);
                           });
                         }),
               *options);
}

}  // namespace

void addBundleAuthorVerbs(VerbSet& group) {
  addCheck(group);
  addRender(group);
  addRun(group);
  const auto options = std::make_shared<Options>();
  group
      .add({.name = "new",
            .description = tr("Make a bundle that works, to begin with"),
            .example = "alertsctl bundle new Disk"},
           [options](Session& session) {
             if (session.isJSON()) return newAsJSON(session, options->request.path);
             return show(session, [&](auto& output, auto& errors) {
               return newBundleCommand(options->request.path, output, errors);
             });
           })
      .argument("NAME", options->request.path, tr("Where to make it"), Need::kRequired);
}

}  // namespace velto
