// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velto {

/// How a cell is to look, where there are colours.
enum class CellStyle { kPlain, kBold, kDim, kRed, kYellow, kGreen };

struct TableCell {
  std::string text = {};  ///< printable, one line
  CellStyle style = CellStyle::kPlain;
};

struct TableColumn {
  std::string title = {};
  /// A column with a higher number goes sooner where there is too little room; 0 stays.
  int leavesAt = 0;
  /// Down to so many columns of the terminal its texts may be cut; 0 for not at all.
  std::size_t minimumWidth = 0;
  bool isNumber = false;  ///< stands at the right
};

/// How tables are drawn.
struct TableLook {
  std::optional<std::size_t> width = {};  ///< of the terminal; absent: as wide as it gets
  bool hasColours = false;
  bool hasTitles = true;
  std::string ellipsis = "…";
};

/// A table, drawn a row a line. The widths are those that suit the rows that it is made with; more
/// rows may be drawn to the same widths, so that a list without end can be shown as it comes. One
/// thread.
class Table {
 public:
  using Row = std::vector<TableCell>;

  /// Each row has a cell for each column.
  Table(std::vector<TableColumn> columns, std::vector<Row> rows, TableLook look);

  /// The titles, when they are wanted, and the rows that it was made with, a line each.
  std::string text() const;
  std::string line(const Row& row) const;

 private:
  std::size_t naturalWidth(std::size_t column) const;
  std::size_t smallestWidth(std::size_t column) const;
  std::size_t total() const;
  bool dropColumn();
  void narrow();

  const std::vector<TableColumn> columns_;
  const std::vector<Row> rows_;
  const TableLook look_;
  std::vector<std::size_t> shown_;   ///< the columns that have stayed
  std::vector<std::size_t> widths_;  ///< by column
};

/// The text in a style, for a terminal with colours.
std::string styled(const std::string& text, CellStyle style);

}  // namespace velto
