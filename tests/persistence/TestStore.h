// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/persistence/ManagedObjectContext.h"
#include "platform/persistence/PersistentStoreCoordinator.h"
#include "platform/persistence/sqlite/DirectoryEntries.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// The entity of the tests: an attribute of each type, and one to sort by.
inline constexpr std::string_view kThing = "Thing";

inline std::shared_ptr<const ManagedObjectModel> thingModel() {
  std::vector<EntityDescription> entities;
  entities.emplace_back(std::string(kThing),
                        std::vector<AttributeDescription>{{"name", AttributeType::kString},
                                                          {"date", AttributeType::kDate},
                                                          {"data", AttributeType::kData},
                                                          {"enabled", AttributeType::kBoolean}},
                        std::vector<IndexDescription>{{{"name", "date"}}, {{"enabled"}}});
  entities.emplace_back("Other",
                        std::vector<AttributeDescription>{{"name", AttributeType::kString}},
                        std::vector<IndexDescription>{{{"name"}}});
  return std::make_shared<const ManagedObjectModel>(std::move(entities));
}

/// A record of the test entity.
class Thing : public ManagedObject {
 public:
  using ManagedObject::ManagedObject;
  std::optional<std::string> name() const { return get<std::string>(0); }
  void setName(std::optional<std::string> name) { set(0, std::move(name)); }
  std::optional<Date> date() const { return get<Date>(1); }
  void setDate(std::optional<Date> date) { set(1, date); }
  std::optional<Data> data() const { return get<Data>(2); }
  void setData(std::optional<Data> data) { set(2, std::move(data)); }
  std::optional<bool> enabled() const { return get<bool>(3); }
  void setEnabled(std::optional<bool> enabled) { set(3, enabled); }
};

/// A store of the test model in a directory of its own.
class TestStore {
 public:
  explicit TestStore(const DirectoryEntries& entries = DirectoryEntries::system())
      : entries_(entries) {
    open();
  }

  std::string path() const { return directory_.path() / "store.db"; }
  const std::shared_ptr<PersistentStoreCoordinator>& coordinator() const { return coordinator_; }

  /// A new context on the store.
  std::unique_ptr<ManagedObjectContext> context() const {
    auto context = std::make_unique<ManagedObjectContext>();
    context->setPersistentStoreCoordinator(coordinator_);
    return context;
  }

  void close() { coordinator_.reset(); }
  void open() {
    coordinator_ = std::make_shared<PersistentStoreCoordinator>(thingModel(), entries_);
    std::optional<Error> error;
    EXPECT_TRUE(coordinator_->addPersistentStore(path(), &error)) << error->localizedDescription();
  }

 private:
  const DirectoryEntries& entries_;
  TemporaryDirectory directory_;
  std::shared_ptr<PersistentStoreCoordinator> coordinator_;
};

inline Thing insertThing(ManagedObjectContext& context, std::string_view name, double date = 0) {
  Thing thing = context.insertNewObject<Thing>(kThing);
  thing.setName(std::string(name));
  thing.setDate(Date(date));
  return thing;
}

inline FetchRequest thingRequest(std::string_view format = "",
                                 std::initializer_list<PredicateArgument> arguments = {}) {
  FetchRequest request{std::string(kThing)};
  if (!format.empty()) {
    request.setPredicate(Predicate::withFormat(format, arguments));
  }
  return request;
}

inline std::vector<Thing> fetchThings(ManagedObjectContext& context, const FetchRequest& request) {
  std::optional<Error> error;
  auto things = context.executeFetchRequest<Thing>(request, &error);
  EXPECT_TRUE(things.has_value()) << (error ? error->localizedDescription() : "");
  return std::move(things).value_or(std::vector<Thing>());
}

/// The names of what the request finds, in order; "-" where there is none.
inline std::vector<std::string> names(ManagedObjectContext& context, const FetchRequest& request) {
  std::vector<std::string> names;
  for (const Thing& thing : fetchThings(context, request)) {
    names.push_back(thing.name().value_or("-"));
  }
  return names;
}

inline void expectSaved(ManagedObjectContext& context) {
  std::optional<Error> error;
  EXPECT_TRUE(context.save(&error)) << (error ? error->localizedDescription() : "");
  EXPECT_FALSE(context.hasChanges());
}

inline void expectConflict(ManagedObjectContext& context) {
  std::optional<Error> error;
  EXPECT_FALSE(context.save(&error));
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->domain, kPersistenceErrorDomain);
  EXPECT_EQ(error->code, kConflictErrorCode) << error->localizedDescription();
  EXPECT_TRUE(context.hasChanges());
}

}  // namespace velto
