#pragma once

#include <string>

namespace velto {

/// Orders fetched objects by one attribute. An absent value sorts below every present one: first
/// when ascending, last when descending.
struct SortDescriptor {
  std::string key;
  bool ascending = true;
};

}  // namespace velto
