// SPDX-License-Identifier: Apache-2.0
#include "alerts/texts/MessageTemplate.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unicode/msgfmt.h>

namespace velto {
namespace {

using testing::HasSubstr;

std::string textIn(const std::string& locale, std::string_view pattern,
                   const PropertyList::Dictionary& attributes) {
  PatternProblem problem;
  const auto message = MessageTemplate::parse(pattern, problem);
  EXPECT_TRUE(message.has_value()) << pattern << ": " << problem.reason;
  return message ? message->text(attributes, *ReaderFormats::forLocale(locale)) : "";
}

PatternProblem problemOf(std::string_view pattern) {
  PatternProblem problem;
  EXPECT_FALSE(MessageTemplate::parse(pattern, problem).has_value());
  return problem;
}

constexpr std::string_view kFiles =
    "{count, plural, =0 {no files} one {# file} other {# files}} of {owner}";

TEST(MessageTemplate, ChoosesThePluralForm) {
  EXPECT_EQ(textIn("en", kFiles, {{"count", 0}, {"owner", "root"}}), "no files of root");
  EXPECT_EQ(textIn("en", kFiles, {{"count", 1}, {"owner", "root"}}), "1 file of root");
  EXPECT_EQ(textIn("de", kFiles, {{"count", 1234}, {"owner", "root"}}), "1.234 files of root");
  constexpr std::string_view kPolish =
      "{n, plural, one{plik} few{pliki} many{plików} other{pliku}}";
  EXPECT_EQ(textIn("pl", kPolish, {{"n", 1}}), "plik");
  EXPECT_EQ(textIn("pl", kPolish, {{"n", 3}}), "pliki");
  EXPECT_EQ(textIn("pl", kPolish, {{"n", 5}}), "plików");
  EXPECT_EQ(textIn("pl", kPolish, {{"n", 1.5}}), "pliku");
}

TEST(MessageTemplate, TakesThePluralsOffsetOff) {
  constexpr std::string_view kPattern =
      "{n, plural, offset:1 =1 {you} one {you and # other} other {you and # others}}";
  EXPECT_EQ(textIn("en", kPattern, {{"n", 1}}), "you");
  EXPECT_EQ(textIn("en", kPattern, {{"n", 2}}), "you and 1 other");
  EXPECT_EQ(textIn("en", kPattern, {{"n", 3.0}}), "you and 2 others");
}

TEST(MessageTemplate, ChoosesTheFormOfAnOrdinalNumber) {
  constexpr std::string_view kPattern =
      "{n, selectordinal, one{#st} two{#nd} few{#rd} other{#th}} try";
  EXPECT_EQ(textIn("en", kPattern, {{"n", 1}}), "1st try");
  EXPECT_EQ(textIn("en", kPattern, {{"n", 22}}), "22nd try");
  EXPECT_EQ(textIn("en", kPattern, {{"n", 11}}), "11th try");
}

TEST(MessageTemplate, Selects) {
  constexpr std::string_view kPattern =
      "{full, select, true {a full backup} false {a backup} other {something}}: {full}";
  EXPECT_EQ(textIn("de", kPattern, {{"full", true}}), "a full backup: ja");
  EXPECT_EQ(textIn("de", kPattern, {{"full", false}}), "a backup: nein");
  EXPECT_EQ(textIn("de", kPattern, {{"full", "true"}}), "a full backup: true");
  EXPECT_EQ(textIn("de", kPattern, {{"full", "other"}}), "something: other");
  EXPECT_EQ(textIn("de", kPattern, {}), "something: ");
  EXPECT_EQ(textIn("de", "{n, select, 3 {three} other {many}}", {{"n", 3}}), "three");
}

TEST(MessageTemplate, WritesNumbersInAStyle) {
  const PropertyList::Dictionary size{{"size", 1234.5678}};
  EXPECT_EQ(textIn("de", "{size, number}", size), "1.234,568");
  EXPECT_EQ(textIn("de", "{size, number, integer}", size), "1.235");
  EXPECT_EQ(textIn("de", "{size, number, ::.0 group-off}", size), "1234,6");
  EXPECT_EQ(textIn("de", "{size, number, ::unit/gigabyte .0}", size), "1.234,6\u00a0GB");
  EXPECT_EQ(textIn("de", "{size, number, #,##0.00}", size), "1.234,57");
  EXPECT_EQ(textIn("de", "{share, number, percent}", {{"share", 0.93}}), "93\u00a0%");
  EXPECT_EQ(textIn("en", "{n, number}", {{"n", std::numeric_limits<std::uint64_t>::max()}}),
            "18,446,744,073,709,551,615");
}

TEST(MessageTemplate, WritesDatesInAStyle) {
  // Noon, so that it is the same day nearly everywhere.
  const PropertyList::Dictionary when{{"when", Date::fromUnixSeconds(1795176000)}};
  EXPECT_EQ(textIn("de", "{when, date, long}", when), "20. November 2026");
  EXPECT_EQ(textIn("de", "{when, date}", when), "20.11.2026");
  EXPECT_EQ(textIn("en", "{when, date, ::yMMMd}", when), "Nov 20, 2026");
  EXPECT_EQ(textIn("en", "{when, date, yyyy-MM-dd}", when), "2026-11-20");
  EXPECT_THAT(textIn("en", "{when, time, short}", when), testing::MatchesRegex(".+:.+"));
}

TEST(MessageTemplate, NoKindOfAttributeSpoilsTheText) {
  for (const PropertyList& value :
       {PropertyList("text"), PropertyList(true), PropertyList(Date(0)), PropertyList(Data()),
        PropertyList(7), PropertyList(1e300), PropertyList(PropertyList::Array{1, 2}),
        PropertyList(PropertyList::Dictionary{{"a", 1}}), PropertyList(), PropertyList(Date(1e300)),
        PropertyList(std::numeric_limits<double>::quiet_NaN())}) {
    const PropertyList::Dictionary attributes{{"a", value}};
    EXPECT_THAT(textIn("en", "<{a}|{a, number}|{a, date}|{a, time, short}>", attributes),
                testing::AllOf(testing::StartsWith("<"), testing::EndsWith(">")));
    EXPECT_THAT(textIn("en", "{a, plural, one{is one} other{is #}}", attributes),
                testing::StartsWith("is "));
    EXPECT_EQ(textIn("en", "{a, select, x{no} other{is}}", attributes), "is");
  }
  EXPECT_EQ(textIn("en", "<{a, number}> {a, plural, other{#.}}", {{"a", "few"}}), "<few> few.");
  EXPECT_EQ(textIn("en", "<{a, number}> {a, plural, other{#.}}", {}), "<> .");
}

TEST(MessageTemplate, QuotesWithApostrophes) {
  EXPECT_EQ(textIn("fr", "L'espace '{libre}' {a}, c''est", {{"a", 1}}),
            "L'espace {libre} 1, c'est");
}

TEST(MessageTemplate, NeverLooksAtWhatItPutIn) {
  EXPECT_EQ(textIn("en", "{a}", {{"a", "{b} '{' #"}, {"b", 1}}), "{b} '{' #");
}

TEST(MessageTemplate, FindsFormsWithinForms) {
  constexpr std::string_view kPattern =
      "{hosts, plural, one {{disks, plural, one {a disk of {host}} other {# disks of {host}}}} "
      "other {# hosts}}";
  EXPECT_EQ(textIn("en", kPattern, {{"hosts", 1}, {"disks", 3}, {"host", "web"}}),
            "3 disks of web");
  EXPECT_EQ(textIn("en", kPattern, {{"hosts", 2}, {"disks", 3}}), "2 hosts");
}

TEST(MessageTemplate, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(problemOf("Größe {size").position, 7U);
  EXPECT_EQ(problemOf("'{' {n, plural, other{it''s '}{' '{b}' # }").position, 5U);
  EXPECT_EQ(problemOf("{n, plural, one{a} other{b {c}").position, 25U);
  EXPECT_THAT(problemOf("Größe {size").reason, HasSubstr("brace"));
  EXPECT_THAT(problemOf("{n, plural, one{x}}").reason, HasSubstr("\"other\" is missing"));
  EXPECT_THAT(problemOf("{n, choice, 0#x|1#y}").reason, HasSubstr("\"plural\""));
  EXPECT_EQ(problemOf("ab {n, number, ::nonsense}").position, 4U);
  EXPECT_THAT(problemOf("{n, number, ::nonsense}").reason, HasSubstr("style of \"n\""));
  EXPECT_THAT(problemOf("{n, spellout}").reason, HasSubstr("format or style"));
  for (const std::string_view pattern : {"{", "{}", "{a b}", "{a,}", "{a, }", "{a, plural}",
                                         "{a, select, other}", "{a, number, #.#.#}"}) {
    EXPECT_FALSE(problemOf(pattern).reason.empty()) << pattern;
  }
}

std::string repeated(std::string_view text, int times) {
  std::string result;
  for (int count = 0; count < times; ++count)
    result += text;
  return result;
}

TEST(MessageTemplate, RefusesWhatIsTooLarge) {
  problemOf(std::string(MessageTemplate::kMaximumSize + 1, 'x'));
  problemOf(repeated("{a}", MessageTemplate::kMaximumArguments + 1));
  problemOf(repeated("{n,plural,other{#}}", 2000));
  problemOf(repeated("{n,number}", MessageTemplate::kMaximumStyled + 1));
  problemOf("{n, number, " + std::string(1000, '0') + "}");
  problemOf("{d, date, " + std::string(1000, 'y') + "}");
  for (const int depth : {40, 1000, 30000}) {
    problemOf(repeated("{a,select,other{", depth) + repeated("}}", depth));
    problemOf(repeated("{a,select,other{'}}}}'", depth) + repeated("}}", depth));
  }
  EXPECT_EQ(textIn("en", repeated("{a,select,other{", 20) + "x" + repeated("}}", 20), {}), "x");
}

TEST(MessageTemplate, RefusesStylesThatWriteZerosWithoutEnd) {
  for (const std::string_view style :
       {"::scale/1E999999999", "::scale/1e-999999999", "::precision-increment/1.E999999999",
        "::percent scale/0.1E99"}) {
    problemOf("{n, number, " + std::string(style) + "}");
  }
  EXPECT_EQ(textIn("en", "{n, number, ::scale/1000 E0}", {{"n", 5}}), "5E3");
}

TEST(MessageTemplate, TheTextHasALimit) {
  const std::string text =
      textIn("en", repeated("{a}", 900), {{"a", std::string(std::size_t{1} << 20, 'x')}});
  EXPECT_EQ(text.size(), ReaderText::kMaximumSize + std::string("…").size());
}

/// What ICU's own formatter makes of a pattern.
std::string peerText(const char* locale, std::string_view pattern, const char* name,
                     const icu::Formattable& value) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::MessageFormat format(
      icu::UnicodeString::fromUTF8({pattern.data(), static_cast<std::int32_t>(pattern.size())}),
      icu::Locale(locale), status);
  const icu::UnicodeString names[] = {icu::UnicodeString(name)};
  icu::UnicodeString text;
  format.format(names, &value, 1, text, status);
  EXPECT_TRUE(U_SUCCESS(status)) << pattern << " " << u_errorName(status);
  std::string utf8;
  return text.toUTF8String(utf8);
}

TEST(MessageTemplate, SaysWhatICUsOwnFormatterSays) {
  for (const std::string_view pattern :
       {"{n, plural, =0{none} one{# one} two{# two} few{# few} many{# many} other{# other}}",
        "a '{b}' it''s {n, number} x", "{n, plural, offset:1 =2{two} one{# one} other{# other}}",
        "{n, selectordinal, one{#a} two{#b} few{#c} many{#d} other{#e}}", "{n, number, percent}",
        "{n, number, integer}", "{n, number, ::compact-short}", "{n, number,000.0#}"}) {
    for (const char* locale : {"en", "de", "fr", "ru", "ar", "ja", "cy"}) {
      for (const int number : {0, 1, 2, 3, 5, 11, 21, 22, 100, 1000, 1234567}) {
        EXPECT_EQ(textIn(locale, pattern, {{"n", number}}),
                  peerText(locale, pattern, "n", icu::Formattable(number)))
            << pattern << " " << locale << " " << number;
      }
    }
  }
}

}  // namespace
}  // namespace velto
