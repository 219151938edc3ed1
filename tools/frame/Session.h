// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include <boost/json/value.hpp>

#include <velto/Client.h>

#include "tools/bundlecheck/InstalledNames.h"
#include "tools/frame/Pager.h"
#include "tools/frame/Terminal.h"
#include "tools/frame/Ways.h"
#include "tools/text/Table.h"

namespace velto {

/// What a verb works with: the daemon, the terminal, and the ways that its user has asked for.
/// Output is gathered and written in its order; what cannot be written ends the program in the
/// destructor's caller, see `finish`. One thread.
class Session {
 public:
  /// The streams outlive this object.
  Session(const Ways& ways, Terminal terminal, std::istream& input, std::ostream& output,
          std::ostream& errors);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Ways& ways() const { return ways_; }
  const Terminal& terminal() const { return terminal_; }
  bool isJSON() const { return ways_.json != JSONForm::kOff; }
  /// Texts for people are wanted: neither JSON nor bare values.
  bool isForPeople() const { return !isJSON() && !ways_.isQuiet; }

  /// Its calls take as long as they take: whoever waits can see, and interrupt them.
  alerts::Client& client() { return client_; }
  alerts::Date now() const { return now_; }
  /// The reader's language, as a tag.
  std::string language() const;
  /// What that reader calls bundles and kinds of alerts, printable; "-" for one that is absent. The
  /// bundles are read on this machine's disk, beside the daemon.
  std::string bundleName(const std::optional<std::string>& bundle);
  std::string typeName(const std::optional<std::string>& bundle,
                       const std::optional<std::string>& type);
  std::istream& input() { return input_; }

  /// To standard output as it stands, which is printable.
  void write(std::string_view text);
  /// A line for people, left out with `--quiet` and `--json`.
  void tell(std::string_view line);
  /// A JSON document, in the form asked for, with a line break.
  void print(const boost::json::value& document);
  /// What was written is seen now.
  void flush();
  /// A line on standard error, whatever the ways.
  void warn(std::string_view line);

  /// From here on output may be long: a pager shows it, where one is wanted.
  void page();
  TableLook tableLook() const;
  std::string styledIfColours(const std::string& text, CellStyle style) const;
  /// A point in time for a cell of a table: how long ago, or with `--utc` when.
  std::string timeCell(const std::optional<alerts::Date>& date) const;

  /// Asks, on a terminal, unless the answer is known already; throws a Failure when it is no.
  /// Everywhere else it is yes.
  void confirm(const std::string& question);

  /// Waits for the pager, and throws a Failure when something could not be written.
  void finish();

 private:
  const Ways ways_;
  const Terminal terminal_;
  std::istream& input_;
  std::ostream& output_;
  std::ostream& errors_;
  alerts::Client client_;
  const alerts::Date now_;
  std::optional<Pager> pager_;
  InstalledNames names_;
};

/// The text of a JSON document in a form, without a line break.
std::string jsonText(const boost::json::value& document, JSONForm form);

}  // namespace velto
