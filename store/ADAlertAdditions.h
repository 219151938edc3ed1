#pragma once

#include <optional>

#include "platform/foundation/Data.h"
#include "platform/foundation/VLAlert.h"
#include "platform/persistence/ManagedObjectContext.h"
#include "store/ADAlert.h"

namespace velto {

/// The alert that a record holds. Every field is copied as it stands; attributes that are no
/// property-list dictionary read as absent.
VLAlert initWithADAlert(const ADAlert& record);

/// A new record of the alert in the context, not saved. Nothing is filled in or checked; attributes
/// that have no encoding are stored as absent.
ADAlert insertADAlertObjectInManagedObjectContext(const VLAlert& alert,
                                                  ManagedObjectContext& context);

}  // namespace velto
