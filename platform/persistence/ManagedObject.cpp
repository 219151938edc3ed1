// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/ManagedObject.h"

#include <utility>

#include "platform/persistence/EntityObjects.h"
#include "platform/persistence/ObjectState.h"

namespace velto {

const AttributeValue& ManagedObject::value(std::size_t index) const {
  return state_->objects.value(*state_, index);
}

void ManagedObject::setValue(std::size_t index, AttributeValue value) {
  state_->objects.setValue(*state_, index, std::move(value));
}

}  // namespace velto
