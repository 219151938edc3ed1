// SPDX-License-Identifier: Apache-2.0
// Both directions against an independent implementation of the formats, in plistlib_peer.py.

#include <bit>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/foundation/Hexadecimal.h"
#include "tests/propertylist/PropertyListTesting.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

constexpr unsigned kSeed = 20010101;

std::string hex(std::string_view bytes) {
  return hexadecimal(Data(bytes));
}

/// The same line of text as the peer makes of an equal value.
struct Describer {
  std::string operator()(std::monostate) const { return "absent"; }
  std::string operator()(bool value) const { return value ? "T" : "F"; }
  std::string operator()(std::int64_t value) const { return "i" + std::to_string(value); }
  std::string operator()(std::uint64_t value) const { return "i" + std::to_string(value); }
  std::string operator()(double value) const { return "r" + bits(value); }
  std::string operator()(Date value) const { return "d" + bits(value.secondsSinceReference()); }
  std::string operator()(const std::string& value) const { return "s" + hex(value); }
  std::string operator()(const Data& value) const { return "x" + hex(value.view()); }

  std::string operator()(const PropertyList::Array& array) const {
    std::string text = "(";
    for (const PropertyList& element : array) {
      if (text.size() > 1) text += ',';
      text += element.visit(*this);
    }
    return text + ")";
  }

  std::string operator()(const PropertyList::Dictionary& dictionary) const {
    std::string text = "{";
    for (const auto& [key, value] : dictionary) {
      if (text.size() > 1) text += ',';
      text += hex(key) + "=" + value.visit(*this);
    }
    return text + "}";
  }

  static std::string bits(double number) {
    return hex(bigEndian(std::bit_cast<std::uint64_t>(number), 8));
  }
};

/// Makes values of every type and size. The same ones each time.
class ValueSource {
 public:
  PropertyList next(int depth) {
    switch (pick(depth > 0 ? 8 : 6)) {
      case 0:
        return string();
      case 1:
        return integer();
      case 2:
        return real();
      case 3:
        return pick(2) == 0;
      case 4:
        return date();
      case 5:
        return Data(std::string(oneOf({0, 1, 14, 15, 300}), static_cast<char>(pick(256))));
      case 6:
        return array(depth);
      default:
        return dictionary(depth);
    }
  }

 private:
  std::size_t pick(std::size_t count) { return random_() % count; }
  std::size_t oneOf(std::initializer_list<std::size_t> choices) {
    return *(choices.begin() + pick(choices.size()));
  }

  std::string string() {
    constexpr std::string_view kPieces[] = {"a", "Z ", "\xC3\xA9", "\xE4\xB8\xAD",
                                            "\xF0\x9F\x98\x80"};
    const std::size_t kinds = oneOf({1, 2, 5});
    std::string text;
    for (std::size_t i = oneOf({0, 1, 7, 14, 15, 16, 256}); i > 0; --i) {
      text += kPieces[pick(kinds)];
    }
    return text;
  }

  PropertyList integer() {
    const std::uint64_t number = random_() >> oneOf({0, 1, 2, 31, 32, 33, 47, 48, 55, 56, 63});
    return pick(2) == 0 ? PropertyList(number) : PropertyList(static_cast<std::int64_t>(number));
  }

  PropertyList real() { return std::ldexp(static_cast<double>(random_()), -40); }

  /// Whole 64ths of a second, which the peer's microseconds hold exactly.
  PropertyList date() { return Date((static_cast<double>(pick(1'000'000'000'000)) - 5e11) / 64); }

  PropertyList array(int depth) {
    PropertyList::Array array;
    for (std::size_t i = oneOf({0, 1, 3, 6}); i > 0; --i) {
      array.push_back(next(depth - 1));
    }
    return array;
  }

  PropertyList dictionary(int depth) {
    PropertyList::Dictionary dictionary;
    for (std::size_t i = oneOf({0, 1, 3, 6}); i > 0; --i) {
      dictionary.insert_or_assign(string(), next(depth - 1));
    }
    return dictionary;
  }

  std::mt19937_64 random_{kSeed};
};

std::vector<PropertyList> particularValues() {
  PropertyList::Array numbers;
  PropertyList::Array strings;
  for (int i = 0; i < 70'000; ++i) {
    numbers.emplace_back(i);
    strings.emplace_back("element " + std::to_string(i % 10'000));
  }
  std::vector<PropertyList> values{
      "",
      Data(),
      PropertyList::Array(),
      PropertyList::Dictionary(),
      numbers,
      strings,
      std::string(70'000, 'x'),
      HUGE_VAL,
      -0.0,
      PropertyList::Array(10'000, PropertyList("same")),
      PropertyList::Array(40, PropertyList(std::string(1'000'000, 'y')))};
  for (int shift = 0; shift < 64; ++shift) {
    const std::uint64_t power = std::uint64_t{1} << shift;
    values.push_back(PropertyList::Array{
        power, power - 1, power + 1, ~power, -static_cast<std::int64_t>(power - 1),
        std::numeric_limits<std::int64_t>::min() + static_cast<std::int64_t>(power - 1)});
  }
  return values;
}

void write(const std::filesystem::path& path, std::string_view content) {
  std::ofstream(path, std::ios::binary) << content;
}

class PropertyListPeer : public ::testing::Test {
 protected:
  static constexpr const char* kInterpreter = "/usr/bin/python3";

  void SetUp() override {
    if (access(kInterpreter, X_OK) != 0) {
      skipOrFail(std::string("no ") + kInterpreter);
    }
  }

  void run(const std::string& command, const std::string& more = "") {
    const std::string line = std::string(kInterpreter) + " '" VELTO_PLISTLIB_PEER "' " + command +
                             " '" + directory_.path().string() + "' " + more;
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
  }

  std::string file(std::size_t number, const char* extension) const {
    return directory_.path() / (std::to_string(number) + extension);
  }

  TemporaryDirectory directory_;
};

TEST_F(PropertyListPeer, ReadsWhatIsWrittenHere) {
  std::vector<PropertyList> values = particularValues();
  ValueSource source;
  while (values.size() < 500) {
    values.push_back(source.next(5));
  }
  for (std::size_t i = 0; i < values.size(); ++i) {
    write(file(i, ".binary"), bytesOf(values[i]));
    write(file(i, ".text"), values[i].visit(Describer()));
  }
  run("check");
}

TEST_F(PropertyListPeer, WritesWhatIsReadHere) {
  run("make", std::to_string(kSeed));
  std::size_t binaries = 0;
  std::size_t documents = 0;
  for (; std::filesystem::exists(file(binaries, ".text")); ++binaries) {
    const std::string expected = readFile(file(binaries, ".text"));
    EXPECT_EQ(valueOf(readFile(file(binaries, ".binary"))).visit(Describer()), expected);
    if (!std::filesystem::exists(file(binaries, ".xml"))) continue;
    EXPECT_EQ(valueOf(readFile(file(binaries, ".xml"))).visit(Describer()), expected);
    ++documents;
  }
  EXPECT_GT(documents, 400U);
  EXPECT_EQ(binaries, documents + 200) << "those with fractions of seconds";
}

}  // namespace
}  // namespace velto
