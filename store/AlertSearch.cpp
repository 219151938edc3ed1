// SPDX-License-Identifier: Apache-2.0
#include "store/AlertSearch.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/propertylist/PropertyListBinaryReader.h"
#include "platform/propertylist/PropertyListSerialization.h"
#include "store/ADAlert.h"
#include "store/CaselessSearch.h"

namespace velto {
namespace {

/// Looks for the text in an alert's columns: identifier, type, bundle and attributes, in this
/// order.
class TextTest {
 public:
  explicit TextTest(std::string_view text) : search_(text) {}

  bool isIn(const Statement& row, int firstColumn) {
    for (int column = firstColumn; column < firstColumn + 3; ++column) {
      if (search_.isIn(row.bytes(column))) {
        return true;
      }
    }
    return isInAttributes(row.bytes(firstColumn + 3));
  }

 private:
  bool isInAttributes(std::string_view bytes) {
    // Mostly nothing is found, which the bytes as a whole tell sooner than their texts.
    if (!search_.isInASCII(bytes) && PropertyListBinaryReader::hasASCIITextsOnly(bytes)) {
      return false;
    }
    const auto found =
        PropertyListBinaryReader::anyText(bytes, [this](std::string_view text, bool isASCII) {
          return isASCII ? search_.isInASCII(text) : search_.isInUTF16(text);
        });
    if (found || bytes.empty()) {
      return found.value_or(false);
    }
    // Of another form, which reading knows.
    const auto value = PropertyListSerialization::propertyList(Data(bytes), nullptr);
    return value && isIn(*value);
  }

  bool isIn(const PropertyList& value) {
    if (const std::string* text = value.string()) {
      return search_.isIn(*text);
    }
    if (const auto* array = value.array()) {
      return std::any_of(array->begin(), array->end(),
                         [this](const PropertyList& one) { return isIn(one); });
    }
    const auto* dictionary = value.dictionary();
    return dictionary != nullptr &&
           std::any_of(dictionary->begin(), dictionary->end(),
                       [this](const auto& entry) { return isIn(entry.second); });
  }

  CaselessSearch search_;
};

/// Puts a search together, with a test for each condition.
class SearchBuilder {
 public:
  explicit SearchBuilder(const AlertFilter& filter)
      : search_{.entityName = std::string(ADAlert::kEntityName),
                .key = "sentDate",
                .from = filter.from,
                .to = filter.to} {}

  void addKey(const std::string& column, const std::optional<std::string>& key) {
    if (key) {
      search_.ways.push_back(Predicate::withFormat(column + " = %@", {AttributeValue(*key)}));
      tests_.push_back([at = add(column), &key = *key](const Statement& row) {
        return row.bytes(at) == key && !row.isAbsent(at);
      });
    }
  }

  void addState(const std::string& column, const std::optional<bool>& isAbsent) {
    if (isAbsent) {
      search_.ways.push_back(Predicate::withFormat(column + (*isAbsent ? " = nil" : " != nil")));
      tests_.push_back([at = add(column), isAbsent = *isAbsent](const Statement& row) {
        return row.isAbsent(at) == isAbsent;
      });
    }
  }

  /// The last one, as it costs the most.
  void addText(const std::optional<std::string>& text) {
    if (!text || text->empty()) {
      return;
    }
    const int first = add("identifier");
    add("type");
    add("bundle");
    add("attributes");
    tests_.push_back([first, search = TextTest(*text)](const Statement& row) mutable {
      return search.isIn(row, first);
    });
  }

  RowSearch search() && {
    // Copies of the tests, since what they fold in is each thread's own.
    search_.makeTest = [tests = std::move(tests_)]() -> RowTest {
      return [tests](const Statement& row) {
        return std::all_of(tests.begin(), tests.end(),
                           [&](const RowTest& test) { return test(row); });
      };
    };
    return std::move(search_);
  }

 private:
  /// Where the column is in the rows.
  int add(const std::string& column) {
    search_.columns.push_back(column);
    return RowSearch::kFirstColumn + static_cast<int>(search_.columns.size()) - 1;
  }

  RowSearch search_;
  std::vector<RowTest> tests_;
};

}  // namespace

RowSearch searchFor(const AlertFilter& filter) {
  SearchBuilder builder(filter);
  builder.addKey("bundle", filter.bundle);
  builder.addKey("type", filter.type);
  builder.addState("readDate", filter.unread);
  builder.addState("resolvedDate", filter.unresolved);
  builder.addText(filter.text);
  return std::move(builder).search();
}

}  // namespace velto
