// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace velto {

/// The words for a condition that holds and for one that does not.
struct YesAndNo {
  std::string_view yes;
  std::string_view no;
};

/// Those of a language by its ISO 639 code, such as "de"; English for one that is not known here.
/// Any thread.
YesAndNo yesAndNoIn(std::string_view language);

}  // namespace velto
