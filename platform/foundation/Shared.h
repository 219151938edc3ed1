// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "platform/foundation/ProgramMistake.h"

namespace velto {

/// Lets operations that are called without an object find the one that the program has made for
/// them. While a `Shared<Object>` lives, its object is the shared one of the class; before and
/// after, whichever was so before it. The object is not owned and outlives it.
///
/// Made and dropped in the order of scopes, while no other thread uses the class's shared object,
/// which any thread may do in between.
template <typename Object>
class Shared {
 public:
  explicit Shared(Object& object) : former_(current_.exchange(&object)) {}
  ~Shared() { current_ = former_; }
  Shared(const Shared&) = delete;
  Shared& operator=(const Shared&) = delete;

  /// The object, for the operation that asks. Without one the program is wrong, and ends.
  static Object& object(std::string_view operation) {
    Object* const found = current_;
    if (found == nullptr) {
      programMistake(std::string(operation) + " is used before its object is installed");
    }
    return *found;
  }

 private:
  static inline std::atomic<Object*> current_ = nullptr;

  Object* const former_;
};

}  // namespace velto
