// SPDX-License-Identifier: Apache-2.0
#include "platform/propertylist/PropertyListTextReader.h"

#include <gmock/gmock.h>

#include "tests/propertylist/PropertyListTesting.h"

namespace velto {
namespace {

using ::testing::EndsWith;
using Array = PropertyList::Array;
using Dictionary = PropertyList::Dictionary;

struct TextCase {
  const char* name;
  const char* text;
  PropertyList value;

  friend void PrintTo(const TextCase& each, std::ostream* stream) { *stream << each.name; }
};

class TextReading : public ::testing::TestWithParam<TextCase> {};

TEST_P(TextReading, GivesTheValue) {
  EXPECT_EQ(valueOf(GetParam().text), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, TextReading,
    ::testing::Values(
        TextCase{"blank", " \t\r\n", Dictionary()},
        TextCase{"onlyAComment", "// nothing", Dictionary()}, TextCase{"word", "hello", "hello"},
        TextCase{"wordOfAllKinds", "a-Z_0$/x:y.z", "a-Z_0$/x:y.z"},
        TextCase{"address", "http://host//path", "http://host//path"},
        TextCase{"numbersStayStrings", "(1, -2.5, YES)", Array{"1", "-2.5", "YES"}},
        TextCase{"emptyDictionary", "{}", Dictionary()}, TextCase{"emptyArray", "( )", Array()},
        TextCase{"dictionary", "{ a = b; \"c d\" = e; }", Dictionary{{"a", "b"}, {"c d", "e"}}},
        TextCase{"keyAlone", "{ a; }", Dictionary{{"a", "a"}}},
        TextCase{"lastKeyWins", "{ a = b; a = c; }", Dictionary{{"a", "c"}}},
        TextCase{"array", "(a,b,\"c\")", Array{"a", "b", "c"}},
        TextCase{"trailingComma", "(a, b,)", Array{"a", "b"}},
        TextCase{
            "nested", "{ a = ( { b = <00>; }, () ); }",
            Dictionary{{"a", Array{Dictionary{{"b", Data(std::string_view("\0", 1))}}, Array()}}}},
        TextCase{"data", "<0fBD77 1c 27>", Data("\x0F\xBD\x77\x1C\x27")},
        TextCase{"emptyData", "< >", Data()},
        TextCase{"comments", "/* a */ { // b\n a /* c */ = /**/ b; /* * / */ } // d",
                 Dictionary{{"a", "b"}}},
        TextCase{"commentToCarriageReturn", "// a\rb", "b"}, TextCase{"quoted", "\"a b\"", "a b"},
        TextCase{"singleQuoted", "'a \"b\"'", "a \"b\""}, TextCase{"emptyQuoted", "\"\"", ""},
        TextCase{"noCommentsInQuotes", "\"// /* */\"", "// /* */"},
        TextCase{"lineBreakInQuotes", "\"a\nb\"", "a\nb"},
        TextCase{"letters", R"("\a\b\f\n\r\t\v")", "\a\b\f\n\r\t\v"},
        TextCase{"themselves", R"("\"\\\'\q")", "\"\\'q"},
        TextCase{"escapedLineBreak", "\"a\\\nb\"", "a\nb"},
        TextCase{"unicode", R"("\U00e9\U4E2D")", "\xC3\xA9\xE4\xB8\xAD"},
        TextCase{"shortUnicode", R"("\Ue9z")", "\xC3\xA9z"},
        TextCase{"longUnicode", R"("\U00411")", "A1"},
        TextCase{"surrogatePair", R"("\UD83D\UDE00")", "\xF0\x9F\x98\x80"},
        TextCase{"octal", R"("\101\60\7x")", "A0\ax"},
        TextCase{"octalAbove127", R"("\200\341\350\377")", "\xC2\xA0\xC3\x86\xC5\x81\xEF\xBF\xBD"},
        TextCase{"octalOfThreeDigits", R"("\1012")", "A2"},
        TextCase{"unescapedUTF8", "\"caf\xC3\xA9\"", "caf\xC3\xA9"},
        TextCase{"UTF8Mark", "\xEF\xBB\xBFhello", "hello"},
        TextCase{"strings", "\"a\" = \"b\";\n/* c */ d = e;\n f ;",
                 Dictionary{{"a", "b"}, {"d", "e"}, {"f", "f"}}},
        TextCase{"stringsWithStructure", "a = (b); c = { d = e; };",
                 Dictionary{{"a", Array{"b"}}, {"c", Dictionary{{"d", "e"}}}}}),
    [](const auto& tested) { return tested.param.name; });

struct BadTextCase {
  const char* name;
  const char* text;
  const char* error;

