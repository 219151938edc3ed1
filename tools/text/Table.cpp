// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Table.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "tools/text/Width.h"

namespace velto {
namespace {

constexpr std::size_t kGap = 2;

const char* sequence(CellStyle style) {
  switch (style) {
    case CellStyle::kBold:
      return "\x1b[1m";
    case CellStyle::kDim:
      return "\x1b[2m";
    case CellStyle::kRed:
      return "\x1b[31m";
    case CellStyle::kYellow:
      return "\x1b[33m";
    case CellStyle::kGreen:
      return "\x1b[32m";
    case CellStyle::kPlain:
      break;
  }
  return "";
}

std::string withoutTrailingBlanks(std::string line) {
  line.resize(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

std::string styled(const std::string& text, CellStyle style) {
  return style == CellStyle::kPlain ? text : sequence(style) + text + "\x1b[0m";
}

Table::Table(std::vector<TableColumn> columns, std::vector<Row> rows, TableLook look)
    : columns_(std::move(columns)),
      rows_(std::move(rows)),
      look_(std::move(look)),
      shown_(columns_.size()) {
  std::iota(shown_.begin(), shown_.end(), 0U);
  for (const std::size_t column : shown_) {
    widths_.push_back(naturalWidth(column));
  }
  if (look_.width) narrow();
}

std::size_t Table::naturalWidth(std::size_t column) const {
  std::size_t width = look_.hasTitles ? displayWidth(columns_[column].title) : 1;
  for (const Row& row : rows_) {
    width = std::max(width, displayWidth(row[column].text));
  }
  return width;
}

std::size_t Table::smallestWidth(std::size_t column) const {
  const std::size_t minimum = columns_[column].minimumWidth;
  return minimum == 0 ? widths_[column] : std::min(widths_[column], minimum);
}

std::size_t Table::total() const {
  std::size_t sum = shown_.empty() ? 0 : kGap * (shown_.size() - 1);
  for (const std::size_t column : shown_) {
    sum += widths_[column];
  }
  return sum;
}

/// Takes out the column that can be missed most; false when none can.
bool Table::dropColumn() {
  const auto last =
      std::max_element(shown_.begin(), shown_.end(), [this](std::size_t left, std::size_t right) {
        return columns_[left].leavesAt < columns_[right].leavesAt;
      });
  if (last == shown_.end() || columns_[*last].leavesAt == 0) return false;
  shown_.erase(last);
  return true;
}

/// Columns go until the others would fit when cut; then the widest are cut, a little each, so that
/// short ones keep their texts.
void Table::narrow() {
  const auto smallestTotal = [this] {
    std::size_t sum = kGap * (shown_.size() - 1);
    for (const std::size_t column : shown_) {
      sum += smallestWidth(column);
    }
    return sum;
  };
  while (smallestTotal() > *look_.width && dropColumn()) {
  }
  while (total() > *look_.width) {
    const auto room = [this](std::size_t column) {
      return widths_[column] > smallestWidth(column) ? widths_[column] : 0;
    };
    const auto widest = std::max_element(
        shown_.begin(), shown_.end(),
        [&](std::size_t left, std::size_t right) { return room(left) < room(right); });
    if (widest == shown_.end() || room(*widest) == 0) return;
    --widths_[*widest];
  }
}

std::string Table::line(const Row& row) const {
  std::string text;
  std::size_t room = look_.width.value_or(std::string::npos);
  for (const std::size_t column : shown_) {
    const bool isFirst = column == shown_.front();
    if (!isFirst && room <= kGap) break;
    if (!isFirst) text.append(kGap, ' ');
    room -= isFirst ? 0 : kGap;
    // The last column may have what the others leave, and all of it where nobody asks for less.
    const bool isLast = column == shown_.back();
    const std::size_t width = isLast ? room : std::min(widths_[column], room);
    std::string cell =
        look_.width ? fitted(row[column].text, width, look_.ellipsis) : row[column].text;
    const std::size_t used = displayWidth(cell);
    const std::string blanks(used < widths_[column] ? widths_[column] - used : 0, ' ');
    if (look_.hasColours) cell = styled(cell, row[column].style);
    text += columns_[column].isNumber ? blanks + cell : cell + (isLast ? "" : blanks);
    room -= std::min(room, std::max(used, isLast ? 0 : widths_[column]));
  }
  return withoutTrailingBlanks(std::move(text)) + '\n';
}

std::string Table::text() const {
  std::string text;
  if (look_.hasTitles) {
    Row titles;
    for (const TableColumn& column : columns_) {
      titles.push_back({column.title, CellStyle::kBold});
    }
    text += line(titles);
  }
  for (const Row& row : rows_) {
    text += line(row);
  }
  return text;
}

}  // namespace velto
