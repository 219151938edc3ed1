// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/VarlinkMessage.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/json/JSONCursor.h"
#include "platform/json/JSONSyntax.h"

namespace velto {
namespace {

using Kind = JSONCursor::Kind;

constexpr std::array<std::string_view, 5> kNames{"method", "parameters", "oneway", "more",
                                                 "upgrade"};

/// Where the values of the envelope's members are, in the order of their names.
using Envelope = std::array<std::optional<std::size_t>, kNames.size()>;

/// Finds the members, of several of one name the last. Nothing for what no call can have.
std::optional<Envelope> readEnvelope(std::string_view message) {
  JSONCursor cursor(message);
  if (cursor.kind() != Kind::kObject) return std::nullopt;
  Envelope envelope;
  cursor.enter();
  while (const auto name = cursor.nextMember()) {
    const auto known = std::find(kNames.begin(), kNames.end(), *name);
    if (known != kNames.end()) {
      envelope[static_cast<std::size_t>(known - kNames.begin())] = cursor.position();
    } else if (name->find('.') == std::string_view::npos) {
      // Names with a dot are other people's extensions.
      return std::nullopt;
    }
    cursor.skip();
  }
  return envelope;
}

/// Takes over a member with `take`. False when it is neither of this kind nor null.
template <typename Take>
bool takeMember(std::string_view message, std::optional<std::size_t> position, Kind kind,
                const Take& take) {
  if (!position) return true;
  JSONCursor cursor(message, *position);
  if (cursor.kind() == kind) {
    take(cursor);
    return true;
  }
  return cursor.kind() == Kind::kNull;
}

}  // namespace

std::optional<VarlinkCall> VarlinkCall::parse(std::string_view message) {
  const auto envelope = isJSON(message) ? readEnvelope(message) : std::nullopt;
  if (!envelope) return std::nullopt;
  const auto& [method, parameters, oneway, more, upgrade] = *envelope;
  VarlinkCall call;
  bool hasMethod = false;
  const auto takeMethod = [&](JSONCursor& cursor) {
    hasMethod = true;
    call.method_ = cursor.takeString();
  };
  const auto takeParameters = [&, start = parameters](JSONCursor& cursor) {
    cursor.skip();
    call.parameters_ = message.substr(*start, cursor.position() - *start);
  };
  const auto takeFlag = [](bool& flag) {
    return [&flag](JSONCursor& cursor) { flag = cursor.readBool(); };
  };
  const bool isCall = takeMember(message, method, Kind::kString, takeMethod) && hasMethod &&
                      takeMember(message, parameters, Kind::kObject, takeParameters) &&
                      takeMember(message, oneway, Kind::kBool, takeFlag(call.oneway_)) &&
                      takeMember(message, more, Kind::kBool, takeFlag(call.more_)) &&
                      takeMember(message, upgrade, Kind::kBool, takeFlag(call.upgrade_));
  return isCall ? std::optional(std::move(call)) : std::nullopt;
}

}  // namespace velto
