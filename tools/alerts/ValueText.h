// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <velto/Value.h>

#include "tools/frame/Session.h"

namespace velto {

/// A value of an alert's attributes for people: texts as they are, dates as dates, data as base64,
/// everything else as JSON. Printable.
std::string valueText(const Session& session, const alerts::Value& value);

/// `name=text`, or `name:=json` for other kinds of values. Throws a Failure for what is neither.
std::pair<std::string, alerts::Value> parseAttribute(const std::string& written);

}  // namespace velto
