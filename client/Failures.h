// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <boost/json/object.hpp>

#include <velto/Error.h>

#include "platform/foundation/Error.h"

namespace velto::alerts {

/// An error of the library's own.
Error localError(ErrorKind kind, std::string description);

/// The error of a connection that could not be made.
Error errorOfConnecting(const std::string& path, const velto::Error& failure);
/// The error of one that broke while a call was sent, of so many bytes, or answered.
Error errorOfSending(std::size_t callSize, const velto::Error& failure);
Error errorOfReceiving(const velto::Error& failure);

/// A Varlink error, by its full name.
Error errorOfAnswer(std::string_view name, const boost::json::object& parameters);
/// The service's own error in the parameters of a reply. Nothing when there is none; `isWellFormed`
/// is false when what stands there is none of the service's.
std::optional<Error> serviceError(const boost::json::object& parameters, bool& isWellFormed);

}  // namespace velto::alerts
