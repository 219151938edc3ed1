// SPDX-License-Identifier: Apache-2.0
#include "tools/transfer/ExportLine.h"

#include "tools/frame/Failure.h"

namespace velto {
namespace {

using testing::HasSubstr;

std::string problemOf(const std::string& line) {
  try {
    parseExportLine(line);
  } catch (const Failure& failure) {
    return failure.line();
  }
  return "none";
}

TEST(ExportLine, losesNothing) {
  const alerts::Alert alert{
      .identifier = "i\n\x1b",
      .type = "t",
      .bundle = "b",
      .creationDate = alerts::Date(0.1),
      .sentDate = alerts::Date(-1e-300),
      .attributes = {{{"number", std::uint64_t{18446744073709551615U}},
                      {"real", 2.0},
                      {"date", alerts::Date(817293847.123456)},
                      {"data", alerts::Data{0, 255}},
                      {"array", alerts::Value::Array{true, "ü"}},
                      {"$odd", alerts::Value::Dictionary{{"$date", "no date"}}}}}};
  std::string text = exportText(alert);
  ASSERT_EQ(text.back(), '\n');
  text.pop_back();
  EXPECT_EQ(text.find('\n'), std::string::npos);
  EXPECT_EQ(std::get<alerts::Alert>(parseExportLine(text)), alert);
}

TEST(ExportLine, knowsSettings) {
  EXPECT_EQ(exportText(ExportHead()), "{\"export\":{\"version\":1}}\n");
  EXPECT_EQ(problemOf(R"({"export":{"version":1}})"), "none");
  EXPECT_EQ(problemOf(R"({"attributes":{"site":"Berlin"}})"), "none");
  EXPECT_EQ(problemOf(R"({"bundle":{"name":"Disk","mailEnabled":true,"pushEnabled":false}})"),
            "none");
  EXPECT_EQ(problemOf(R"({"mailRecipient":{"address":"ann@example.org","locale":"fr"}})"), "none");
  EXPECT_EQ(problemOf(R"({"pushRecipient":{"guid":"g","token":"AAE=","enabled":true}})"), "none");
}

TEST(ExportLine, namesWhatIsWrong) {
  EXPECT_THAT(problemOf("{"), HasSubstr("a name in quotes expected at character 2"));
  EXPECT_THAT(problemOf("[]"), HasSubstr("no JSON object with one member"));
  EXPECT_THAT(problemOf("{}"), HasSubstr("no JSON object with one member"));
  EXPECT_THAT(problemOf(R"({"alrt":{}})"), HasSubstr("did you mean alert?"));
  EXPECT_THAT(problemOf(R"({"alert":[]})"), HasSubstr("alert is no JSON object"));
  EXPECT_THAT(problemOf(R"({"alert":{"bundel":"Disk"}})"), HasSubstr("did you mean bundle?"));
  EXPECT_THAT(problemOf(R"({"alert":{"type":5}})"), HasSubstr("alert.type"));
  EXPECT_THAT(problemOf(R"({"alert":{"sentDate":"yesterday"}})"), HasSubstr("alert.sentDate"));
  EXPECT_THAT(problemOf(R"({"export":{"version":2}})"), HasSubstr("another version"));
  const std::string deep = std::string(70, '[') + std::string(70, ']');
  EXPECT_THAT(problemOf(R"({"alert":{"attributes":{"a":)" + deep + "}}}"),
              HasSubstr("less nesting expected"));
}

}  // namespace
}  // namespace velto
