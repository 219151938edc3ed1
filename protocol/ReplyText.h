#pragma once

// The parameters of a reply as JSON text, in one part or several.

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "alerts/AlertSequence.h"
#include "protocol/JSONCoding.h"

namespace velto {

/// How much of a list goes into one part, in bytes of JSON; a part ends with the first alert that
/// goes beyond.
inline constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

/// A text that is finished.
ReplyWriter finished(std::string text);

/// {"error": ...}, or {} without one.
ReplyWriter replyText(const std::optional<Error>& error);

/// {"<name>": ..., "error": ...}; what is absent is left out.
template <typename Result>
ReplyWriter replyText(std::string_view name, std::optional<Result> data, std::optional<Error> error,
                      bool /*more*/) {
  std::string text;
  JSONObjectText parameters(text);
  parameters.add(name, data);
  parameters.add("error", error);
  parameters.end();
  return finished(std::move(text));
}

/// A list of alerts, in order, and the error, which comes last. The alerts are read as they are
/// written.
ReplyWriter replyText(std::string_view name, std::optional<AlertSequence> alerts,
                      std::optional<Error> error, bool more);

}  // namespace velto
