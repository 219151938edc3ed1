// SPDX-License-Identifier: Apache-2.0
// `export`: all alerts as JSON lines, newest first, a page in memory at a time.

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "tools/Verbs.h"
#include "tools/alerts/AlertPages.h"
#include "tools/frame/Failure.h"
#include "tools/frame/NewFile.h"
#include "tools/frame/Progress.h"
#include "tools/frame/Session.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/transfer/ExportLine.h"

namespace velto {
namespace {

using Sink = std::function<void(const std::string&)>;

struct Options {
  std::string file = {};
  bool hasSettings = false;
};

void putSettings(Session& session, const Sink& put) {
  alerts::Client& client = session.client();
  alerts::Value::Dictionary attributes;
  for (const auto& [name, value] : required(client.getAttributes())) {
    attributes[name] = value;
  }
  if (!attributes.empty()) put(exportText(ExportedAttributes{attributes}));
  for (auto [name, settings] : required(client.getAlertBundleSettings())) {
    settings.name = name;
    put(exportText(settings));
  }
  for (const alerts::MailRecipient& recipient : required(client.getMailRecipients())) {
    put(exportText(recipient));
  }
  for (const alerts::PushRecipient& recipient : required(client.getPushRecipients())) {
    put(exportText(recipient));
  }
}

std::int64_t putAlerts(Session& session, const Sink& put) {
  Progress progress(required(session.client().getStatus()).counts.alerts);
  AlertPages pages(session.client(), {}, {});
  std::int64_t count = 0;
  for (auto page = pages.next(); !page.empty(); page = pages.next()) {
    std::string lines;
    for (const alerts::ListItem& item : page) {
      lines += exportText(item.alert);
    }
    put(lines);
    progress.reach(count += static_cast<std::int64_t>(page.size()));
  }
  return count;
}

std::int64_t putAll(Session& session, const Options& options, const Sink& put) {
  put(exportText(ExportHead()));
  if (options.hasSettings) putSettings(session, put);
  return putAlerts(session, put);
}

ExitStatus exportAlerts(Session& session, const Options& options) {
  if (options.file.empty() || options.file == "-") {
    putAll(session, options, [&](const std::string& text) { session.write(text); });
    return kExitDone;
  }
  std::error_code ignored;
  const bool isThere = std::filesystem::exists(options.file, ignored);
  if (isThere) session.confirm(say("Replace {}?", printable(options.file)));
  NewFile file(options.file, 0600, NewFile::Existing::kReplaced);
  const std::int64_t count =
      putAll(session, options, [&](const std::string& text) { file.write(text); });
  file.finish();
  if (session.isJSON()) session.print({{"exported", count}, {"file", options.file}});
  session.tell(sayCount("Exported {} alert to {}.", "Exported {} alerts to {}.", count,
                        printable(options.file)));
  return kExitDone;
}

}  // namespace

void addExportVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "export",
                         .description = tr("Write all alerts as JSON lines"),
                         .example = "alertsctl export --settings alerts.jsonl"},
                        [options](Session& session) { return exportAlerts(session, *options); });
  verb.argument("FILE", options->file, tr("Without it, standard output"));
  verb.flag("--settings", options->hasSettings,
            tr("Attributes, switches and recipients as well, with the secret tokens of devices"));
}

}  // namespace velto
