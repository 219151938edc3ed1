// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/saving/SaveBatch.h"

#include <memory>
#include <new>
#include <utility>

namespace velto {

bool handOver(SerialQueue& queue, SaveBatch& batch, const std::function<void(SaveBatch&)>& work) {
  std::shared_ptr<SaveBatch> handed;
  try {
    handed = std::make_shared<SaveBatch>(std::move(batch));
    if (queue.perform([work, handed] { work(*handed); })) return true;
  } catch (const std::bad_alloc&) {
  }
  if (handed != nullptr) batch = std::move(*handed);
  return false;
}

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
