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

/// The texts of the envelope's members, in the order of their names; empty for those left out.
using Envelope = std::array<std::string_view, kNames.size()>;

/// Finds the members, of several of one name the last. Nothing for what no call can have.
std::optional<Envelope> readEnvelope(std::string_view message) {
  JSONCursor cursor(message);
  if (cursor.kind() != Kind::kObject) return std::nullopt;
  Envelope envelope;
  cursor.enter();
  while (const auto name = cursor.nextMember()) {
    const auto known = std::find(kNames.begin(), kNames.end(), *name);
    const bool isKnown = known != kNames.end();
    // Names with a dot are other people's extensions.
    if (!isKnown && name->find('.') == std::string_view::npos) return std::nullopt;
    const std::size_t start = cursor.position();
    cursor.skip();
    if (isKnown) {
      envelope[static_cast<std::size_t>(known - kNames.begin())] =
          message.substr(start, cursor.position() - start);
    }
  }
  return envelope;
}

/// Takes over a member with `take`. False when it is neither of this kind nor null.
template <typename Take>
bool takeMember(std::string_view text, Kind kind, const Take& take) {
  if (text.empty()) return true;
  JSONCursor cursor(text);
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
  const auto takeParameters = [&](JSONCursor& cursor) { call.parameters_ = cursor.text(); };
  const auto takeFlag = [](bool& flag) {
    return [&flag](JSONCursor& cursor) { flag = cursor.readBool(); };
  };
  const bool isCall = takeMember(method, Kind::kString, takeMethod) && hasMethod &&
                      takeMember(parameters, Kind::kObject, takeParameters) &&
                      takeMember(oneway, Kind::kBool, takeFlag(call.oneway_)) &&
                      takeMember(more, Kind::kBool, takeFlag(call.more_)) &&
                      takeMember(upgrade, Kind::kBool, takeFlag(call.upgrade_));
  return isCall ? std::optional(std::move(call)) : std::nullopt;
}

}  // namespace velto
