#pragma once

// The parameters of a reply as JSON text, in one piece or several.

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "protocol/JSONCoding.h"

namespace velto {

/// Gives the pieces of a reply one after the other, then nothing.
using ReplyPieces = std::function<std::optional<std::string>()>;

/// How much of a list goes into one piece, in bytes of JSON; a piece ends with the first alert that
/// goes beyond.
inline constexpr std::size_t kPieceSize = std::size_t{64} * 1024;

ReplyPieces onePiece(boost::json::object parameters);

/// {"error": ...}, or {} without one.
ReplyPieces replyText(const std::optional<Error>& error);

/// {"<name>": ..., "error": ...}; what is absent is left out.
template <typename Result>
ReplyPieces replyText(std::string_view name, std::optional<Result> data, std::optional<Error> error,
                      bool /*more*/) {
  boost::json::object parameters;
  if (data) {
    parameters.emplace(name, encode(*data));
  }
  if (error) {
    parameters.emplace("error", encode(*error));
  }
  return onePiece(std::move(parameters));
}

/// A list of alerts, in pieces when the caller wants `more`: in order, the error in the last.
ReplyPieces replyText(std::string_view name, std::optional<std::vector<VLAlert>> alerts,
                      std::optional<Error> error, bool more);

}  // namespace velto
