// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/VerbSet.h"

#include <string_view>
#include <unistd.h>
#include <utility>

#include <CLI/CLI.hpp>

#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"

namespace velto {
namespace {

JSONForm formNamed(const std::string& name) {
  if (name == "pretty") return JSONForm::kPretty;
  if (name == "short") return JSONForm::kShort;
  if (name == "off") return JSONForm::kOff;
  throw usageFailure(
      say("--json is one of pretty, short and off, and not \"{}\"", printable(name)));
}

std::string footer(const std::string& example) {
  std::string text = tr("Example:");
  for (std::size_t start = 0; start <= example.size();) {
    const std::size_t end = std::min(example.find('\n', start), example.size());
    text += "\n  " + example.substr(start, end - start);
    start = end + 1;
  }
  return text;
}

}  // namespace

Verb VerbSet::add(const VerbText& text, VerbBody body) {
  CLI::App* verb = app_.add_subcommand(text.name, text.description);
  verb->group(tr("Verbs"));
  verb->footer(footer(text.example));
  verb->set_help_flag("-h,--help", tr("Tell about this, and do nothing"));
  addWays(*verb, ways_);
  verb->callback([&chosen = chosen_, body = std::move(body)] {
    // A group's own body is for a command line without any of its verbs, which come first.
    if (!chosen) chosen = body;
  });
  return Verb(*verb);
}

VerbSet VerbSet::group(const VerbText& text, VerbBody body) {
  add(text, std::move(body));
  CLI::App* group = app_.get_subcommand(text.name);
  group->require_subcommand(0, 1);
  return {*group, ways_, chosen_};
}

void addWays(CLI::App& app, Ways& ways) {
  const std::string group = tr("Common options");
  const auto flag = [&](const char* name, bool& value, bool isOn, const std::string& text) {
    app.add_flag_callback(
           name, [&value, isOn] { value = isOn; }, text)
        ->group(group);
  };
  app.add_option_function<std::string>(
         "--json", [&ways](const std::string& name) { ways.json = formNamed(name); },
         tr("Print JSON and nothing else: pretty, short or off"))
      ->type_name(tr("FORM"))
      ->group(group);
  app.add_flag_callback(
         "-j",
         [&ways] { ways.json = isatty(STDOUT_FILENO) == 1 ? JSONForm::kPretty : JSONForm::kShort; },
         tr("The same: pretty on a terminal, else short"))
      ->group(group);
  flag("-q,--quiet", ways.isQuiet, true, tr("Print bare identifiers and values only"));
  flag("--utc", ways.isUTC, true, tr("Tell times in UTC"));
  flag("--no-pager", ways.hasPager, false, tr("Do not show long output in a pager"));
  flag("--no-legend", ways.hasLegend, false, tr("Leave out titles and sums"));
  flag("-y,--yes", ways.isSure, true, tr("Ask no questions"));
}

}  // namespace velto
