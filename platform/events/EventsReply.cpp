// SPDX-License-Identifier: Apache-2.0
#include "platform/events/EventsReply.h"

#include <string>

#include <boost/json.hpp>

#include "platform/connection/JSONReader.h"
#include "platform/events/EventsServiceClient.h"

namespace velto {

std::optional<Error> errorInEventsReply(std::string_view message) {
  const auto json = readJSON(message);
  const boost::json::object* reply = json ? json->if_object() : nullptr;
  const boost::json::value* error = reply == nullptr ? nullptr : reply->if_contains("error");
  const bool hasError = error != nullptr && !error->is_null();
  if (reply == nullptr || (hasError && !error->is_string())) {
    return makeError(kEventsErrorDomain, kEventsNoReplyErrorCode,
                     "The events service sent what is no answer.");
  }
  if (!hasError) {
    return std::nullopt;
  }
  std::string description = "The events service answered with " + std::string(error->get_string());
  if (const boost::json::value* parameters = reply->if_contains("parameters")) {
    description += ": " + boost::json::serialize(*parameters);
  }
  return makeError(kEventsErrorDomain, kEventsRefusedErrorCode, description);
}

}  // namespace velto
