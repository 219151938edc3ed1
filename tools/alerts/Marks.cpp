// SPDX-License-Identifier: Apache-2.0
// `read` and `resolve`.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tools/Verbs.h"
#include "tools/alerts/AlertPages.h"
#include "tools/alerts/Identifiers.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONList.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

struct Options {
  std::vector<std::string> identifiers = {};
  bool isAll = false;
};

/// A way of marking an alert.
struct Mark {
  const char* name = "";  ///< of the list in JSON
  alerts::Outcome<void> (alerts::Client::*set)(const std::string&,
                                               const alerts::CallOptions&) = nullptr;
};

/// Marks alerts, and tells of each in the ways that are not for people.
class Marker {
 public:
  Marker(Session& session, const Mark& mark) : session_(session), mark_(mark) {
    if (session.isJSON()) list_.emplace(session, mark.name);
  }

  void mark(const std::string& identifier) {
    require((session_.client().*mark_.set)(identifier, {}));
    ++count_;
    if (list_) list_->add(boost::json::value(identifier));
    if (session_.ways().isQuiet && !session_.isJSON()) session_.write(printable(identifier) + '\n');
  }
  std::int64_t count() const { return count_; }

 private:
  Session& session_;
  const Mark& mark_;
  std::optional<JSONList> list_;
  std::int64_t count_ = 0;
};

std::int64_t markNamed(Session& session, const Mark& mark,
                       const std::vector<std::string>& identifiers) {
  const auto complete = completeIdentifiers(session, identifiers);
  Marker marker(session, mark);
  for (const std::string& identifier : complete) {
    marker.mark(identifier);
  }
  return marker.count();
}

/// An alert without an identifier cannot be marked.
std::int64_t markUnread(Session& session, const Mark& mark) {
  AlertPages pages(session.client(), {.unread = true}, {});
  auto page = pages.next();
  Marker marker(session, mark);
  for (; !page.empty(); page = pages.next()) {
    for (const alerts::ListItem& item : page) {
      if (item.alert.identifier) marker.mark(*item.alert.identifier);
    }
  }
  return marker.count();
}

ExitStatus markAsRead(Session& session, const Options& options) {
  constexpr Mark kRead{"read", &alerts::Client::markAlertAsReadWithAlertId};
  if (options.isAll == !options.identifiers.empty()) {
    throw usageFailure(tr("read needs identifiers, or --all"), tr("see alertsctl list --unread"));
  }
  const std::int64_t count =
      options.isAll ? markUnread(session, kRead) : markNamed(session, kRead, options.identifiers);
  session.tell(sayCount("Marked {} alert as read.", "Marked {} alerts as read.", count));
  return kExitDone;
}

ExitStatus markAsResolved(Session& session, const Options& options) {
  constexpr Mark kResolved{"resolved", &alerts::Client::markAlertAsResolvedWithAlertId};
  const std::int64_t count = markNamed(session, kResolved, options.identifiers);
  session.tell(sayCount("Marked {} alert as resolved.", "Marked {} alerts as resolved.", count));
  return kExitDone;
}

}  // namespace

void addReadVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "read",
                         .description = tr("Mark alerts as read"),
                         .example = "alertsctl read $(alertsctl list -q --bundle Disk --unread)"},
                        [options](Session& session) { return markAsRead(session, *options); });
  verb.argument("ID", options->identifiers, tr("Identifiers, or how they begin"));
  verb.flag("-a,--all", options->isAll, tr("All that nobody has read"));
}

void addResolveVerb(VerbSet& verbs) {
  const auto options = std::make_shared<Options>();
  Verb verb = verbs.add({.name = "resolve",
                         .description = tr("Mark alerts as resolved"),
                         .example = "alertsctl resolve 2e75f1"},
                        [options](Session& session) { return markAsResolved(session, *options); });
  verb.argument("ID", options->identifiers, tr("Identifiers, or how they begin"), Need::kRequired);
}

}  // namespace velto
