// SPDX-License-Identifier: Apache-2.0
// `push list`, `push add`, `push remove`, `push enable` and `push disable`.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/Base64.h"
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

using Devices = std::vector<alerts::PushRecipient>;
using Names = std::vector<std::string>;

struct Options {
  std::string guid = {};
  Names devices = {};
  std::string token = {};
  std::string name = {};
  std::string language = {};
  bool isDry = false;
};

/// Tokens are secrets: they are not shown anywhere.
void printJSON(Session& session, const Devices& devices) {
  JSONList list(session, "recipients");
  for (const alerts::PushRecipient& device : devices) {
    boost::json::object object{{"enabled", device.enabled.value_or(false)}};
    if (device.guid) object["guid"] = *device.guid;
    if (device.name) object["name"] = *device.name;
    if (device.locale) object["language"] = *device.locale;
    list.add(object);
  }
}

ExitStatus list(Session& session) {
  const Devices devices = required(session.client().getPushRecipients());
  if (session.isJSON()) {
    printJSON(session, devices);
    return kExitDone;
  }
  std::vector<Table::Row> rows;
  for (const alerts::PushRecipient& device : devices) {
    const std::string guid = printable(device.guid.value_or("-"));
    if (session.ways().isQuiet) session.write(guid + '\n');
    rows.push_back({{printable(device.name.value_or("-"))},
                    {guid},
                    {device.enabled.value_or(false) ? tr("on") : tr("off")},
                    {languageCell(session, device.locale)}});
  }
  if (session.ways().isQuiet) return kExitDone;
  if (rows.empty()) {
    session.tell(tr("No device gets notifications."));
    return kExitDone;
  }
  const Table table({{.title = tr("DEVICE"), .minimumWidth = 10},
                     {.title = tr("GUID"), .minimumWidth = 10},
                     {.title = tr("STATE")},
                     {.title = tr("LANGUAGE"), .leavesAt = 1}},
                    std::move(rows), session.tableLook());
  session.write(table.text());
  return kExitDone;
}

std::optional<int> hexDigit(char character) {
  if (character >= '0' && character <= '9') return character - '0';
  const char lower = static_cast<char>(character | 0x20);
  return lower >= 'a' && lower <= 'f' ? std::optional(lower - 'a' + 10) : std::nullopt;
}

/// In hexadecimal, as gateways and logs write tokens, or behind "base64:" as the interface does.
alerts::Data parseToken(const std::string& text) {
  constexpr std::string_view kBase64 = "base64:";
  if (text.starts_with(kBase64)) {
    const auto bytes = base64Decoded(std::string_view(text).substr(kBase64.size()));
    if (!bytes || bytes->empty()) throw usageFailure(tr("the token is not base64"));
    return bytes->bytes();
  }
  alerts::Data token;
  for (std::size_t at = 0; at + 1 < text.size() + text.size() % 2; at += 2) {
    const auto high = hexDigit(text[at]);
    const auto low = at + 1 < text.size() ? hexDigit(text[at + 1]) : std::nullopt;
    if (!high || !low) {
      throw usageFailure(say("the token is not hexadecimal at character {}", at + 1),
                         tr("write base64:TOKEN for base64"));
    }
    token.push_back(static_cast<std::uint8_t>(*high * 16 + *low));
  }
  if (token.empty()) throw usageFailure(tr("the token is empty"));
  return token;
}

ExitStatus add(Session& session, const Options& options) {
  alerts::PushRecipient device{.guid = options.guid,
                               .token = parseToken(options.token),
                               .locale = requiredLanguage(options.language),
                               .enabled = true};
  if (!options.name.empty()) device.name = options.name;
  require(session.client().addPushRecipients({device}));
  tellRecipients(session, "added", {options.guid}, say("Added {}.", printable(options.guid)));
  return kExitDone;
}

bool isNamed(const alerts::PushRecipient& device, const std::string& name) {
  return device.guid == name || device.name == name;
}

/// Throws for the first name that is no device's, and for one that is that of several.
void requireDevices(const Devices& devices, const Names& wanted) {
  Names known;
  for (const alerts::PushRecipient& device : devices) {
    known.push_back(device.name.value_or(device.guid.value_or("")));
  }
  for (const std::string& name : wanted) {
    const auto count = std::count_if(devices.begin(), devices.end(),
                                     [&](const auto& device) { return isNamed(device, name); });
    if (count > 1) {
      throw Failure{.what = say("several devices are called {}", printable(name)),
                    .advice = tr("write the GUID: alertsctl push list")};
    }
    if (count == 1) continue;
    const std::string suggested = suggestion(name, known);
    throw Failure{.what = say("there is no device {}", printable(name)),
                  .advice = suggested.empty() ? tr("see alertsctl push list") : suggested};
  }
}

