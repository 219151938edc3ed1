// SPDX-License-Identifier: Apache-2.0
#include "tools/alerts/AlertPages.h"

#include <algorithm>
#include <utility>

#include "tools/frame/Failure.h"

namespace velto {
namespace {

/// The first page is to be there at once; the others cost the fewer calls the larger they are.
constexpr std::int64_t kFirstPage = 100;
constexpr std::int64_t kLargestPage = 1000;

}  // namespace

AlertPages::AlertPages(alerts::Client& client, alerts::ListQuery query,
                       std::optional<std::int64_t> count)
    : client_(client), query_(std::move(query)), left_(count) {}

std::int64_t AlertPages::pageSize() {
  const std::int64_t size = isFirst_ && !left_ ? kFirstPage : kLargestPage;
  return std::min(size, left_.value_or(size));
}

std::vector<alerts::ListItem> AlertPages::next() {
  // A page may be empty although there are more: those that a filter left over come later.
  while (isFirst_ || query_.after) {
    query_.limit = pageSize();
    if (*query_.limit == 0) break;
    isFirst_ = false;
    alerts::ListPage page = required(client_.list(query_));
    query_.after = std::move(page.next);
    if (left_) *left_ -= std::min(*left_, static_cast<std::int64_t>(page.items.size()));
    if (!page.items.empty()) return std::move(page.items);
  }
  return {};
}

}  // namespace velto
