#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/connection/Interface.h"
#include "platform/connection/VarlinkMessage.h"

namespace velto {

/// What there is to send for one call: the finished text of an error reply, or else parameters.
struct CallReply {
  std::string error;
  ReplyWriter parameters;
};

/// One protocol as a Varlink service: finds the method that a call names, and adds what every
/// service has of its own, the interface org.varlink.service. Immutable; any thread.
class VarlinkService {
 public:
  /// `protocol` must outlive the service.
  explicit VarlinkService(const Protocol& protocol);

  /// Runs one call on `object` and returns when it has replied. `exported` is an interface of this
  /// service's protocol. Lets the exceptions of the method through.
  CallReply dispatch(const VarlinkCall& call, const Interface& exported,
                     ExportedObject& object) const;
  /// Whether the call takes a moment only.
  bool isQuick(const VarlinkCall& call) const;

 private:
  CallReply invoke(const ProtocolMethod& method, const VarlinkCall& call, const Interface& exported,
                   ExportedObject& object) const;
  CallReply serviceCall(std::string_view method, const VarlinkCall& call) const;
  CallReply interfaceDescription(const VarlinkCall& call) const;

  const Protocol& protocol_;
  std::unordered_map<std::string_view, const ProtocolMethod*> methods_;
  const std::string info_;  ///< the reply of GetInfo
};

}  // namespace velto
