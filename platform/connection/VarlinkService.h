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

  /// Takes the reply to a call, once: before `dispatch` returns, or later on any thread.
  using ReplyHandler = std::function<void(CallReply)>;

  /// Runs one call on `object`. `exported` is an interface of this service's protocol. Lets the
  /// exceptions of the method through.
  void dispatch(const VarlinkCall& call, const Interface& exported, ExportedObject& object,
                const ReplyHandler& handler) const;
  /// Whether the call takes a moment only.
  bool isQuick(const VarlinkCall& call) const;

 private:
  CallReply replyOf(InvocationResult result, const ProtocolMethod& method) const;
  CallReply serviceCall(std::string_view method, const VarlinkCall& call) const;
  CallReply interfaceDescription(const VarlinkCall& call) const;

  const Protocol& protocol_;
  std::unordered_map<std::string_view, const ProtocolMethod*> methods_;
  const std::string info_;  ///< the reply of GetInfo
};

}  // namespace velto
