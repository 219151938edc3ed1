// SPDX-License-Identifier: Apache-2.0
// Random operations of several contexts on one file, beside a plain model of both. The variable
// VELTO_RANDOM_OPERATIONS says how many, VELTO_RANDOM_SEED repeats a run.

#include <cstdlib>
#include <random>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/persistence/ManagedObjectContext.h"
#include "tests/persistence/PlainStore.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// How gtest shows a record.
void PrintTo(const PlainRecord& record, std::ostream* stream) {
  *stream << record.tag << "(" << record.text.value_or("-") << ", "
          << (record.date ? std::to_string(*record.date) : "-") << ", "
          << (record.flag ? std::to_string(*record.flag) : "-") << ")";
}

namespace {

constexpr std::string_view kRecord = "Record";
constexpr std::size_t kManyRows = 40;

class Record : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;

  PlainRecord plain() const {
    const auto date = get<Date>(2);
    return {get<std::string>(0).value_or("?"), get<std::string>(1),
            date ? std::optional(date->secondsSinceReference()) : std::nullopt, get<bool>(3)};
  }
  void setTag(const std::string& tag) { set(0, std::optional(tag)); }
  void setText(const std::optional<std::string>& text) { set(1, text); }
  void setDate(std::optional<double> date) {
    set(2, date ? std::optional(Date(*date)) : std::nullopt);
  }
  void setFlag(std::optional<bool> flag) { set(3, flag); }
};

std::shared_ptr<const ManagedObjectModel> recordModel() {
  std::vector<EntityDescription> entities;
  entities.emplace_back(std::string(kRecord),
                        std::vector<AttributeDescription>{{"tag", AttributeType::kString},
                                                          {"text", AttributeType::kString},
                                                          {"date", AttributeType::kDate},
                                                          {"flag", AttributeType::kBoolean}},
                        std::vector<IndexDescription>{{{"text", "date"}}, {{"date"}}, {{"flag"}}});
  return std::make_shared<const ManagedObjectModel>(std::move(entities));
}

/// The choices of a run.
class Dice {
 public:
  explicit Dice(unsigned seed) : engine_(seed) {}

  std::size_t below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(engine_);
  }
  bool percent(std::size_t chance) { return below(100) < chance; }

  std::optional<std::string> text() {
    const std::array<std::optional<std::string>, 5> values{"a", "b", "", std::string("a\0", 2), {}};
    return values.at(below(values.size()));
  }
  std::optional<double> date() {
    return percent(25) ? std::nullopt : std::optional(static_cast<double>(below(4)) - 1.5);
  }
  std::optional<bool> flag() { return percent(30) ? std::nullopt : std::optional(percent(50)); }

 private:
  std::mt19937 engine_;
};

/// The same query for both.
struct Query {
  FetchRequest request{std::string(kRecord)};
  PlainQuery plain;
};

template <typename T>
AttributeValue argument(const std::optional<T>& value) {
  return value ? AttributeValue(*value) : AttributeValue();
}

AttributeValue dateArgument(std::optional<double> value) {
  return value ? AttributeValue(Date(*value)) : AttributeValue();
}

/// The empty std::optional is below the others, and here it compares with nothing.
template <typename T>
bool both(const std::optional<T>& left, const std::optional<T>& right) {
  return left.has_value() && right.has_value();
}

void setRandomPredicate(Query& query, Dice& dice) {
  const auto use = [&](std::string_view format, std::initializer_list<PredicateArgument> arguments,
                       std::function<bool(const PlainRecord&)> matches) {
    query.request.setPredicate(Predicate::withFormat(format, arguments));
    query.plain.matches = std::move(matches);
  };
  const auto text = dice.text();
  const auto date = dice.date();
  const auto later = dice.date();
  switch (dice.below(9)) {
    case 0:
      query.plain.matches = [](const PlainRecord&) { return true; };
      break;
    case 1:
      use("text = %@", {argument(text)}, [=](const auto& one) { return one.text == text; });
      break;
    case 2:
      use("text != %@", {argument(text)}, [=](const auto& one) { return one.text != text; });
      break;
    case 3:
      use("date > %@ AND date <= %@", {dateArgument(date), dateArgument(later)},
          [=](const auto& one) {
            return both(one.date, date) && both(one.date, later) && one.date > date &&
                   one.date <= later;
          });
      break;
    case 4:
      use("date < %@", {dateArgument(date)},
          [=](const auto& one) { return both(one.date, date) && one.date < date; });
      break;
    case 5:
      use("flag = 1", {}, [](const auto& one) { return one.flag == true; });
      break;
    case 6:
      use("date = nil OR flag != 0 AND text >= %@", {argument(text)}, [=](const auto& one) {
        return !one.date || (one.flag != false && both(one.text, text) && one.text >= text);
      });
      break;
    case 7:
      use("text IN %@", {std::vector<std::string>{"b", "x", "b", ""}},
          [](const auto& one) { return one.text == "b" || one.text == ""; });
      break;
    default:
      use("(text = %@ OR date >= %@) AND flag != nil", {argument(text), dateArgument(date)},
          [=](const auto& one) {
            return (one.text == text || (both(one.date, date) && one.date >= date)) && one.flag;
          });
  }
}

