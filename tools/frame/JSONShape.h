// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>

#include <velto/Alert.h>
#include <velto/Monitor.h>
#include <velto/Value.h>

#include "tools/frame/Failure.h"

namespace velto {

// The shape of what `--json` prints, which docs/alertsctl.schema.json describes. What is absent is
// left out. Any thread.

/// A date as RFC 3339 has it, in UTC; null where that has no text for it.
boost::json::value asJSON(const std::optional<alerts::Date>& date);
boost::json::object asJSON(const alerts::Alert& alert);
boost::json::object asJSON(const alerts::ListItem& item);
boost::json::object asJSON(const alerts::AlertDetails& details);
boost::json::object asJSON(const alerts::Status& status);
boost::json::object asJSON(const alerts::Event& event);
boost::json::object asJSON(const Failure& failure);
/// Dates and data are objects with one reserved key there, as in the service's interface.
boost::json::object asJSON(const alerts::Value::Dictionary& values);

}  // namespace velto
