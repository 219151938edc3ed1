// SPDX-License-Identifier: Apache-2.0
#include "platform/persistence/ManagedObjectModel.h"

#include <gmock/gmock.h>

#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

constexpr std::string_view kModel = R"({ Entities = (
  { Name = A; Attributes = ( { Name = s; Type = string; }, { Name = d; Type = date; },
                             { Name = b; Type = data; }, { Name = f; Type = boolean; } );
    Indexes = ( (s), (d, s), { Keys = (d); Present = s; }, { Keys = (d); Absent = s; } ); },
  { Name = B; Attributes = ( { Name = x_1; Type = string; } ); Indexes = (); } ); })";

std::unique_ptr<const ManagedObjectModel> parse(std::string_view text) {
  return ManagedObjectModel::modelFromData(Data(text));
}

/// A model of one entity with these lists.
std::string oneEntity(std::string_view name, std::string_view attributes,
                      std::string_view indexes = "()") {
  return "{ Entities = ( { Name = " + std::string(name) +
         "; Attributes = " + std::string(attributes) + "; Indexes = " + std::string(indexes) +
         "; } ); }";
}

TEST(ManagedObjectModel, ReadsEntitiesInDeclarationOrder) {
  const auto model = parse(kModel);
  ASSERT_NE(model, nullptr);
  ASSERT_EQ(model->entities().size(), 2U);
  const EntityDescription* entity = model->entity("A");
  ASSERT_NE(entity, nullptr);
  EXPECT_EQ(entity->name(), "A");
  const std::vector<AttributeDescription> attributes{{"s", AttributeType::kString},
                                                     {"d", AttributeType::kDate},
                                                     {"b", AttributeType::kData},
                                                     {"f", AttributeType::kBoolean}};
  EXPECT_EQ(entity->attributes(), attributes);
  const std::vector<IndexDescription> indexes{
      {{"s"}}, {{"d", "s"}}, {{"d"}, "s", ""}, {{"d"}, "", "s"}};
  EXPECT_EQ(entity->indexes(), indexes);
  EXPECT_EQ(entity->attributeIndex("b"), 2U);
  EXPECT_EQ(entity->attributeIndex("x_1"), std::nullopt);
  EXPECT_EQ(entity->requiredAttributeIndex("f"), 3U);
  EXPECT_EQ(model->entity("C"), nullptr);
}

TEST(ManagedObjectModel, HasAVersion) {
  EXPECT_EQ(parse(kModel)->version(), 1U);
  EXPECT_EQ(parse("{ Version = 255; Entities = (); }")->version(), 255U);
  for (const char* version : {"0", "256", "\"\"", "two", "2x"}) {
    EXPECT_EQ(parse(std::string("{ Version = ") + version + "; Entities = (); }"), nullptr);
  }
}

TEST(ManagedObjectModel, WellFormedVariantsAreRead) {
  EXPECT_NE(parse("{ Entities = (); }"), nullptr);
  EXPECT_NE(parse(oneEntity("A", "( { Name = a; Type = string; } )")), nullptr);
  EXPECT_NE(parse(oneEntity("A", "( { Name = a; Type = string; } )", "( (a) )")), nullptr);
  EXPECT_NE(
      parse(oneEntity("A", "( { Name = a; Type = string; } )", "( { Keys = (a); Present = a; } )")),
      nullptr);
}

TEST(ManagedObjectModel, MalformedModelsAreRefused) {
  const std::string one = "( { Name = a; Type = string; } )";
  const std::vector<std::string> malformed{
      oneEntity("A", one, "( { Keys = (); } )"),
      oneEntity("A", one, "( { Present = a; } )"),
      oneEntity("A", one, "( { Keys = (a); Present = b; } )"),
      oneEntity("A", one, "( { Keys = (a); Absent = b; } )"),
      "",
      "{",
      "( a )",
      "{ Entities = a; }",
      "{ Entities = ( a ); }",
      "{ Entities = ( { Name = A; } ); }",
      oneEntity("\"\"", one),
      oneEntity("1A", one),
      oneEntity("_A", one),
      oneEntity("\"A\\\"\"", one),
      oneEntity("( A )", one),
      oneEntity("A", "()"),
      oneEntity("A", "( a )"),
      oneEntity("A", "( { Name = a; } )"),
      oneEntity("A", "( { Name = a; Type = number; } )"),
      oneEntity("A", "( { Name = \"a b\"; Type = string; } )"),
      oneEntity("A", "( { Name = a; Type = string; }, { Name = A; Type = date; } )"),
      oneEntity("A", one, "a"),
      oneEntity("A", one, "( a )"),
      oneEntity("A", one, "( () )"),
      oneEntity("A", one, "( ( (a) ) )"),
      oneEntity("A", one, "( (b) )"),
      "{ Entities = ( { Name = A; Attributes = " + one +
          "; Indexes = (); }, { Name = a; Attributes = " + one + "; Indexes = (); } ); }",
  };
  for (const std::string& text : malformed) {
    EXPECT_EQ(parse(text), nullptr) << text;
  }
}

