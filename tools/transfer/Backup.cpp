// SPDX-License-Identifier: Apache-2.0
#include <filesystem>
#include <memory>
#include <string>

#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/NewFile.h"
#include "tools/frame/Session.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/SizeText.h"
#include "tools/transfer/StoreReader.h"

namespace velto {
namespace {

/// A transaction that reads holds up no save, so the copy is of one moment however long it takes.
ExitStatus backup(Session& session, const std::string& path) {
  StoreReader store(StoreReader::path());
  NewFile file(path, 0600, NewFile::Existing::kKept);
  store.forEachRow(
      "VACUUM INTO ?", [](const std::string&) { return true; }, file.draftPath());
  file.finish();
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path));
  if (session.isJSON()) {
    session.print({{"file", path}, {"size", size}});
  } else if (session.ways().isQuiet) {
    session.write(printable(path) + '\n');
  }
  session.tell(say("Copied the store to {}, {}.", printable(path), sizeText(size)));
  return kExitDone;
}

}  // namespace

void addBackupVerb(VerbSet& verbs) {
  const auto path = std::make_shared<std::string>();
  verbs
      .add({.name = "backup",
            .description = tr("Copy the store, consistent also while it is written to"),
            .example = "alertsctl backup /backup/alerts-$(date +%F).db"},
           [path](Session& session) { return backup(session, *path); })
      .argument("FILE", *path, tr("A file that is not there yet"), Need::kRequired);
}

}  // namespace velto
