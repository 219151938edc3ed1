// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/Verbs.h"
#include "tools/alerts/Identifiers.h"
#include "tools/alerts/ValueText.h"
#include "tools/frame/JSONList.h"
#include "tools/frame/JSONShape.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Joined.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/TimeText.h"
#include "tools/text/Width.h"

namespace velto {
namespace {

constexpr std::size_t kLabelWidth = 12;

/// Labels at the left, what they stand for at the right, further lines below it.
class Sheet {
 public:
  void add(const std::string& label, const std::string& text) {
    std::string shown = paddedBefore(label, kLabelWidth);
    for (std::size_t start = 0; start <= text.size();) {
      const std::size_t end = std::min(text.find('\n', start), text.size());
      text_ += shown + "  " + text.substr(start, end - start) + '\n';
      shown.assign(kLabelWidth, ' ');
      start = end + 1;
    }
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

std::string withAge(const Session& session, const std::optional<alerts::Date>& date) {
  if (!date) return "-";
  return clockText(*date, session.ways().isUTC) + " (" + relativeText(*date, session.now()) + ")";
}

std::string orDash(const std::optional<std::string>& text) {
  return text ? printable(*text) : "-";
}

std::string attributes(const Session& session, const alerts::Alert& alert) {
  std::string lines;
  for (const auto& [name, value] : alert.attributes.value_or(alerts::Value::Dictionary())) {
    appendItem(lines, "\n", printable(name) + " = " + valueText(session, value));
  }
  return lines;
}

std::string actions(const alerts::AlertDetails& details) {
  std::string lines;
  for (const alerts::Action& action : details.actions) {
    appendItem(lines, "\n", printable(action.name) + ": " + printable(action.title));
  }
  return lines;
}

void show(Session& session, const alerts::AlertDetails& details) {
  const alerts::Alert& alert = details.alert;
  Sheet sheet;
  sheet.add(tr("Identifier"), orDash(alert.identifier));
  sheet.add(tr("Bundle"), withKey(session.bundleName(alert.bundle), alert.bundle));
  sheet.add(tr("Kind"), withKey(session.typeName(alert.bundle, alert.type), alert.type));
  sheet.add(tr("Created"), withAge(session, alert.creationDate));
  sheet.add(tr("Sent"), withAge(session, alert.sentDate));
  sheet.add(tr("Read"), withAge(session, alert.readDate));
  sheet.add(tr("Resolved"), withAge(session, alert.resolvedDate));
  if (alert.attributes && !alert.attributes->empty()) {
    sheet.add(tr("Attributes"), attributes(session, alert));
  }
  if (details.message) sheet.add(tr("Message"), printableLines(*details.message));
  if (!details.actions.empty()) sheet.add(tr("Actions"), actions(details));
  const std::string subject =
      details.subject ? printable(*details.subject) : session.typeName(alert.bundle, alert.type);
  session.write(session.styledIfColours(subject, CellStyle::kBold) + '\n' + sheet.text());
}

ExitStatus showAll(Session& session, const std::vector<std::string>& identifiers) {
  std::vector<alerts::AlertDetails> found;
  for (const std::string& identifier : identifiers) {
    found.push_back(alertNamed(session, identifier));
  }
  if (session.isJSON()) {
    JSONList list(session, "alerts");
    for (const alerts::AlertDetails& details : found) {
      list.add(asJSON(details));
    }
    return kExitDone;
  }
  session.page();
  for (const alerts::AlertDetails& details : found) {
    if (&details != &found.front() && !session.ways().isQuiet) session.write("\n");
    if (session.ways().isQuiet) {
      session.write(orDash(details.alert.identifier) + '\n');
    } else {
      show(session, details);
    }
  }
  return kExitDone;
}

}  // namespace

void addShowVerb(VerbSet& verbs) {
  const auto identifiers = std::make_shared<std::vector<std::string>>();
  Verb verb = verbs.add({.name = "show",
                         .description = tr("Tell all there is to know about alerts"),
                         .example = "alertsctl show 2e75f1"},
                        [identifiers](Session& session) { return showAll(session, *identifiers); });
  verb.argument("ID", *identifiers, tr("Identifiers, or how they begin"), Need::kRequired);
}

}  // namespace velto
