// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/HelpText.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/text/Message.h"
#include "tools/text/Nearest.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

/// The verb whose arguments were read last.
const CLI::App& innermost(const CLI::App& app) {
  const auto parsed = app.get_subcommands();
  return parsed.empty() ? app : innermost(*parsed.back());
}

std::string fullName(const CLI::App& app) {
  const CLI::App* parent = app.get_parent();
  return parent == nullptr ? app.get_name() : fullName(*parent) + " " + app.get_name();
}

std::vector<std::string> verbNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(verb->get_name());
  }
  return names;
}

std::vector<std::string> optionNames(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
  return names;
}

/// Advice for whoever has mistyped something there.
std::string adviceIn(const CLI::App& verb, std::string_view written,
                     const std::vector<std::string>& names) {
  const std::string suggested = suggestion(written, names);
  return suggested.empty() ? say("see {} --help", fullName(verb)) : suggested;
}

Failure failureOfExtra(const CLI::App& verb, const std::string& extra) {
  const std::string shown = printable(extra);
  if (extra.starts_with('-')) {
    const std::string name = extra.substr(0, extra.find('='));
    return usageFailure(say("there is no option {}", printable(name)),
                        adviceIn(verb, name, optionNames(verb)));
  }
  const auto verbs = verbNames(verb);
  if (verbs.empty()) {
    return usageFailure(say("\"{}\" is one argument too many", shown), adviceIn(verb, {}, {}));
  }
  return usageFailure(say("there is no \"{}\"", fullName(verb) + " " + shown),
                      adviceIn(verb, extra, verbs));
}

/// The first argument that is required and not there.
std::string missingName(const CLI::App& verb) {
  for (const CLI::Option* option : verb.get_options()) {
    if (option->get_required() && option->count() == 0) {
      return option->get_positional() ? option->get_name(true, false)
                                      : option->get_name(false, true);
    }
  }
  return {};
}

}  // namespace

HelpText::HelpText() {
  column_width(28);
  label("Positionals", tr("Arguments"));
  label("Options", tr("Options"));
}

std::string HelpText::make_group(std::string group, bool isPositional,
                                 std::vector<const CLI::Option*> options) const {
  return CLI::Formatter::make_group(get_label(group), isPositional, std::move(options));
}

std::string HelpText::make_usage(const CLI::App* app, std::string /*name*/) const {
  std::string text = say("Usage: {}", fullName(*app));
  text += " [" + tr("OPTIONS") + "]";
  for (const CLI::Option* option : app->get_options()) {
    if (option->get_positional()) text += " " + make_option_usage(option);
  }
  if (!verbNames(*app).empty()) text += " [" + tr("VERB") + " ...]";
  return text + "\n";
}

std::string HelpText::make_option_opts(const CLI::Option* option) const {
  const bool hasValue = option->get_type_size() != 0 && !option->get_positional();
  return hasValue ? " " + option->get_type_name() : std::string();
}

Failure failureOfParsing(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& verb = innermost(app);
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    const auto extras = verb.remaining();
    return failureOfExtra(verb, extras.empty() ? app.remaining(true).front() : extras.front());
  }
  const std::string advice = say("see {} --help", fullName(verb));
  if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return usageFailure(say("{} needs {}", fullName(verb), missingName(verb)), advice);
  }
  const std::string words = error.what();
  if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
    // "Could not convert: NAME = WORD"; only numbers are converted.
    const std::string given = words.substr(std::min(words.find(": ") + 2, words.size()));
    return usageFailure(say("{} is no number", printable(given)), advice);
  }
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    return usageFailure(say("{} needs a value", printable(words.substr(0, words.find(':')))),
                        advice);
  }
  return usageFailure(printable(words), advice);
}

}  // namespace velto
