// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velto {

enum class JSONForm { kOff, kShort, kPretty };

/// How a verb is to do what it does: the options that all verbs have.
struct Ways {
  JSONForm json = JSONForm::kOff;
  bool isQuiet = false;   ///< bare identifiers and values only
  bool isUTC = false;     ///< instead of local and relative times
  bool hasPager = true;   ///< for long output on a terminal
  bool hasLegend = true;  ///< titles of tables, and what stands below them
  bool isSure = false;    ///< asks no questions
};

}  // namespace velto