bool isAmong(const Names& names, const alerts::PushRecipient& device) {
  return std::any_of(names.begin(), names.end(),
                     [&](const std::string& name) { return isNamed(device, name); });
}

ExitStatus remove(Session& session, const Options& options) {
  Devices devices = required(session.client().getPushRecipients());
  requireDevices(devices, options.devices);
  const auto count = static_cast<std::int64_t>(options.devices.size());
  if (!options.isDry) {
    session.confirm(sayCount("Remove {} device?", "Remove {} devices?", count));
    std::erase_if(devices, [&](const auto& device) { return isAmong(options.devices, device); });
    require(session.client().setPushRecipients(devices));
  }
  tellRecipients(session, "removed", options.devices,
                 options.isDry
                     ? sayCount("Would remove {} device.", "Would remove {} devices.", count)
                     : sayCount("Removed {} device.", "Removed {} devices.", count));
  return kExitDone;
}

ExitStatus turn(Session& session, const Options& options, bool isOn) {
  Devices devices = required(session.client().getPushRecipients());
  requireDevices(devices, options.devices);
  for (alerts::PushRecipient& device : devices) {
    if (isAmong(options.devices, device)) device.enabled = isOn;
  }
  require(session.client().setPushRecipients(devices));
  const auto count = static_cast<std::int64_t>(options.devices.size());
  tellRecipients(session, isOn ? "enabled" : "disabled", options.devices,
                 isOn ? sayCount("Enabled {} device.", "Enabled {} devices.", count)
                      : sayCount("Disabled {} device.", "Disabled {} devices.", count));
  return kExitDone;
}

using Body = ExitStatus (*)(Session&, const Options&);

Verb addVerb(VerbSet& group, const VerbText& text, Body body,
             const std::shared_ptr<Options>& options) {
  Verb verb =
      group.add(text, [options, body](Session& session) { return body(session, *options); });
  verb.argument("DEVICE", options->devices, tr("GUIDs or names of devices"), Need::kRequired);
  return verb;
}

void addAdding(VerbSet& group) {
  const auto options = std::make_shared<Options>();
  Verb verb = group.add(
      {.name = "add",
       .description = tr("Send notifications to a further device"),
       .example = "alertsctl push add 8f3c-11 0f5a9b7c --name \"Ann's phone\" --language fr"},
      [options](Session& session) { return add(session, *options); });
  verb.argument("GUID", options->guid, tr("What the device is known by"), Need::kRequired);
  verb.argument("TOKEN", options->token, tr("Its token in hexadecimal, or base64:TOKEN"),
                Need::kRequired);
  verb.option("--name", options->name, tr("TEXT"), tr("What people call it"));
  verb.option("-l,--language", options->language, tr("TAG"),
              tr("In which its owner reads: en, de-AT"));
}

}  // namespace

void addPushVerbs(VerbSet& verbs) {
  VerbSet group = verbs.group({.name = "push",
                               .description = tr("List and change which devices get notifications"),
                               .example = "alertsctl push disable \"Ann's phone\""},
                              list);
  group.add({.name = "list",
             .description = tr("List which devices get notifications"),
             .example = "alertsctl push list"},
            list);
  addAdding(group);
  const auto removing = std::make_shared<Options>();
  addVerb(group,
          {.name = "remove",
           .description = tr("Forget devices"),
           .example = "alertsctl push remove 8f3c-11"},
          remove, removing)
      .flag("--dry-run", removing->isDry, tr("Only tell what would go away"));
  addVerb(
      group,
      {.name = "enable",
       .description = tr("Send notifications to devices again"),
       .example = "alertsctl push enable \"Ann's phone\""},
      [](Session& session, const Options& options) { return turn(session, options, true); },
      std::make_shared<Options>());
  addVerb(
      group,
      {.name = "disable",
       .description = tr("Send no notifications to devices for a while"),
       .example = "alertsctl push disable \"Ann's phone\""},
      [](Session& session, const Options& options) { return turn(session, options, false); },
      std::make_shared<Options>());
}

}  // namespace velto
