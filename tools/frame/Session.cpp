// SPDX-License-Identifier: Apache-2.0
#include "tools/frame/Session.h"

#include <chrono>
#include <istream>
#include <ostream>
#include <unistd.h>
#include <utility>

#include <boost/json/serialize.hpp>

#include "platform/foundation/Languages.h"
#include "platform/foundation/Paths.h"
#include "tools/PrettyJSON.h"
#include "tools/frame/Failure.h"
#include "tools/text/Message.h"
#include "tools/text/Printable.h"
#include "tools/text/TimeText.h"

namespace velto {
namespace {

bool isYes(std::string_view answer) {
  const std::string yes = tr("yes");
  return !answer.empty() &&
         (std::string_view("yY").find(answer.front()) != std::string_view::npos ||
          (answer.front() | 0x20) == yes.front());
}

}  // namespace

Session::Session(const Ways& ways, Terminal terminal, std::istream& input, std::ostream& output,
                 std::ostream& errors)
    : ways_(ways),
      terminal_(terminal),
      input_(input),
      output_(output),
      errors_(errors),
      client_({.timeLimit = std::nullopt}),
      now_(alerts::Date::from(std::chrono::system_clock::now())),
      names_(rootedPath(VLAlertsDirectory), preferredLanguages().front()) {}

Session::~Session() = default;

std::string Session::language() const {
  return preferredLanguages().front();
}

std::string Session::bundleName(const std::optional<std::string>& bundle) {
  return bundle ? printable(names_.ofBundle(*bundle)) : "-";
}

std::string Session::typeName(const std::optional<std::string>& bundle,
                              const std::optional<std::string>& type) {
  if (!type) return "-";
  return printable(bundle ? names_.ofType(*bundle, *type) : *type);
}

void Session::write(std::string_view text) {
  // A terminal that has only ASCII would show something else for each byte of other characters.
  if (terminal_.isTerminal && !terminal_.hasUTF8 && !isJSON()) {
    output_ << asciiOnly(text);
  } else {
    output_ << text;
  }
}

void Session::tell(std::string_view line) {
  if (isForPeople()) write(std::string(line) + '\n');
}

void Session::print(const boost::json::value& document) {
  output_ << jsonText(document, ways_.json) << '\n';
}

void Session::flush() {
  output_.flush();
}

void Session::warn(std::string_view line) {
  output_.flush();
  errors_ << "alertsctl: " << line << std::endl;
}

void Session::page() {
  const bool isWanted = terminal_.isTerminal && ways_.hasPager && isForPeople();
  if (isWanted && !pager_ && Pager::isWanted()) pager_.emplace();
}

TableLook Session::tableLook() const {
  return {.width = terminal_.width,
          .hasColours = terminal_.hasColours,
          .hasTitles = ways_.hasLegend,
          .ellipsis = terminal_.ellipsis()};
}

std::string Session::styledIfColours(const std::string& text, CellStyle style) const {
  return terminal_.hasColours ? styled(text, style) : text;
}

std::string Session::timeCell(const std::optional<alerts::Date>& date) const {
  if (!date) return "-";
  return ways_.isUTC ? clockText(*date, true) : relativeText(*date, now_);
}

void Session::confirm(const std::string& question) {
  const bool isAsked = !ways_.isSure && terminal_.isTerminal && isatty(STDIN_FILENO) == 1;
  if (!isAsked) return;
  output_.flush();
  errors_ << question << ' ' << tr("[y/N]") << ' ' << std::flush;
  std::string answer;
  std::getline(input_, answer);
  if (!isYes(answer)) throw Failure{.what = tr("nothing was done")};
}

void Session::finish() {
  const bool isWritten = static_cast<bool>(output_.flush());
  const bool hadPager = pager_.has_value();
  pager_.reset();
  // Whoever has left the pager has seen enough.
  if (!isWritten && !hadPager) throw Failure{.what = tr("cannot write to standard output")};
}

std::string jsonText(const boost::json::value& document, JSONForm form) {
  return form == JSONForm::kPretty ? prettyJSON(document) : shortJSON(document);
}

}  // namespace velto
