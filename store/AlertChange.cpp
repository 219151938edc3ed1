// SPDX-License-Identifier: Apache-2.0
#include "store/AlertChange.h"

#include "store/ADAlert.h"
#include "store/ADAlertAdditions.h"

namespace velto {
namespace {

int isAbsent(const std::vector<AttributeValue>& values, std::size_t position) {
  return std::holds_alternative<std::monostate>(values[position]) ? 1 : 0;
}

}  // namespace

bool AlertChange::isOfAlert(const ChangedRow& row) {
  return *row.entity == ADAlert::kEntityName;
}

const std::string* AlertChange::identifier() const {
  return std::get_if<std::string>(&values()[positionOf<ADAlert>("identifier")]);
}

const std::string* AlertChange::type() const {
  return std::get_if<std::string>(&values()[positionOf<ADAlert>("type")]);
}

const std::string* AlertChange::bundle() const {
  return std::get_if<std::string>(&values()[positionOf<ADAlert>("bundle")]);
}

void AlertChange::appendAlert(std::string& text) const {
  appendAlertJSON(text, values());
}

int AlertChange::unread() const {
  return withoutValue(positionOf<ADAlert>("readDate"));
}

int AlertChange::unresolved() const {
  return withoutValue(positionOf<ADAlert>("resolvedDate"));
}

int AlertChange::withoutValue(std::size_t position) const {
  const int now = row_.after == nullptr ? 0 : isAbsent(*row_.after, position);
  return now - (row_.before.empty() ? 0 : isAbsent(row_.before, position));
}

}  // namespace velto
