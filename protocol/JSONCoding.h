// SPDX-License-Identifier: Apache-2.0
#pragma once

// The coding between values and the JSON that travels on the wire. A decoder reads from the call's
// text, without a tree of it in between, and tells where in the value something is wrong: of
// another type, or a member that its structure does not have. A member that is null is absent. Of
// several members of one name the last counts.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "alerts/AlertBundleSettings.h"
#include "alerts/AlertSequence.h"
#include "alerts/Recipients.h"
#include "alerts/VLAlert.h"
#include "alerts/VLAlertJSON.h"
#include "platform/foundation/Data.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Error.h"
#include "platform/foundation/JSONText.h"
#include "platform/foundation/PropertyList.h"
#include "platform/json/JSONSource.h"
#include "platform/propertylist/PropertyListJSON.h"
#include "protocol/ArgumentClasses.h"

namespace velto {

/// What the values of a call may cost until the operation has done with them, beside its text.
/// Counted with what becomes of them: a record for each alert and recipient, for instance. With the
/// longest call it stays below 100 MiB.
inline constexpr std::size_t kCallBudget = std::size_t{64} * 1024 * 1024;

// `classes` is the white-list of a collection argument, or null when the method has none. An array
// that it admits as an element is checked and not kept.
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, bool& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, std::string& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, std::int64_t& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, double& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, Date& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, Data& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, VLAlert& value);
/// Checks all alerts, and keeps few: the sequence reads the others from the call's text once more,
/// which has to stay as long as the sequence is used.
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, AlertSequence& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, AlertBundleSettings& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, MailRecipient& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, MailRecipientOrAddress& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes, PushRecipient& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::map<std::string, AlertBundleSettings>& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 PropertyList::Dictionary& value);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<std::string>& values);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<MailRecipient>& values);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<MailRecipientOrAddress>& values);
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<PushRecipient>& values);
/// Of elements that are no dictionaries, and so no recipients, none is kept; they are no mistake.
WrongPath decode(JSONSource& source, const ArgumentClasses* classes,
                 std::vector<std::optional<PushRecipient>>& values);

void appendJSON(std::string& text, const Error& error);
void appendJSON(std::string& text, const AlertBundleSettings& settings);
void appendJSON(std::string& text, const MailRecipient& recipient);
void appendJSON(std::string& text, const PushRecipient& recipient);

}  // namespace velto
