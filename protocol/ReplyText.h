// SPDX-License-Identifier: Apache-2.0
#pragma once

// What an operation replies, as the parameters of a reply: JSON text, in one part or several.

#include <optional>
#include <string>
#include <string_view>

#include "alerts/AlertSequence.h"
#include "platform/connection/CallReply.h"
#include "protocol/JSONCoding.h"

namespace velto {

/// How much of a list goes into one part, in bytes of JSON; a part ends with the first alert that
/// goes beyond.
inline constexpr std::size_t kPieceSize = 96'000;
/// Most other replies are shorter, and not worth growing towards.
inline constexpr std::size_t kUsualSize = 512;

/// {"error": ...}, or {} without one.
CallReply replyWith(const std::optional<Error>& error);

/// {"<name>": ..., "error": ...}; what is absent is left out.
template <typename Result>
CallReply replyWith(std::string_view name, const std::optional<Result>& data,
                    const std::optional<Error>& error) {
  std::string text;
  text.reserve(kUsualSize);
  JSONObjectText parameters(text);
  parameters.add(name, data);
  parameters.add("error", error);
  parameters.end();
  return CallReply::parameters(text);
}

/// A list of alerts, in order, and the error, which comes last. The alerts are read as they are
/// written.
CallReply replyWith(std::string_view name, std::optional<AlertSequence> alerts,
                    std::optional<Error> error);

}  // namespace velto
