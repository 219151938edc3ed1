// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/json/array.hpp>

#include "tools/Verbs.h"
#include "tools/alerts/AlertCounts.h"
#include "tools/frame/JSONList.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/Table.h"

namespace velto {
namespace {

/// All that is known of a bundle. What only root is told may be absent.
struct KnownBundle {
  InstalledBundle installed = {};
  bool isEnabled = false;
  std::optional<bool> mail = {};
  std::optional<bool> push = {};
  std::optional<std::int64_t> count = {};
};

using KnownBundles = std::map<std::string, KnownBundle>;

/// Names are everybody's; the rest is added where the daemon tells it.
KnownBundles bundles(Session& session) {
  KnownBundles bundles;
  for (auto& [name, installed] : installedBundles()) {
    bundles[name].installed = std::move(installed);
  }
  for (const std::string& name : required(session.client().getAlertBundleNames())) {
    bundles[name].isEnabled = true;
  }
  const auto settings = session.client().getAlertBundleSettings();
  for (const auto& [name, one] : settings.value.value_or(alerts::BundleSettingsMap())) {
    bundles[name].mail = one.mailEnabled.value_or(false);
    bundles[name].push = one.pushEnabled.value_or(false);
  }
  if (settings.error) return bundles;
  for (const auto& [name, count] : alertCounts(session)) {
    if (name && bundles.contains(*name)) bundles[*name].count = count;
  }
  return bundles;
}

std::string kinds(Session& session, const std::string& bundle,
                  const std::vector<std::string>& types) {
  std::string text;
  for (const std::string& type : types) {
    appendItem(text, ", ", withKey(session.typeName(bundle, type), type));
  }
  return text.empty() ? "-" : text;
}

TableCell switchCell(const std::optional<bool>& isOn) {
  if (!isOn) return {"-", CellStyle::kDim};
  return *isOn ? TableCell{tr("on")} : TableCell{tr("off"), CellStyle::kYellow};
}

void printTable(Session& session, const KnownBundles& bundles) {
  std::vector<Table::Row> rows;
  for (const auto& [name, bundle] : bundles) {
    rows.push_back({{printable(name), bundle.isEnabled ? CellStyle::kBold : CellStyle::kDim},
                    {session.bundleName(name)},
                    {bundle.isEnabled ? tr("enabled") : tr("disabled")},
                    switchCell(bundle.mail),
                    switchCell(bundle.push),
                    {bundle.count ? fmt::format("{}", *bundle.count) : "-"},
                    {kinds(session, name, bundle.installed.types)}});
  }
  const Table table({{.title = tr("BUNDLE"), .minimumWidth = 8},
                     {.title = tr("NAME"), .leavesAt = 1, .minimumWidth = 8},
                     {.title = tr("STATE"), .leavesAt = 2},
                     {.title = tr("MAIL"), .leavesAt = 3},
                     {.title = tr("PUSH"), .leavesAt = 3},
                     {.title = tr("ALERTS"), .leavesAt = 4, .isNumber = true},
                     {.title = tr("KINDS"), .leavesAt = 5, .minimumWidth = 10}},
                    std::move(rows), session.tableLook());
  session.page();
  session.write(table.text());
}

void printJSON(Session& session, const KnownBundles& bundles) {
  JSONList list(session, "bundles");
  for (const auto& [name, bundle] : bundles) {
    const auto& types = bundle.installed.types;
    boost::json::object object{{"name", name},
                               {"title", bundle.installed.title},
                               {"enabled", bundle.isEnabled},
                               {"types", boost::json::array(types.begin(), types.end())}};
    if (bundle.mail) object["mail"] = *bundle.mail;
    if (bundle.push) object["push"] = *bundle.push;
    if (bundle.count) object["alerts"] = *bundle.count;
    list.add(object);
  }
}

ExitStatus listBundles(Session& session) {
  const KnownBundles found = bundles(session);
  if (session.isJSON()) {
    printJSON(session, found);
  } else if (session.ways().isQuiet) {
    for (const auto& [name, bundle] : found) {
      session.write(printable(name) + '\n');
    }
  } else if (found.empty()) {
    session.tell(tr("No bundles."));
  } else {
    printTable(session, found);
  }
  return kExitDone;
}

}  // namespace

void addBundlesVerb(VerbSet& verbs) {
  verbs.add({.name = "bundles",
             .description = tr("List the bundles, their switches, kinds and numbers of alerts"),
             .example = "alertsctl bundles"},
            listBundles);
}

}  // namespace velto
