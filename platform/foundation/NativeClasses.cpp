#include "platform/foundation/NativeClasses.h"

#include <utility>

#include "platform/foundation/NativeEmailFormatter.h"

namespace velto {

bool NativeClasses::isTaken(std::string_view className) const {
  MutexLock lock(mutex_);
  return formatters_.find(className) != formatters_.end();
}

void NativeClasses::add(Formatters formatters) {
  MutexLock lock(mutex_);
  formatters_.merge(std::move(formatters));
}

std::unique_ptr<EmailFormatter> NativeClasses::makeEmailFormatter(
    std::string_view className) const {
  NativeFormatterClass formatterClass;
  {
    MutexLock lock(mutex_);
    const auto found = formatters_.find(className);
    if (found == formatters_.end()) {
      return nullptr;
    }
    formatterClass = found->second;
  }
  // The bundle's code runs without the lock: it may take its time.
  void* object = formatterClass.functions->create();
  return object == nullptr ? nullptr
                           : std::make_unique<NativeEmailFormatter>(
                                 object, std::move(formatterClass), std::string(className));
}

}  // namespace velto
