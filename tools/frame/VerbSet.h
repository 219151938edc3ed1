// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "tools/frame/ExitStatus.h"
#include "tools/frame/Verb.h"
#include "tools/frame/Ways.h"

namespace velto {

class Session;

/// Does what a verb is for; throws a Failure when it cannot.
using VerbBody = std::function<ExitStatus(Session&)>;

/// How a verb is presented. Texts in the reader's language.
struct VerbText {
  std::string name = {};
  std::string description = {};
  std::string example = {};  ///< a command line; may be several lines
};

/// The verbs of a command line, or of a group of it (`mail list`). One thread.
class VerbSet {
 public:
  /// `app` and `ways` outlive this object; `chosen` is set by the parser to what is to be done.
  VerbSet(CLI::App& app, Ways& ways, VerbBody& chosen) : app_(app), ways_(ways), chosen_(chosen) {}

  /// A new verb, to which options of its own can be added; the common ones are there.
  Verb add(const VerbText& text, VerbBody body);
  /// A verb that has verbs of its own, and does `body` without one.
  VerbSet group(const VerbText& text, VerbBody body);
  /// What the verbs are of.
  const CLI::App& app() const { return app_; }

 private:
  CLI::App& app_;
  Ways& ways_;
  VerbBody& chosen_;
};

/// The options that every verb has.
void addWays(CLI::App& app, Ways& ways);

}  // namespace velto