TEST(ManagedObjectModel, HashTellsShapesApart) {
  const auto hash = [](std::string_view attributes, std::string_view indexes = "()") {
    return parse(oneEntity("A", attributes, indexes))->versionHash();
  };
  const std::string plain = hash("( { Name = a; Type = string; } )");
  EXPECT_EQ(plain.size(), 16U);
  EXPECT_EQ(plain, hash("( { Type = \"string\"; Name = \"a\"; } )"));
  EXPECT_EQ(plain, hash("( { Name = a; Type = string; } )", "( (a) )"));
  EXPECT_NE(plain, hash("( { Name = a; Type = date; } )"));
  EXPECT_NE(plain, hash("( { Name = b; Type = string; } )"));
  EXPECT_NE(plain, hash("( { Name = a; Type = string; }, { Name = b; Type = string; } )"));
  EXPECT_NE(plain, parse(oneEntity("B", "( { Name = a; Type = string; } )"))->versionHash());
}

TEST(ManagedObjectModel, HashDoesNotDependOnTheOrderOfEntities) {
  const auto forwards = parse(kModel);
  std::vector<EntityDescription> entities(forwards->entities().rbegin(),
                                          forwards->entities().rend());
  EXPECT_EQ(ManagedObjectModel(entities).versionHash(), forwards->versionHash());
}

TEST(ManagedObjectModel, DirectoryMergesItsModelFiles) {
  const TemporaryDirectory directory;
  directory.write("One.model", kModel);
  directory.write("Two.model", oneEntity("C", "( { Name = a; Type = string; } )"));
  directory.write("Again.model", oneEntity("C", "( { Name = a; Type = string; } )"));
  directory.write("Readme.txt", "no model");
  const auto model = ManagedObjectModel::mergedModelFromDirectory(directory.path());
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->entities().size(), 3U);
  EXPECT_NE(model->entity("B"), nullptr);
  EXPECT_NE(model->entity("C"), nullptr);
}

TEST(ManagedObjectModel, DirectoryWithoutModelHasNone) {
  const TemporaryDirectory directory;
  EXPECT_EQ(ManagedObjectModel::mergedModelFromDirectory(directory.path()), nullptr);
  EXPECT_EQ(ManagedObjectModel::mergedModelFromDirectory(directory.path() / "missing"), nullptr);
  directory.write("Readme.txt", kModel);
  EXPECT_EQ(ManagedObjectModel::mergedModelFromDirectory(directory.path()), nullptr);
}

TEST(ManagedObjectModel, OneBadFileSpoilsTheMerge) {
  const auto merged = [](std::string_view name, std::string_view content) {
    const TemporaryDirectory directory;
    directory.write("Good.model", kModel);
    directory.write(name, content);
    return ManagedObjectModel::mergedModelFromDirectory(directory.path());
  };
  EXPECT_EQ(merged("Bad.model", "{"), nullptr);
  EXPECT_EQ(merged("Different.model", oneEntity("B", "( { Name = y; Type = string; } )")), nullptr);
  EXPECT_EQ(merged("Case.model", oneEntity("b", "( { Name = y; Type = string; } )")), nullptr);
  EXPECT_EQ(merged("Directory.model/file", ""), nullptr);
}

TEST(ManagedObjectModelDeathTest, UnknownAttributeEndsTheProcess) {
  EXPECT_DEATH(parse(kModel)->entity("A")->requiredAttributeIndex("z"), "A has no attribute z");
}

}  // namespace
}  // namespace velto
