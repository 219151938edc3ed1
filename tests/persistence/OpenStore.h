// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/persistence/EntitySql.h"
#include "platform/persistence/sqlite/SQLiteConnection.h"
#include "platform/persistence/sqlite/StoreFile.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {

/// A new store file of a model with its writing connection, without a coordinator around them.
class OpenStore {
 public:
  explicit OpenStore(std::shared_ptr<const ManagedObjectModel> model)
      : model_(std::move(model)), sql_(model_->entities().begin(), model_->entities().end()) {
    std::optional<Error> error;
    writer_ = StoreFile(path(), *model_, sql_).open(&error);
    EXPECT_NE(writer_, nullptr) << error->localizedDescription();
  }

  std::string path() const { return directory_.path() / "store.db"; }
  const ManagedObjectModel& model() const { return *model_; }
  SQLiteConnection& writer() const { return *writer_; }
  void closeWriter() { writer_.reset(); }

  std::unique_ptr<SQLiteConnection> reader() const {
    std::optional<Error> error;
    auto reader = SQLiteConnection::open(path(), SQLiteConnection::Role::kReader, &error);
    EXPECT_NE(reader, nullptr) << error->localizedDescription();
    return reader;
  }

 private:
  const TemporaryDirectory directory_;
  const std::shared_ptr<const ManagedObjectModel> model_;
  const std::vector<EntitySql> sql_;
  std::unique_ptr<SQLiteConnection> writer_;
};

}  // namespace velto
