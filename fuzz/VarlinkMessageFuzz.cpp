// SPDX-License-Identifier: Apache-2.0
// Any bytes, in any portions, are cut into messages and read as calls; whatever is taken for a call
// can be answered.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/connection/CallReply.h"
#include "platform/connection/JSONReader.h"
#include "platform/connection/MessageBuffer.h"
#include "platform/connection/VarlinkMessage.h"

namespace {

void check(bool condition) {
  if (!condition) __builtin_trap();
}

/// What a call brought in is JSON again when it is sent back.
void readCall(std::string_view message) {
  const auto call = velto::VarlinkCall::parse(message);
  if (!call) return;
  std::string reply;
  velto::CallReply::parameters(call->parameters()).writeNext(reply, call->more());
  check(reply.back() == '\0');
  reply.pop_back();
  const auto document = velto::readJSON(reply);
  check(document && document->at("parameters") == *velto::readJSON(call->parameters()));
  const auto error = velto::CallReply::error("a.Error", "name", call->method());
  check(velto::readJSON(error.text()).has_value());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The first byte says how long the portions are.
  const std::size_t portion = std::size_t{data[0]} + 1;
  std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  velto::MessageBuffer buffer;
  while (!bytes.empty()) {
    buffer.add(bytes.substr(0, portion));
    while (const auto message = buffer.next()) {
      readCall(*message);
    }
    buffer.keep();
    bytes.remove_prefix(std::min(portion, bytes.size()));
  }
  return 0;
}
