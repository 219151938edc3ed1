// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "alerts/VLAlert.h"
#include "platform/foundation/Data.h"
#include "platform/persistence/ManagedObjectContext.h"
#include "platform/persistence/StoredRow.h"
#include "store/ADAlert.h"

namespace velto {

/// The alert that a record holds. Every field is copied as it stands; attributes that are no
/// property-list dictionary read as absent.
VLAlert initWithADAlert(const ADAlert& record);

/// The JSON of that alert, from the row of its record.
void appendAlertJSON(std::string& text, const StoredRow& row);

/// The same from the values that a record has, in the order of its attributes.
void appendAlertJSON(std::string& text, const std::vector<AttributeValue>& values);

/// The dictionary as a record holds it: a binary property list. Nothing for an absent dictionary or
/// one that has no encoding.
std::optional<Data> encodedAttributes(const std::optional<PropertyList::Dictionary>& attributes);

/// A new record of the alert in the context, not saved. Nothing is filled in or checked; attributes
/// that have no encoding are stored as absent.
ADAlert insertADAlertObjectInManagedObjectContext(const VLAlert& alert,
                                                  ManagedObjectContext& context);

}  // namespace velto
