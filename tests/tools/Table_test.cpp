// SPDX-License-Identifier: Apache-2.0
#include "tools/text/Table.h"

#include <sstream>

#include "tools/text/Width.h"

namespace velto {
namespace {

const std::vector<TableColumn>& columns() {
  static const std::vector<TableColumn> columns = {
      {.title = "SENT"},
      {.title = "BUNDLE", .leavesAt = 1, .minimumWidth = 6},
      {.title = "COUNT", .leavesAt = 2, .isNumber = true},
      {.title = "SUBJECT", .minimumWidth = 10}};
  return columns;
}

std::vector<Table::Row> rows() {
  return {{{"now"}, {"Disk"}, {"7"}, {"/home is almost full, and so is /srv"}},
          {{"2 h ago"}, {"プリンター"}, {"12"}, {"紙がありません、補充してください"}},
          {{"3 days ago"}, {"Load"}, {"1"}, {"e\u0301te\u0301"}}};
}

std::string drawn(std::optional<std::size_t> width) {
  return Table(columns(), rows(), {.width = width}).text();
}

TEST(Table, isAsWideAsItGetsWithoutATerminal) {
  EXPECT_EQ(drawn({}),
            "SENT        BUNDLE      COUNT  SUBJECT\n"
            "now         Disk            7  /home is almost full, and so is /srv\n"
            "2 h ago     プリンター     12  紙がありません、補充してください\n"
            "3 days ago  Load            1  e\u0301te\u0301\n");
}

TEST(Table, cutsTheWidestFirst) {
  EXPECT_EQ(drawn(50),
            "SENT        BUNDLE      COUNT  SUBJECT\n"
            "now         Disk            7  /home is almost fu…\n"
            "2 h ago     プリンター     12  紙がありません、補…\n"
            "3 days ago  Load            1  e\u0301te\u0301\n");
}

TEST(Table, leavesColumnsOutWhereThereIsNoRoom) {
  EXPECT_EQ(drawn(30),
            "SENT        BUNDLE  SUBJECT\n"
            "now         Disk    /home is …\n"
            "2 h ago     プリ…   紙があり…\n"
            "3 days ago  Load    e\u0301te\u0301\n");
}

TEST(Table, neverWritesBeyondTheWidth) {
  for (std::size_t width = 1; width <= 100; ++width) {
    std::istringstream lines(drawn(width));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(displayWidth(line), width) << line;
    }
  }
}

TEST(Table, canBeWithoutTitles) {
  const Table table({{.title = "A LONG TITLE"}, {.title = "B"}}, {{{"x"}, {"y"}}},
                    {.hasTitles = false});
  EXPECT_EQ(table.text(), "x  y\n");
}

TEST(Table, drawsLaterRowsToTheSameWidths) {
  const Table table({{.title = "A"}, {.title = "B"}}, {{{"xxxx"}, {"y"}}}, {.width = 10});
  EXPECT_EQ(table.line({{"longer"}, {"z"}}), "lon…  z\n");
  const Table wide({{.title = "A"}, {.title = "B"}}, {{{"xxxx"}, {"y"}}}, {});
  EXPECT_EQ(wide.line({{"longer"}, {"z"}}), "longer  z\n");
}

TEST(Table, coloursCellsAndNotBlanks) {
  const Table table({{.title = "A"}, {.title = "B"}},
                    {{{"x", CellStyle::kRed}, {"y"}}, {{"xx"}, {"y"}}},
                    {.hasColours = true, .hasTitles = false});
  EXPECT_EQ(table.text(), "\x1b[31mx\x1b[0m   y\nxx  y\n");
}

}  // namespace
}  // namespace velto
