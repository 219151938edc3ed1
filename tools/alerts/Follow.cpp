// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/Follow.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "tools/alerts/AlertPages.h"
#include "tools/alerts/AlertTable.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONShape.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

using alerts::EventKind;

constexpr std::int64_t kUsualCount = 10;
constexpr std::chrono::seconds kRetryPause(1);

/// Tells of events in the way asked for, those that suit the filters.
class EventTeller {
 public:
  EventTeller(Session& session, const ListOptions& options)
      : session_(session), query_(options.query(session)) {}

  const alerts::ListQuery& query() const { return query_; }

  /// An alert of the list before the events, which is not told of again.
  void tellListed(const alerts::ListItem& item) {
    if (item.alert.identifier) listed_.insert(*item.alert.identifier);
    if (session_.isJSON()) {
      session_.print({{"kind", "listed"}, {"alert", asJSON(item)}});
    } else {
      tell(tr("listed"), item, CellStyle::kDim, item.alert.sentDate);
    }
  }

  void tell(const alerts::Event& event) {
    if (!suits(event)) return;
    if (session_.isJSON()) {
      session_.print(asJSON(event));
    } else if (event.kind == EventKind::kLost) {
      session_.warn(tr("changes came faster than they could be told; see alertsctl list"));
    } else if (event.kind == EventKind::kSettings) {
      if (!session_.ways().isQuiet) line(tr("settings changed"));
    } else if (event.alert) {
      tellOfAlert(event);
    } else {
      tell(tr("deleted"), {.alert = {.identifier = event.identifier}}, CellStyle::kDim, {});
    }
  }

 private:
  /// What is gone, and what is not an alert, has nothing that a filter could look at.
  bool suits(const alerts::Event& event) {
    const bool isFiltered = query_.bundle || query_.type || query_.from || query_.to ||
                            query_.unread || query_.unresolved || query_.text;
    if (event.kind == EventKind::kSettings) return !isFiltered;
    if (!event.alert) return true;
    const alerts::Alert& alert = *event.alert;
    const bool isListed = alert.identifier && listed_.erase(*alert.identifier) > 0;
    const auto sent = alert.sentDate;
    return !(event.kind == EventKind::kAdded && isListed) && !(query_.unread && alert.readDate) &&
           !(query_.unresolved && alert.resolvedDate) &&
           !(query_.from && !(sent && *sent > *query_.from)) &&
           !(query_.to && !(sent && *sent <= *query_.to));
  }

  void tellOfAlert(const alerts::Event& event) {
    const alerts::Alert& alert = *event.alert;
    alerts::ListItem item{.alert = alert};
    if (event.kind == EventKind::kAdded) {
      item.subject = subject(alert);
      tell(tr("new"), item, CellStyle::kYellow, alert.sentDate);
    } else if (alert.resolvedDate) {
      tell(tr("resolved"), item, CellStyle::kGreen, alert.resolvedDate);
    } else {
      tell(alert.readDate ? tr("read") : tr("changed"), item, CellStyle::kPlain, alert.readDate);
    }
  }

  /// In the reader's language, which events do not have.
  std::optional<std::string> subject(const alerts::Alert& alert) {
    if (!alert.identifier || session_.ways().isQuiet) return std::nullopt;
    auto details = session_.client().getAlert(*alert.identifier, query_.locale);
    return details.value ? std::move(details.value->subject) : std::nullopt;
  }

  void tell(const std::string& what, const alerts::ListItem& item, CellStyle style,
            const std::optional<alerts::Date>& date) {
    const std::string identifier = printable(item.alert.identifier.value_or("-"));
    if (session_.ways().isQuiet) {
      session_.write(identifier + '\n');
      return;
    }
    const std::string when =
        date ? clockText(*date, session_.ways().isUTC) : std::string(tr("now"));
    const std::string of = item.alert.bundle ? session_.bundleName(item.alert.bundle) + ": " : "";
    line(fmt::format("{}  {}  {}{}  {}", when, session_.styledIfColours(what, style), of,
                     item.alert.type || item.subject ? subjectOf(session_, item) : "",
                     session_.styledIfColours(identifier, CellStyle::kDim)));
  }

  void line(const std::string& text) { session_.write(text + '\n'); }

  Session& session_;
  const alerts::ListQuery query_;
  std::set<std::string> listed_;
};

/// One that the daemon has answered: from then on nothing is missed.
alerts::Outcome<alerts::Follower> beginToFollow(Session& session, const alerts::ListQuery& query) {
  auto follower = session.client().follow(query.bundle, query.type);
  if (follower.error) return follower;
  if (auto first = follower.value->next(); first.error) return {.error = std::move(first.error)};
  return follower;
}

/// Waits for a daemon that can be followed.
alerts::Follower followAgain(Session& session, const alerts::ListQuery& query) {
  session.warn(tr("the daemon has gone; waiting for the next one"));
  for (;;) {
    auto follower = beginToFollow(session, query);
    if (follower.value) {
      session.warn(tr("there is a daemon again; what happened meanwhile is in alertsctl list"));
      return std::move(*follower.value);
    }
    std::this_thread::sleep_for(kRetryPause);
  }
}

[[noreturn]] void tellForEver(Session& session, EventTeller& teller, alerts::Follower follower) {
  for (;;) {
    const auto changes = follower.next();
    if (changes.error && changes.error->kind == alerts::ErrorKind::kConnectionLost) {
      follower = followAgain(session, teller.query());
      continue;
    }
    if (changes.error) throw failureOf(*changes.error);
    for (const alerts::Event& event : changes.value->events) {
      teller.tell(event);
    }
    session.flush();
  }
}

alerts::Follower follower(Session& session, const alerts::ListQuery& query) {
  auto outcome = beginToFollow(session, query);
  if (outcome.error) throw failureOf(*outcome.error);
  return std::move(*outcome.value);
}

}  // namespace

ExitStatus follow(Session& session, const ListOptions& options) {
  EventTeller teller(session, options);
  auto changes = follower(session, teller.query());
  options.warnOfUnknown(session);
  tellForEver(session, teller, std::move(changes));
}

ExitStatus followAfterList(Session& session, const ListOptions& options) {
  EventTeller teller(session, options);
  // In this order nothing is missed, and what both tell of is known by its identifier.
  alerts::Follower changes = follower(session, teller.query());
  AlertPages pages(session.client(), teller.query(), options.count.value_or(kUsualCount));
  std::vector<alerts::ListItem> items;
  for (auto page = pages.next(); !page.empty(); page = pages.next()) {
    std::move(page.begin(), page.end(), std::back_inserter(items));
  }
  std::for_each(items.rbegin(), items.rend(),
                [&](const alerts::ListItem& item) { teller.tellListed(item); });
  session.flush();
  tellForEver(session, teller, std::move(changes));
}

}  // namespace velto
