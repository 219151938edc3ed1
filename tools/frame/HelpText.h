// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Formatter.hpp>

#include "tools/frame/Failure.h"

namespace velto {

/// Help in the reader's language: short, usage first.
class HelpText : public CLI::Formatter {
 public:
  HelpText();

  std::string make_group(std::string group, bool isPositional,
                         std::vector<const CLI::Option*> options) const override;
  std::string make_usage(const CLI::App* app, std::string name) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
};

/// What is wrong with a command line, in one line, with the names that may have been meant.
Failure failureOfParsing(const CLI::App& app, const CLI::ParseError& error);

}  // namespace velto
