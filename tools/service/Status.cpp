// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONShape.h"
#include "tools/service/StatusCall.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/SizeText.h"
#include "tools/text/TimeText.h"
#include "tools/text/Width.h"

namespace velto {
namespace {

constexpr std::size_t kLabelWidth = 12;

class Lines {
 public:
  explicit Lines(Session& session) : session_(session) {}

  void add(const std::string& label, const std::string& text, CellStyle style = CellStyle::kPlain) {
    session_.tell(paddedBefore(label, kLabelWidth) + "  " + session_.styledIfColours(text, style));
  }

 private:
  Session& session_;
};

std::string whoAmI(bool isAdministrator) {
  return isAdministrator ? say("user {}, who may do everything", geteuid())
                         : say("user {}, who may not watch the daemon", geteuid());
}

std::string channelText(const Session& session, const alerts::Channel& channel) {
  std::string text = say("{} delivered, {} failed, {} under way", channel.delivered, channel.failed,
                         channel.pending);
  if (channel.lastFailure) {
    text += "; " + say("last failure {}: {}", relativeText(*channel.lastFailure, session.now()),
                       printable(channel.lastError.value_or("?")));
  }
  return text;
}

void tellStore(Lines& lines, const alerts::StoreStatus& store) {
  if (!store.usable) {
    lines.add(tr("Store"), say("not usable: {}", printable(store.problem.value_or("?"))),
              CellStyle::kRed);
  }
  lines.add(store.usable ? tr("Store") : "",
            say("{}, {}, {} of it free; log {}", printable(store.path), sizeText(store.size),
                sizeText(store.freeSize), sizeText(store.logSize)));
  lines.add("", say("{} saves, {} failed", store.saves, store.failedSaves),
            store.failedSaves > 0 ? CellStyle::kYellow : CellStyle::kPlain);
}

void tell(Session& session, const alerts::Status& status,
          const std::vector<std::string>& problems) {
  Lines lines(session);
  const double uptime = session.now().secondsSince2001() - status.startDate.secondsSince2001();
  lines.add(tr("Daemon"),
            say("alertsd {}, running for {}", printable(status.version), spanText(uptime)));
  lines.add(tr("You"), whoAmI(true));
  lines.add(tr("Alerts"), say("{}; {} unread, {} unresolved", status.counts.alerts,
                              status.counts.unread, status.counts.unresolved));
  tellStore(lines, status.store);
  for (const alerts::Channel& channel : status.channels) {
    const bool isMail = channel.name == alerts::ChannelName::kMail;
    lines.add(isMail ? tr("Mail") : tr("Push"), channelText(session, channel),
              hasFailedLately(session, channel) ? CellStyle::kRed : CellStyle::kPlain);
  }
  lines.add(tr("Calls"), say("{} served, {} under way, {} connections", status.served, status.calls,
                             status.connections));
  for (const std::string& problem : problems) {
    lines.add(tr("Wrong"), problem, CellStyle::kRed);
  }
}

/// What somebody who may not watch is told: that there is a daemon, and what it thinks of them.
[[noreturn]] void tellStranger(Session& session, const alerts::Error& error) {
  if (!session.isJSON()) {
    Lines lines(session);
    lines.add(tr("Daemon"), say("alertsd {}", printable(daemonVersion(session))));
    lines.add(tr("You"), whoAmI(false));
  }
  throw failureOf(error);
}

ExitStatus tellStatus(Session& session) {
  const auto outcome = session.client().getStatus({.timeLimit = kStatusTimeLimit});
  if (outcome.error && outcome.error->kind == alerts::ErrorKind::kNotPermitted) {
    tellStranger(session, *outcome.error);
  }
  const alerts::Status status = required(outcome);
  const auto problems = problemsOf(session, status);
  if (session.isJSON()) {
    boost::json::object object = asJSON(status);
    object["user"] = geteuid();
    object["problems"] = boost::json::array(problems.begin(), problems.end());
    session.print({{"status", std::move(object)}});
  } else if (session.ways().isQuiet) {
    for (const std::string& problem : problems) {
      session.write(problem + '\n');
    }
  } else {
    tell(session, status, problems);
  }
  return problems.empty() ? kExitDone : kExitWrong;
}

}  // namespace

void addStatusVerb(VerbSet& verbs) {
  verbs.add({.name = "status",
             .description = tr("Tell how the daemon is; exit status 3 when something is wrong"),
             .example = "alertsctl status || echo \"look at the alerts daemon\""},
            tellStatus);
}

}  // namespace velto
