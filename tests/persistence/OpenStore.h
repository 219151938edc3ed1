#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/persistence/Connection.h"
#include "platform/persistence/EntitySql.h"
#include "platform/persistence/StoreFile.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// A new store file of a model with its writing connection, without a coordinator around them.
class OpenStore {
 public:
  explicit OpenStore(std::shared_ptr<const ManagedObjectModel> model) : model_(std::move(model)) {
    std::optional<Error> error;
    const StoreFile file(path(), *model_);
    EXPECT_TRUE(file.prepare(&error));
    writer_ = Connection::open(path(), Connection::Role::kWriter, &error);
    EXPECT_TRUE(file.createSchema(*writer_, {model_->entities().begin(), model_->entities().end()},
                                  &error));
    EXPECT_TRUE(writer_->execute("PRAGMA journal_mode=WAL"));
    EXPECT_FALSE(error.has_value()) << error->localizedDescription();
  }

  std::string path() const { return directory_.path() / "store.db"; }
  const ManagedObjectModel& model() const { return *model_; }
  Connection& writer() const { return *writer_; }
  void closeWriter() { writer_.reset(); }

  std::unique_ptr<Connection> reader() const {
    std::optional<Error> error;
    auto reader = Connection::open(path(), Connection::Role::kReader, &error);
    EXPECT_NE(reader, nullptr) << error->localizedDescription();
    return reader;
  }

 private:
  const TemporaryDirectory directory_;
  const std::shared_ptr<const ManagedObjectModel> model_;
  std::unique_ptr<Connection> writer_;
};

}  // namespace velto
