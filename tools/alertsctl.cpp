// SPDX-License-Identifier: Apache-2.0
// The administrator's tool for the alerts daemon.

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <string_view>
#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/HelpText.h"
#include "tools/frame/JSONShape.h"
#include "tools/frame/Session.h"
#include "tools/frame/VerbSet.h"
#include "tools/text/Message.h"

namespace velto {
namespace {

std::string footer() {
  return tr(
      "Exit status: 0 done, 1 the daemon answered with an error, 2 wrong usage, 3 something is "
      "wrong (status,\n"
      "check), 4 not permitted, 7 no daemon.\n"
      "Environment: PAGER, NO_COLOR, COLUMNS; VELTO_ROOT, the directory that the daemon's paths "
      "are below.\n"
      "Example:\n"
      "  alertsctl list --since yesterday    (alertsctl VERB --help tells of each verb)");
}

void addVerbs(VerbSet verbs) {
  for (const auto add :
       {addListVerb,       addShowVerb,   addWatchVerb,  addPostVerb,        addReadVerb,
        addResolveVerb,    addRunVerb,    addDeleteVerb, addPruneVerb,       addBundlesVerb,
        addBundleVerbs,    addMailVerbs,  addPushVerbs,  addAttributesVerbs, addTestVerb,
        addDeliveriesVerb, addStatsVerb,  addStatusVerb, addMetricsVerb,     addExportVerb,
        addImportVerb,     addBackupVerb, addCheckVerb,  addCallVerb,        addCompleteVerb}) {
    add(verbs);
  }
}

/// The command line as it is read: the ways, and what is to be done.
struct Command {
  Ways ways;
  VerbBody body;
};

/// Options of the view without a verb mean nothing to verbs, which have their own.
void refuseOptionsBeforeVerb(const CLI::App& app) {
  if (app.get_subcommands().empty()) return;
  for (const CLI::Option* option : app.get_options()) {
    const bool isOfView = option->get_group() == "Options" && option->count() > 0;
    if (isOfView && option != app.get_help_ptr()) {
      throw usageFailure(say("{} stands before the verb", option->get_name(false, true)),
                         tr("write it behind the verb"));
    }
  }
}

/// Nothing when help or the version was all that was asked for.
bool parse(int argc, char** argv, CLI::App& app, Command& command) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& success) {
    app.exit(success, std::cout, std::cerr);
    return false;
  } catch (const CLI::ParseError& error) {
    throw failureOfParsing(app, error);
  }
  refuseOptionsBeforeVerb(app);
  return static_cast<bool>(command.body);
}

ExitStatus run(int argc, char** argv, Command& command) {
  CLI::App app(tr("Read and manage the alerts of this machine. Without a verb: what is unread and "
                  "unresolved."),
               "alertsctl");
  app.formatter(std::make_shared<HelpText>());
  app.set_help_flag("-h,--help", tr("Tell about this, and do nothing"));
  app.set_version_flag("--version", "alertsctl " VELTO_VERSION, tr("Tell the version"));
  app.require_subcommand(0, 1);
  app.footer(footer());
  addWays(app, command.ways);
  const VerbBody news = addNewsView(Verb(app));
  addVerbs({app, command.ways, command.body});
  app.callback([&] {
    if (!command.body) command.body = news;
  });
  if (!parse(argc, argv, app, command)) return kExitDone;
  Session session(command.ways, Terminal::ofProcess(), std::cin, std::cout, std::cerr);
  const ExitStatus status = command.body(session);
  session.finish();
  return status;
}

/// JSON was asked for, also on a command line that could not be read to its end.
bool wantsJSON(int argc, char** argv, const Ways& ways) {
  return ways.json != JSONForm::kOff ||
         std::any_of(argv + 1, argv + argc, [](std::string_view word) {
           return word == "-j" || word == "--json=short" || word == "--json=pretty";
         });
}

ExitStatus tell(const Failure& failure, bool isJSON, JSONForm form) {
  if (isJSON) {
    std::cout << jsonText(asJSON(failure), form) << std::endl;
  } else {
    std::cout.flush();
    std::cerr << "alertsctl: " << failure.line() << std::endl;
  }
  return failure.status;
}

}  // namespace
}  // namespace velto

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  velto::useLocale();
  velto::Command command;
  try {
    return velto::run(argc, argv, command);
  } catch (const velto::Failure& failure) {
    return velto::tell(failure, velto::wantsJSON(argc, argv, command.ways), command.ways.json);
  } catch (const std::bad_alloc&) {
    std::cerr << "alertsctl: out of memory" << std::endl;
  } catch (const std::exception& error) {
    std::cerr << "alertsctl: " << error.what() << std::endl;
  }
  return velto::kExitFailed;
}
