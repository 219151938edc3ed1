// SPDX-License-Identifier: Apache-2.0
// `import`: what `export` has written. All of it is read before any of it is imported.

#include <cstdint>
#include <memory>
#include <string>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/Progress.h"
#include "tools/text/Message.h"
#include "tools/transfer/ExportLine.h"
#include "tools/transfer/ImportBatch.h"
#include "tools/transfer/ImportSource.h"

namespace velto {
namespace {

struct Options {
  std::string file = {};
  bool goesOn = false;
  bool isDry = false;
};

std::string inLine(std::size_t number, const Failure& failure) {
  return say("line {}: {}", number, failure.line());
}

struct Reading {
  std::int64_t good = 0;
  std::int64_t bad = 0;
};

/// Names the bad lines: the first, or with `--keep-going` all of them.
Reading readAll(Session& session, const Options& options, ImportSource& source) {
  Reading reading;
  source.forEachLine([&](const std::string& line, std::size_t number) {
    try {
      parseExportLine(line);
      ++reading.good;
    } catch (const Failure& failure) {
      if (!options.goesOn) {
        throw Failure{.what = inLine(number, failure),
                      .advice = tr("nothing was imported; --keep-going leaves such lines out")};
      }
      ++reading.bad;
      session.warn(inLine(number, failure));
    }
  });
  return reading;
}

void importAll(ImportBatch& batch, ImportSource& source, std::int64_t total) {
  Progress progress(total);
  std::int64_t count = 0;
  try {
    source.forEachLine([&](const std::string& line, std::size_t) {
      try {
        batch.add(parseExportLine(line), line.size());
      } catch (const Failure& failure) {
        if (failure.error) throw;  // the daemon's; a bad line has been named before
      }
      progress.reach(++count);
    });
    batch.finish();
  } catch (Failure& failure) {
    failure.advice = sayCount("{} alert was imported before; the same import goes on there",
                              "{} alerts were imported before; the same import goes on there",
                              batch.counts().alerts);
    throw;
  }
}

void tell(Session& session, const ImportCounts& counts, const Reading& reading, bool isDry) {
  if (session.isJSON()) {
    session.print({{"imported", counts.alerts},
                   {"known", counts.known},
                   {"settings", counts.settings},
                   {"bad", reading.bad},
                   {"dryRun", isDry}});
  } else if (isDry) {
    session.tell(sayCount("Would import {} line.", "Would import {} lines.", reading.good));
  } else {
    session.tell(sayCount("Imported {} alert.", "Imported {} alerts.", counts.alerts));
    if (counts.known > 0) {
      session.tell(sayCount("{} was there already.", "{} were there already.", counts.known));
    }
    if (counts.settings > 0) {
      session.tell(sayCount("Imported {} setting.", "Imported {} settings.", counts.settings));
    }
  }
}

ExitStatus importAlerts(Session& session, const Options& options) {
  ImportSource source(options.file);
  const Reading reading = readAll(session, options, source);
  ImportCounts counts;
  if (!options.isDry) {
    ImportBatch batch(session);
    importAll(batch, source, reading.good);
    counts = batch.counts();
  }
  tell(session, counts, reading, options.isDry);
  if (reading.bad > 0) {
    throw Failure{.what = sayCount("{} line was left out", "{} lines were left out", reading.bad)};
  }
  return kExitDone;
}

}  // namespace

void addImportVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "import",
                         .description = tr("Read alerts and settings that export has written"),
                         .example = "alertsctl import alerts.jsonl"},
                        [options](Session& session) { return importAlerts(session, *options); });
  verb.argument("FILE", options->file, tr("Without it, standard input"));
  verb.flag("-k,--keep-going", options->goesOn, tr("Leave bad lines out instead of everything"));
  verb.flag("--dry-run", options->isDry, tr("Only tell what is wrong with it"));
}

}  // namespace velto
