// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/connection/CallReply.h"
#include "platform/connection/Interface.h"
#include "platform/connection/VarlinkMessage.h"

namespace velto {

/// The reply to a call of a method that `exported` does not have: of the interface
/// org.varlink.service, which every service has of its own, or the error that says what is wrong
/// with the call. Any thread.
CallReply serviceReply(const VarlinkCall& call, const Interface& exported);

/// The error of a method that the interface has and the object does not offer.
CallReply notImplemented(const Interface::Row& row);

}  // namespace velto