Query randomQuery(Dice& dice) {
  Query query;
  setRandomPredicate(query, dice);
  query.plain.ascending = dice.percent(50);
  switch (dice.below(3)) {
    case 0:
      query.plain.ascending = true;
      query.plain.order = [](const auto&, const auto&) { return std::weak_ordering::equivalent; };
      break;
    case 1:
      query.request.setSortDescriptors({{"date", query.plain.ascending}});
      query.plain.order = [](const auto& left, const auto& right) -> std::weak_ordering {
        return left.date < right.date   ? std::weak_ordering::less
               : left.date > right.date ? std::weak_ordering::greater
                                        : std::weak_ordering::equivalent;
      };
      break;
    default:
      query.request.setSortDescriptors({{"text", query.plain.ascending}});
      query.plain.order = [](const auto& left, const auto& right) -> std::weak_ordering {
        return left.text <=> right.text;
      };
  }
  query.plain.limit = dice.percent(50) ? 0 : 1 + dice.below(5);
  query.request.setFetchLimit(query.plain.limit);
  return query;
}

/// A context and its model.
class Pair {
 public:
  Pair(const std::shared_ptr<PersistentStoreCoordinator>& coordinator, PlainFile& file)
      : plain_(file) {
    context_.setPersistentStoreCoordinator(coordinator);
  }

  void insert(const std::string& tag, Dice& dice) {
    const PlainRecord record{tag, dice.text(), dice.date(), dice.flag()};
    Record object = context_.insertNewObject<Record>(kRecord);
    object.setTag(tag);
    object.setText(record.text);
    object.setDate(record.date);
    object.setFlag(record.flag);
    handles_.emplace(tag, object);
    plain_.insert(record);
  }

  void set(Dice& dice) {
    PlainContext::Known* const known = pick(dice);
    if (known == nullptr) {
      return;
    }
    PlainRecord record = known->record;
    Record& object = handles_.at(record.tag);
    EXPECT_EQ(object.plain(), record);
    switch (dice.below(3)) {
      case 0:
        object.setText(record.text = dice.text());
        break;
      case 1:
        object.setDate(record.date = dice.date());
        break;
      default:
        object.setFlag(record.flag = dice.flag());
    }
    plain_.update(*known, record);
  }

  void remove(Dice& dice) {
    if (const PlainContext::Known* known = pick(dice)) {
      const std::string tag = known->record.tag;
      context_.deleteObject(handles_.at(tag));
      plain_.remove(tag);
    }
  }

  void fetch(Dice& dice) {
    const Query query = randomQuery(dice);
    std::optional<Error> error;
    const auto found = context_.executeFetchRequest<Record>(query.request, &error);
    ASSERT_TRUE(found.has_value()) << error->localizedDescription();
    std::vector<PlainRecord> records;
    for (const Record& object : *found) {
      records.push_back(object.plain());
      EXPECT_EQ(handles_.try_emplace(records.back().tag, object).first->second, object);
    }
    EXPECT_EQ(records, plain_.fetch(query.plain));
  }

  /// False on a conflict.
  bool save() {
    EXPECT_EQ(context_.hasChanges(), plain_.hasChanges());
    std::optional<Error> error;
    const bool saved = context_.save(&error);
    EXPECT_EQ(saved, plain_.save());
    EXPECT_EQ(error ? error->code : 0, saved ? 0 : kConflictErrorCode);
    return saved;
  }

 private:
  /// One of the records that the context knows and has not deleted, or null.
  PlainContext::Known* pick(Dice& dice) {
    if (plain_.known().empty()) {
      return nullptr;
    }
    auto& [tag, known] = *std::next(plain_.known().begin(),
                                    static_cast<std::ptrdiff_t>(dice.below(plain_.known().size())));
    const bool usable = known.change != PlainContext::Change::kDeleted && handles_.contains(tag);
    return usable ? &known : nullptr;
  }

  ManagedObjectContext context_;
  PlainContext plain_;
  std::map<std::string, Record> handles_;
};

void run(unsigned seed, int operations) {
  SCOPED_TRACE("VELTO_RANDOM_SEED=" + std::to_string(seed));
  Dice dice(seed);
  const TemporaryDirectory directory;
  const auto coordinator = std::make_shared<PersistentStoreCoordinator>(recordModel());
  ASSERT_TRUE(coordinator->addPersistentStore(directory.path() / "store.db", nullptr));
  PlainFile file;
  std::vector<std::unique_ptr<Pair>> pairs(2 + dice.below(2));
  for (int operation = 0; operation < operations && !testing::Test::HasFailure(); ++operation) {
    std::unique_ptr<Pair>& pair = pairs[dice.below(pairs.size())];
    if (pair == nullptr || dice.percent(1)) {
      pair = std::make_unique<Pair>(coordinator, file);
    }
    const std::size_t choice = dice.below(100);
    if (choice < 40) {
      pair->fetch(dice);
    } else if (choice < 65) {
      pair->set(dice);
    } else if (choice < 78 && file.rows.size() < kManyRows) {
      pair->insert("record " + std::to_string(operation), dice);
    } else if (choice < 86) {
      pair->remove(dice);
    } else if (!pair->save() && dice.percent(50)) {
      pair.reset();
    }
  }
}

TEST(RandomOperations, EqualThePlainModel) {
  // Nothing here asks whether the bytes reach a disk, so none is made to wait.
  if (access("/dev/shm", W_OK) == 0) {
    setenv("TMPDIR", "/dev/shm", 1);
  }
  const char* const count = std::getenv("VELTO_RANDOM_OPERATIONS");
  const char* const seed = std::getenv("VELTO_RANDOM_SEED");
  constexpr int kOperationsOfARun = 2000;
  const int runs = static_cast<int>(count == nullptr ? 100000 : std::strtol(count, nullptr, 10)) /
                   kOperationsOfARun;
  unsigned next = seed == nullptr ? std::random_device()()
                                  : static_cast<unsigned>(std::strtoul(seed, nullptr, 10));
  for (int number = 0; number < std::max(runs, 1) && !HasFailure(); ++number) {
    run(next++, kOperationsOfARun);
  }
}

}  // namespace
}  // namespace velto
