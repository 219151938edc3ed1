// SPDX-License-Identifier: Apache-2.0
#include "platform/connection/Interface.h"

#include <algorithm>

#include "platform/foundation/ProgramMistake.h"

namespace velto {

Interface Interface::interfaceWithProtocol(const Protocol& protocol) {
  Interface interface;
  interface.addProtocol(protocol);
  return interface;
}

void Interface::addProtocol(const Protocol& protocol) {
  for (const ProtocolMethod& method : protocol.methods) {
    rows_.emplace(std::string(protocol.name).append(".").append(method.wireName),
                  Row{.method = &method, .protocol = &protocol, .object = protocols_.size()});
  }
  protocols_.push_back(&protocol);
}

void Interface::setClasses(ArgumentClasses classes, std::string_view selector,
                           std::size_t argumentIndex, bool ofReply) {
  const auto found = std::find_if(rows_.begin(), rows_.end(), [selector](const auto& entry) {
    return entry.second.method->selector == selector;
  });
  if (found == rows_.end() || argumentIndex != 0 || ofReply) {
    programMistake("classes for what " + std::string(protocols_.front()->name) +
                   " does not check: " + std::string(selector) + ", argument " +
                   std::to_string(argumentIndex) + (ofReply ? " of its reply" : ""));
  }
  found->second.classes = classes;
}

const Interface::Row* Interface::row(std::string_view fullName) const {
  const auto found = rows_.find(fullName);
  return found == rows_.end() ? nullptr : &found->second;
}

const Protocol* Interface::protocol(std::string_view name) const {
  const auto found = std::find_if(protocols_.begin(), protocols_.end(),
                                  [name](const Protocol* each) { return each->name == name; });
  return found == protocols_.end() ? nullptr : *found;
}

}  // namespace velto
