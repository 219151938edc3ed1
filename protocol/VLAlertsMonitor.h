// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/connection/CallReply.h"
#include "platform/connection/Interface.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "protocol/MonitorValues.h"

namespace velto {

/// What a method of the watching interface replies: its data, or the error in place of it.
template <typename Result>
using MonitorOutcome = std::variant<Result, CallReply>;

// The errors of the watching interface.
CallReply monitorNotPermitted();
CallReply noSuchAlert(std::string_view identifier);
CallReply invalidPosition();
/// The store cannot be read. The interface has no error for that, and no data would be a lie.
CallReply storeUnavailable(const Error& error);

/// What administrators' tools watch. Each method replies when it returns; it lets no exception out
/// but std::bad_alloc, which ends the connection. A method that an object leaves as it is here is
/// answered with MethodNotImplemented. What a method requires has been checked to be there.
///
/// Calls of one connection come one at a time, on any thread.
class VLAlertsMonitor : public ExportedObject {
 public:
  virtual MonitorOutcome<MonitorStatus> getStatus() { return CallReply(); }
  virtual MonitorOutcome<MonitorPage> list(const MonitorListQuery& /*query*/) {
    return CallReply();
  }
  virtual MonitorOutcome<MonitorAlert> getAlert(const std::string& /*identifier*/,
                                                const std::optional<std::string>& /*locale*/) {
    return CallReply();
  }
  virtual MonitorOutcome<MonitorHistory> getHistory(Date /*from*/, Date /*to*/, double /*step*/) {
    return CallReply();
  }
  /// The stream has its first message ready at once.
  virtual MonitorOutcome<std::unique_ptr<ReplyStream>> follow(std::optional<std::string> /*bundle*/,
                                                              std::optional<std::string> /*type*/) {
    return CallReply();
  }
};

/// The protocol that VLAlertsMonitor is: its methods' rows, in order, and the interface file's
/// text.
const Protocol& alertsMonitorProtocol();

}  // namespace velto
