// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/SaveBatch.h"

#include <utility>

namespace velto {

void fail(std::span<Save> saves, const Error& failure) {
  for (Save& save : saves) {
    if (!save.error) save.error = failure;
  }
}

void tell(std::span<Save> saves) {
  for (Save& save : saves) {
    save.completion(std::move(save.error));
  }
}

}  // namespace velto
