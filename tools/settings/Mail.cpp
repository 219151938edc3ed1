// SPDX-License-Identifier: Apache-2.0
// `mail list`, `mail add`, `mail remove` and `mail set`.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "delivery/Mailbox.h"
#include "platform/foundation/UTF8.h"
#include "tools/Verbs.h"
#include "tools/frame/Failure.h"
#include "tools/frame/JSONList.h"
#include "tools/settings/Recipients.h"
#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"
#include "tools/text/Table.h"

namespace velto {
namespace {

using Addresses = std::vector<std::string>;
using Recipients = std::vector<alerts::MailRecipient>;

struct Options {
  Addresses addresses = {};
  std::string language = {};
  bool isNone = false;
  bool isDry = false;
};

/// What is wrong with an address; nothing when mail can be sent to it.
std::optional<std::string> problemOf(const std::string& address) {
  if (address.empty()) return tr("it is empty");
  if (invalidUTF8Offset(address)) return tr("it is not UTF-8");
  if (printable(address) != address) return tr("it has control characters");
  const std::size_t at = address.rfind('@');
  if (at == std::string::npos) return tr("it has no @");
  if (at == 0 || address[at - 1] == '<') return tr("nothing stands before the @");
  if (at + 1 == address.size() || address[at + 1] == '>') return tr("nothing stands behind the @");
  if (!namesOneMailbox(address)) return tr("it is not the address of one mailbox");
  return std::nullopt;
}

void requireAddresses(const Addresses& addresses) {
  for (const std::string& address : addresses) {
    if (const auto problem = problemOf(address)) {
      throw usageFailure(say("\"{}\" will not do as an address: {}", printable(address), *problem));
    }
  }
}

ExitStatus list(Session& session) {
  const Recipients recipients = required(session.client().getMailRecipients());
  if (session.isJSON()) {
    JSONList json(session, "recipients");
    for (const alerts::MailRecipient& recipient : recipients) {
      boost::json::object object;
      if (recipient.address) object["address"] = *recipient.address;
      if (recipient.locale) object["language"] = *recipient.locale;
      json.add(object);
    }
    return kExitDone;
  }
  std::vector<Table::Row> rows;
  for (const alerts::MailRecipient& recipient : recipients) {
    const std::string address = printable(recipient.address.value_or("-"));
    if (session.ways().isQuiet) session.write(address + '\n');
    rows.push_back({{address}, {languageCell(session, recipient.locale)}});
  }
  if (session.ways().isQuiet) return kExitDone;
  if (rows.empty()) {
    session.tell(tr("Nobody gets mail."));
    return kExitDone;
  }
  const Table table({{.title = tr("ADDRESS"), .minimumWidth = 16}, {.title = tr("LANGUAGE")}},
                    std::move(rows), session.tableLook());
  session.write(table.text());
  return kExitDone;
}

ExitStatus add(Session& session, const Options& options) {
  requireAddresses(options.addresses);
  const auto language = requiredLanguage(options.language);
  Recipients recipients;
  for (const std::string& address : options.addresses) {
    recipients.push_back({.address = address, .locale = language});
  }
  require(session.client().addMailRecipients(recipients));
  const auto count = static_cast<std::int64_t>(recipients.size());
  tellRecipients(session, "added", options.addresses,
                 sayCount("Added {} recipient.", "Added {} recipients.", count));
  return kExitDone;
}

bool isAmong(const Addresses& addresses, const alerts::MailRecipient& recipient) {
  return recipient.address &&
         std::find(addresses.begin(), addresses.end(), *recipient.address) != addresses.end();
}

void requireRecipients(const Recipients& recipients, const Addresses& addresses) {
  Addresses known;
  for (const alerts::MailRecipient& recipient : recipients) {
    if (recipient.address) known.push_back(*recipient.address);
  }
  for (const std::string& address : addresses) {
    if (std::find(known.begin(), known.end(), address) != known.end()) continue;
    const std::string suggested = suggestion(address, known);
    throw Failure{.what = say("there is no recipient {}", printable(address)),
                  .advice = suggested.empty() ? tr("see alertsctl mail list") : suggested};
  }
}

ExitStatus remove(Session& session, const Options& options) {
  Recipients recipients = required(session.client().getMailRecipients());
  requireRecipients(recipients, options.addresses);
  const auto count = static_cast<std::int64_t>(options.addresses.size());
  if (!options.isDry) {
    session.confirm(sayCount("Remove {} recipient?", "Remove {} recipients?", count));
    std::erase_if(recipients, [&](const alerts::MailRecipient& recipient) {
      return isAmong(options.addresses, recipient);
    });
    require(session.client().setMailRecipients(recipients));
  }
  tellRecipients(session, "removed", options.addresses,
                 options.isDry
                     ? sayCount("Would remove {} recipient.", "Would remove {} recipients.", count)
                     : sayCount("Removed {} recipient.", "Removed {} recipients.", count));
  return kExitDone;
}

/// Who stays keeps the language, unless there is another one for all.
ExitStatus set(Session& session, const Options& options) {
  if (options.isNone == !options.addresses.empty()) {
    throw usageFailure(tr("mail set needs addresses, or --none to send mail to nobody"));
  }
  requireAddresses(options.addresses);
  const auto language = requiredLanguage(options.language);
  const Recipients before = required(session.client().getMailRecipients());
  Recipients recipients;
  for (const std::string& address : options.addresses) {
    const auto same = std::find_if(before.begin(), before.end(), [&](const auto& recipient) {
      return recipient.address == address;
    });
    const bool stays = same != before.end() && !language;
    recipients.push_back({.address = address, .locale = stays ? same->locale : language});
  }
  session.confirm(sayCount("Replace the {} recipient that there is?",
                           "Replace the {} recipients that there are?",
                           static_cast<std::int64_t>(before.size())));
  require(session.client().setMailRecipients(recipients));
  tellRecipients(session, "set", options.addresses,
                 sayCount("{} recipient gets mail now.", "{} recipients get mail now.",
                          static_cast<std::int64_t>(recipients.size())));
  return kExitDone;
}

Verb addVerb(VerbSet& group, const VerbText& text, ExitStatus (*body)(Session&, const Options&),
             const std::shared_ptr<Options>& options, Need need) {
  Verb verb =
      group.add(text, [options, body](Session& session) { return body(session, *options); });
  verb.argument("ADDRESS", options->addresses, tr("Addresses, each of one mailbox"), need);
  return verb;
}

void addLanguage(Verb verb, Options& options) {
  verb.option("-l,--language", options.language, tr("TAG"),
              tr("In which they read: en, de-AT, zh-Hant"));
}

}  // namespace

void addMailVerbs(VerbSet& verbs) {
  VerbSet group = verbs.group({.name = "mail",
                               .description = tr("List and change who gets mail"),
                               .example = "alertsctl mail add ann@example.org --language fr"},
                              list);
  group.add(
      {.name = "list", .description = tr("List who gets mail"), .example = "alertsctl mail list"},
      list);
  auto options = std::make_shared<Options>();
  Verb adding = addVerb(group,
                        {.name = "add",
                         .description = tr("Send mail to further addresses"),
                         .example = "alertsctl mail add ann@example.org --language fr"},
                        add, options, Need::kRequired);
  addLanguage(adding, *options);
  options = std::make_shared<Options>();
  Verb removing = addVerb(group,
                          {.name = "remove",
                           .description = tr("Send no mail to addresses any more"),
                           .example = "alertsctl mail remove ann@example.org"},
                          remove, options, Need::kRequired);
  removing.flag("--dry-run", options->isDry, tr("Only tell what would go away"));
  options = std::make_shared<Options>();
  Verb setting = addVerb(group,
                         {.name = "set",
                          .description = tr("Send mail to these addresses and no others"),
                          .example = "alertsctl mail set ann@example.org bob@example.org"},
                         set, options, Need::kOptional);
  addLanguage(setting, *options);
  setting.flag("--none", options->isNone, tr("To nobody"));
}

}  // namespace velto
