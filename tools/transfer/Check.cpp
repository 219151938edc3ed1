// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/transfer/StoreReader.h"

namespace velto {
namespace {

/// More would not help anybody.
constexpr std::size_t kMostProblems = 20;

struct Finding {
  std::vector<std::string> problems = {};
  std::int64_t alerts = 0;

  bool isWhole() const { return problems.empty(); }
};

Finding examine(const std::string& path) {
  Finding finding;
  StoreReader store(path);
  try {
    store.forEachRow("PRAGMA integrity_check", [&finding](const std::string& line) {
      if (line != "ok") finding.problems.push_back(printable(line));
      return finding.problems.size() < kMostProblems;
    });
    finding.alerts = std::stoll(store.value("SELECT count(*) FROM ADAlert"));
  } catch (const Failure& failure) {
    finding.problems.push_back(failure.what);
  }
  return finding;
}

ExitStatus check(Session& session, const std::string& file) {
  const std::string path = file.empty() ? StoreReader::path() : file;
  const Finding finding = examine(path);
  if (session.isJSON()) {
    session.print(
        {{"file", path},
         {"whole", finding.isWhole()},
         {"alerts", finding.alerts},
         {"problems", boost::json::array(finding.problems.begin(), finding.problems.end())}});
  } else {
    for (const std::string& problem : finding.problems) {
      session.write(problem + '\n');
    }
  }
  session.tell(finding.isWhole()
                   ? sayCount("{1} is whole, with {0} alert.", "{1} is whole, with {0} alerts.",
                              finding.alerts, printable(path))
                   : say("{} is not whole; put a backup in its place (docs/administration.md).",
                         printable(path)));
  return finding.isWhole() ? kExitDone : kExitWrong;
}

}  // namespace

void addCheckVerb(VerbSet& verbs) {
  const auto path = std::make_shared<std::string>();
  verbs
      .add({.name = "check",
            .description = tr("Tell whether the store's file is whole, also without the daemon"),
            .example = "alertsctl check"},
           [path](Session& session) { return check(session, *path); })
      .argument("FILE", *path, tr("A backup; without it, the store itself"));
}

}  // namespace velto
