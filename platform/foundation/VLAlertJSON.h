#pragma once

#include <boost/json/value.hpp>

#include "platform/foundation/VLAlert.h"

namespace velto {

/// The alert as JSON: its members by name, dates as seconds since 2001-01-01 00:00:00 UTC, and the
/// attributes as jsonFromPropertyList makes them. What is absent is left out. Any thread.
boost::json::object jsonFromAlert(const VLAlert& alert);

}  // namespace velto
