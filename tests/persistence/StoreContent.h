// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <random>
#include <string>
#include <vector>

#include "platform/persistence/ManagedObjectContext.h"
#include "tests/persistence/TestStore.h"

namespace velto {

/// All that a store of the test model holds, a line a record, in order.
std::vector<std::string> contentOf(ManagedObjectContext& context);

/// Inserts, changes and deletes a few records, of up to 60,000 bytes each. A store that is only
/// changed so stays at about half a megabyte.
void changeAtRandom(ManagedObjectContext& context, std::mt19937& random);

/// What `PRAGMA integrity_check` says of a file.
std::string integrityOf(const std::string& path);

/// Opens what a stop has left, as a coordinator does, and returns what it holds. Expects that the
/// file is whole, and that saving works and lasts.
std::vector<std::string> recoveredContent(
    const std::string& path, const DirectoryEntries& entries = DirectoryEntries::system());

/// Gives the store, which is new, pages of a quarter of their size. The log is counted in pages, so
/// the first checkpoint comes after a quarter of the bytes.
void makePagesSmall(TestStore& store);

}  // namespace velto
