// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/ListOptions.h"

#include "tools/frame/Failure.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/DateParser.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {

alerts::Date requiredDate(const std::string& option, const std::string& text, alerts::Date now) {
  const auto date = parseDate(text, now);
  if (!date) {
    throw usageFailure(say("{}: \"{}\" is no date", option, printable(text)),
                       tr("dates are written 2026-11-20, \"2026-11-20 14:00\", "
                          "2026-11-20T14:00:00Z, yesterday, -2h"));
  }
  return *date;
}

alerts::ListQuery ListOptions::query(Session& session) const {
  check();
  alerts::ListQuery query;
  if (bundle) query.bundle = bundleMeant(session, *bundle);
  if (type) query.type = typeMeant(session, query.bundle, *type);
  query.text = text;
  query.locale = session.language();
  if (since) {
    // The daemon leaves out what was sent at the very moment.
    const double start = requiredDate("--since", *since, session.now()).secondsSince2001();
    query.from = alerts::Date(start - 1e-6);
  }
  if (until) query.to = requiredDate("--until", *until, session.now());
  if (isUnread) query.unread = true;
  if (isUnresolved) query.unresolved = true;
  return query;
}

void ListOptions::warnOfUnknown(Session& session) const {
  if (!bundle && !type) return;
  const alerts::ListQuery meant = query(session);
  velto::warnOfUnknown(session, meant.bundle, meant.type);
}

void ListOptions::check() const {
  if (count && *count < 0) {
    throw usageFailure(say("-n: {} is no number of alerts", *count));
  }
  if (isFollowing && (text || isReversed)) {
    throw usageFailure(tr("--text and --reverse do not go with --follow"));
  }
}

void addFilters(Verb verb, ListOptions& options) {
  verb.option("-b,--bundle", options.bundle, tr("NAME"), tr("Of this bundle only"));
  verb.option("-t,--type", options.type, tr("NAME"), tr("Of this kind only"));
  verb.option("-S,--since", options.since, tr("DATE"),
              tr("Sent then or later: yesterday, -2h, 2026-11-20"));
  verb.option("-U,--until", options.until, tr("DATE"), tr("Sent then or before"));
  verb.flag("--unread", options.isUnread, tr("That nobody has read"));
  verb.flag("--unresolved", options.isUnresolved, tr("Whose cause remains"));
}

void addLimits(Verb verb, ListOptions& options) {
  verb.option("-g,--text", options.text, tr("TEXT"), tr("With this text in names or attributes"));
  verb.option("-n,--lines", options.count, tr("COUNT"), tr("So many of them, the newest"));
  verb.flag("-r,--reverse", options.isReversed, tr("Oldest first"));
}

}  // namespace velto
