// SPDX-License-Identifier: Apache-2.0
// What the completion of shells asks for: `alertsctl complete -- WORD...`, all words behind
// `alertsctl` up to the one to be completed. A candidate a line.

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/App.hpp>

#include "tools/Verbs.h"
#include "tools/service/InterfaceText.h"
#include "tools/service/Methods.h"
#include "tools/settings/BundleNames.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

using Words = std::vector<std::string>;

/// Nobody waits long for a suggestion.
constexpr std::chrono::seconds kPatience(2);
constexpr std::int64_t kRecent = 50;
constexpr std::int64_t kFew = 10;

/// Where on a command line the word stands.
struct Place {
  const CLI::App* verb = nullptr;
  Words arguments = {};     ///< of the verb, without its options
  std::string option = {};  ///< whose value it is; empty for none
  std::string bundle = {};  ///< that an option has named
};

bool takesValue(const CLI::App& verb, const std::string& name) {
  const CLI::Option* option = verb.get_option_no_throw(name);
  return option != nullptr && option->get_type_size() > 0;
}

const CLI::App* subverb(const CLI::App& verb, const std::string& name) {
  const auto verbs =
      verb.get_subcommands([&](const CLI::App* one) { return one->get_name() == name; });
  return verbs.empty() ? nullptr : verbs.front();
}

Place placeOf(const CLI::App& app, const Words& words) {
  Place place{.verb = &app};
  for (std::size_t index = 0; index + 1 < words.size(); ++index) {
    const std::string& word = words[index];
    if (!place.option.empty()) {
      if (place.option == "--bundle" || place.option == "-b") place.bundle = word;
      place.option.clear();
    } else if (word.starts_with('-')) {
      if (takesValue(*place.verb, word)) place.option = word;
    } else if (const CLI::App* verb = subverb(*place.verb, word);
               verb != nullptr && place.arguments.empty()) {
      place.verb = verb;
    } else {
      place.arguments.push_back(word);
    }
  }
  return place;
}

std::vector<alerts::ListItem> recentAlerts(Session& session, std::int64_t count) {
  const auto page = session.client().list({.limit = count}, {.timeLimit = kPatience});
  return page.value ? page.value->items : std::vector<alerts::ListItem>();
}

Words identifiers(Session& session) {
  Words found;
  for (const alerts::ListItem& item : recentAlerts(session, kRecent)) {
    if (item.alert.identifier) found.push_back(*item.alert.identifier);
  }
  return found;
}

Words actions(Session& session) {
  Words found;
  for (const alerts::ListItem& item : recentAlerts(session, kFew)) {
    const auto details = session.client().getAlert(item.alert.identifier.value_or(""), std::nullopt,
                                                   {.timeLimit = kPatience});
    if (!details.value) continue;
    for (const alerts::Action& action : details.value->actions) {
      found.push_back(action.name);
    }
  }
  return found;
}

Words kinds(const std::string& bundle) {
  Words found;
  for (const auto& [name, installed] : installedBundles()) {
    if (bundle.empty() || name == bundle) {
      found.insert(found.end(), installed.types.begin(), installed.types.end());
    }
  }
  return found;
}

Words bundles(Session& session) {
  Words found =
      session.client().getAlertBundleNames({.timeLimit = kPatience}).value.value_or(Words());
  for (const auto& [name, installed] : installedBundles()) {
    found.push_back(name);
  }
  return found;
}

Words addresses(Session& session) {
  Words found;
  const auto recipients = session.client().getMailRecipients({.timeLimit = kPatience});
  for (const auto& recipient : recipients.value.value_or(std::vector<alerts::MailRecipient>())) {
    if (recipient.address) found.push_back(*recipient.address);
  }
  return found;
}

Words devices(Session& session) {
  Words found;
  const auto recipients = session.client().getPushRecipients({.timeLimit = kPatience});
  for (const auto& device : recipients.value.value_or(std::vector<alerts::PushRecipient>())) {
    if (device.guid) found.push_back(*device.guid);
  }
  return found;
}