  friend void PrintTo(const BadTextCase& each, std::ostream* stream) { *stream << each.name; }
};

class BadText : public ::testing::TestWithParam<BadTextCase> {};

TEST_P(BadText, IsAnErrorThatSaysWhatAndWhere) {
  EXPECT_EQ(readErrorOf(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadText,
    ::testing::Values(
        BadTextCase{"twoWords", "a\nb", "';' expected at line 2"},
        BadTextCase{"moreAfterArray", "()\n\nx", "more text after the value at line 3"},
        BadTextCase{"openDictionary", "{ a = b;", "'}' expected at line 1"},
        BadTextCase{"openArray", "( a", "',' or ')' expected at line 1"},
        BadTextCase{"arrayEndsAtComma", "( a,", "the text ends early at line 1"},
        BadTextCase{"missingSemicolon", "{ a = b }", "';' expected at line 1"},
        BadTextCase{"missingValue", "{ a = ; }", "unexpected character at line 1"},
        BadTextCase{"missingKey", "{ = b; }", "unexpected character at line 1"},
        BadTextCase{"keyIsNoString", "{ (a) = b; }", "unexpected character at line 1"},
        BadTextCase{"emptyElement", "(a,,b)", "unexpected character at line 1"},
        BadTextCase{"braceWithoutStart", "a = b;\n}", "a '}' without its '{' at line 2"},
        BadTextCase{"openString", "\n\"abc\n\n", "a string without its closing quote at line 2"},
        BadTextCase{"endsAtBackslash", "\"abc\\", "a string without its closing quote at line 1"},
        BadTextCase{"openComment", "a /* b", "a comment without its end at line 1"},
        BadTextCase{"commentOfOneStar", "/*/ a", "a comment without its end at line 1"},
        BadTextCase{"commentInData", "<00 /* >", "a comment without its end at line 1"},
        BadTextCase{"oddData", "<0fb>", "a pair of hexadecimal digits or '>' expected at line 1"},
        BadTextCase{"openData", "<0f", "a pair of hexadecimal digits or '>' expected at line 1"},
        BadTextCase{"splitPair", "<0 f>", "a pair of hexadecimal digits or '>' expected at line 1"},
        BadTextCase{"noDigits", R"("\Ux")", "hexadecimal digits expected after \\U at line 1"},
        BadTextCase{"loneLead", R"("\UD83Dx")", "half of a surrogate pair at line 1"},
        BadTextCase{"loneTrail", R"("\UDE00")", "half of a surrogate pair at line 1"},
        BadTextCase{"leadTwice", R"("\UD83D\UD83D")", "half of a surrogate pair at line 1"},
        BadTextCase{"leadThenOther", R"("\UD83D\n")", "half of a surrogate pair at line 1"},
        BadTextCase{"strayCharacter", "caf\xC3\xA9", "';' expected at line 1"},
        BadTextCase{"notUTF8", "\"a\"\n=\xFF;", "the text is not valid UTF-8 at line 2"}),
    [](const auto& tested) { return tested.param.name; });

/// `text`, in ASCII, as UTF-16 behind a byte-order mark.
std::string utf16(std::string_view text, bool bigEndian) {
  std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (const char character : text) {
    bytes += bigEndian ? std::string{'\0', character} : std::string{character, '\0'};
  }
  return bytes;
}

TEST(PropertyListTextReader, TakesUTF16WithAMark) {
  for (const bool bigEndian : {true, false}) {
    EXPECT_EQ(valueOf(utf16("{ a = b; }", bigEndian)), PropertyList(Dictionary{{"a", "b"}}));
    EXPECT_EQ(readErrorOf(utf16("a", bigEndian) + "x"), "the UTF-16 text ends within a character");
    EXPECT_EQ(valueOf(utf16("", bigEndian)), PropertyList(Dictionary()));
  }
  EXPECT_EQ(valueOf(std::string("\xFE\xFF\0\"\xD8\x3D\xDE\0\0\"", 10)),
            PropertyList("\xF0\x9F\x98\x80"));
  EXPECT_EQ(readErrorOf(std::string("\xFE\xFF\0\"\xD8\x3D\0\"", 8)),
            "the text is not valid UTF-16");
}

TEST(PropertyListTextReader, KeepsEscapedNuls) {
  EXPECT_EQ(valueOf(R"("a\0b\U0000c")"), PropertyList(std::string("a\0b\0c", 5)));
}

TEST(PropertyListTextReader, RefusesWordsWithNuls) {
  EXPECT_EQ(readErrorOf(std::string_view("(a\0)", 4)), "',' or ')' expected at line 1");
}

TEST(PropertyListTextReader, ReadsToTheMaximumDepthAndNoDeeper) {
  constexpr auto kDeepest = static_cast<std::size_t>(PropertyListSerialization::kMaximumDepth);
  EXPECT_EQ(valueOf(std::string(kDeepest, '(') + std::string(kDeepest, ')')),
            nestedArrays(PropertyListSerialization::kMaximumDepth));
  for (const std::size_t depth : {kDeepest + 1, std::size_t{1'000'000}}) {
    EXPECT_EQ(readErrorOf(std::string(depth, '(') + std::string(depth, ')')),
              "nested too deep at line 1");
    EXPECT_EQ(readErrorOf(repeated("{a=", depth)), "nested too deep at line 1");
  }
}

TEST(PropertyListTextReader, RefusesEveryTruncationOfADictionary) {
  const std::string text = R"({ a = ( "b", <00>, { c = 'd'; } ); /* e */ })";
  for (std::size_t size = 1; size < text.size(); ++size) {
    EXPECT_THAT(readErrorOf(text.substr(0, size)), EndsWith(" at line 1")) << size;
  }
  EXPECT_NE(valueOf(text).dictionary(), nullptr);
}

}  // namespace
}  // namespace velto
