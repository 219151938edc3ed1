// SPDX-License-Identifier: Apache-2.0
// `alertsctl list`, and `alertsctl` alone.

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

#include "tools/Verbs.h"
#include "tools/alerts/AlertPages.h"
#include "tools/alerts/AlertTable.h"
#include "tools/alerts/Follow.h"
#include "tools/alerts/ListOptions.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONList.h"
#include "tools/frame/JSONShape.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

using Items = std::vector<alerts::ListItem>;

/// Gives the pages to `take`, in the order asked for. The oldest come last, so for the opposite
/// order all of them have to be there.
template <typename Take>
void forEachPage(AlertPages& pages, bool isReversed, Take take) {
  Items all;
  for (Items page = pages.next(); !page.empty(); page = pages.next()) {
    if (!isReversed) {
      take(page);
    } else {
      std::move(page.begin(), page.end(), std::back_inserter(all));
    }
  }
  std::reverse(all.begin(), all.end());
  if (!all.empty()) take(all);
}

void printJSON(Session& session, AlertPages& pages, bool isReversed) {
  JSONList list(session, "alerts");
  forEachPage(pages, isReversed, [&](const Items& items) {
    for (const alerts::ListItem& item : items) {
      list.add(asJSON(item));
    }
  });
}

void printIdentifiers(Session& session, AlertPages& pages, bool isReversed) {
  forEachPage(pages, isReversed, [&](const Items& items) {
    for (const alerts::ListItem& item : items) {
      session.write(printable(item.alert.identifier.value_or("-")) + '\n');
    }
  });
}

void printTable(Session& session, AlertPages& pages, const ListOptions& options,
                const std::string& nothing) {
  std::optional<Table> table;
  std::int64_t count = 0;
  forEachPage(pages, options.isReversed, [&](const Items& items) {
    count += static_cast<std::int64_t>(items.size());
    if (!table) {
      session.page();
      session.write(table.emplace(alertTable(session, items)).text());
      return;
    }
    for (const alerts::ListItem& item : items) {
      session.write(table->line(alertRow(session, item)));
    }
  });
  if (count == 0) {
    session.tell(nothing);
    options.warnOfUnknown(session);
  } else if (session.ways().hasLegend) {
    const std::string sum = sayCount("{} alert.", "{} alerts.", count);
    session.tell("\n" + (pages.hasMore() ? sum + " " + tr("There are more.") : sum));
  }
}

ExitStatus list(Session& session, const ListOptions& options, const std::string& nothing) {
  if (options.isFollowing) return followAfterList(session, options);
  AlertPages pages(session.client(), options.query(session), options.count);
  if (session.isJSON()) {
    printJSON(session, pages, options.isReversed);
  } else if (session.ways().isQuiet) {
    printIdentifiers(session, pages, options.isReversed);
  } else {
    printTable(session, pages, options, nothing);
  }
  return kExitDone;
}

}  // namespace

VerbBody addNewsView(Verb app) {
  const auto options = std::make_shared<ListOptions>();
  addFilters(app, *options);
  addLimits(app, *options);
  return [options](Session& session) {
    ListOptions news = *options;
    news.isUnread = news.isUnresolved = true;
    return list(session, news, tr("Nothing to see: no alert is unread and unresolved."));
  };
}

void addListVerb(VerbSet& verbs) {
  const auto options = std::make_shared<ListOptions>();
  Verb verb =
      verbs.add({.name = "list",
                 .description = tr("List alerts, newest first"),
                 .example = "alertsctl list --bundle Disk --since yesterday --unresolved"},
                [options](Session& session) { return list(session, *options, tr("No alerts.")); });
  addFilters(verb, *options);
  addLimits(verb, *options);
  verb.flag("-f,--follow", options->isFollowing, tr("Go on with what comes, oldest first"));
}

}  // namespace velto