Words attributes(Session& session) {
  Words found;
  const auto values = session.client().getAttributes({.timeLimit = kPatience});
  for (const auto& [name, value] : values.value.value_or(std::map<std::string, std::string>())) {
    found.push_back(name);
  }
  return found;
}

/// Values of options, by the option.
Words valuesOf(Session& session, const Place& place) {
  const std::string& option = place.option;
  if (option == "--bundle" || option == "-b") return bundles(session);
  if (option == "--type" || option == "-t") return kinds(place.bundle);
  if (option == "--json") return {"pretty", "short", "off"};
  if (option == "--mail" || option == "--push") return {"on", "off"};
  if (option == "--older-than") return {"30d", "90d", "1y"};
  if (option == "--since" || option == "-S" || option == "--until" || option == "-U") {
    return {"today", "yesterday", "-1h", "-1d"};
  }
  return {};
}

/// The argument of the verb that stands next.
std::string nextArgument(const Place& place) {
  std::size_t passed = 0;
  for (const CLI::Option* option : place.verb->get_options()) {
    if (!option->get_positional()) continue;
    const bool isList = option->get_expected_max() > 1;
    if (isList || passed == place.arguments.size()) return option->get_name(true, false);
    ++passed;
  }
  return {};
}

Words argumentsOf(Session& session, const Place& place) {
  const std::string name = nextArgument(place);
  const std::string parent = place.verb->get_parent() ? place.verb->get_parent()->get_name() : "";
  if (name == "ID") return identifiers(session);
  if (name == "ACTION") return actions(session);
  if (name == "BUNDLE" || (name == "NAME" && parent == "bundle")) return bundles(session);
  if (name == "NAME") return attributes(session);
  if (name == "KIND") return kinds(place.arguments.empty() ? "" : place.arguments.front());
  if (name == "ADDRESS" && place.verb->get_name() == "remove") return addresses(session);
  if (name == "DEVICE") return devices(session);
  if (name == "METHOD") {
    return methodNames(interfaceDescription(session, "com.ulmora.velto.AlertsDaemon.*"));
  }
  return {};
}

Words optionsOf(const CLI::App& verb) {
  Words found;
  for (const CLI::Option* option : verb.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      found.push_back("--" + name);
    }
    for (const std::string& name : option->get_snames()) {
      found.push_back("-" + name);
    }
  }
  return found;
}

Words candidates(Session& session, const CLI::App& app, const Words& words) {
  const Place place = placeOf(app, words);
  const std::string word = words.empty() ? "" : words.back();
  if (!place.option.empty()) return valuesOf(session, place);
  if (word.starts_with('-')) return optionsOf(*place.verb);
  Words found = argumentsOf(session, place);
  if (!place.arguments.empty()) return found;
  for (const CLI::App* verb : place.verb->get_subcommands([](const CLI::App*) { return true; })) {
    if (!verb->get_group().empty()) found.push_back(verb->get_name());
  }
  return found;
}

ExitStatus complete(Session& session, const CLI::App& app, const Words& words) {
  Words found = candidates(session, app, words);
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  const std::string word = words.empty() ? "" : words.back();
  for (const std::string& candidate : found) {
    // What a shell could take for something else is left to be written by hand.
    const bool isPlain = printable(candidate) == candidate;
    if (isPlain && candidate.starts_with(word)) session.write(candidate + '\n');
  }
  return kExitDone;
}

}  // namespace

void addCompleteVerb(VerbSet& verbs) {
  const auto words = std::make_shared<Words>();
  const CLI::App& app = verbs.app();
  Verb verb = verbs.add({.name = "complete"},
                        [words, &app](Session& session) { return complete(session, app, *words); });
  verb.hide();
  verb.argument("WORD", *words, {});
}

}  // namespace velto
