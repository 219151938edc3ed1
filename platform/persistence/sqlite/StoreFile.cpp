// SPDX-License-Identifier: Apache-2.0
// What a start may find at the store's path, and what it makes of it:
//
//     nothing, or 0 bytes      create(): fill() makes a whole store at `path`-new, moveIntoPlace()
//                              renames it, and it goes on as the next row
//     a store of the model     setForeignLogAside(), connect(), secureLog() (WriteAheadLog.cpp),
//                              createSchema()
//     anything else            refused by its header, and left as it is
//
// A file's sync is for what it holds, and not for its name: that it was made, renamed or removed is
// on the disk when the directory has been synced after it. Until then a power failure may undo it.
//
// 1. The store's name never stands for half a store: what fill() wrote is synced before the rename.
// 2. A store never meets the log of another one: what lay beside the path is removed, for certain,
//    before the rename.
// 3. Nothing is acknowledged before the names of the file and of its log are on the disk: every
//    start syncs the directory before it writes to the log.
// 4. What an earlier process left in the log is made sure of (secureLog()) before it is read, and
//    before anything is added to it.
//
// A crash before the rename leaves `path`-new and what SQLite puts beside it, which the next start
// removes. A crash between the rename and the sync leaves a store without records: the next start
// finds it and syncs, or, when its name went with the power, makes another. No mutex is needed,
// since no other thread has the writer yet.

#include "platform/persistence/sqlite/StoreFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sqlite3.h>

#include "platform/foundation/FileDescriptor.h"
#include "platform/persistence/PersistenceErrors.h"
#include "platform/persistence/sqlite/StoreFileErrors.h"
#include "platform/persistence/sqlite/StoreSchema.h"
#include "platform/persistence/sqlite/WriteAheadLog.h"

namespace velto {

namespace {

constexpr std::uint32_t kApplicationId = 0x564c4144;  // "VLAD"

// The header of an SQLite file: its length, its first bytes (a NUL ends them), and three fields.
constexpr std::size_t kHeaderSize = 100;
constexpr std::string_view kHeaderStart{"SQLite format 3\0", 16};
constexpr std::size_t kReadVersionOffset = 19;
constexpr unsigned char kWALVersion = 2;
constexpr std::size_t kUserVersionOffset = 60;
constexpr std::size_t kApplicationIdOffset = 68;
using Header = std::array<unsigned char, kHeaderSize>;

std::uint32_t bigEndian(const Header& header, std::size_t offset) {
  std::uint32_t value = 0;
  for (std::size_t index = offset; index < offset + 4; ++index) {
    value = value << 8 | header[index];
  }
  return value;
}

/// The beginning of the model's hash.
std::uint32_t hashOf(const ManagedObjectModel& model) {
  const std::string hash = model.versionHash();
  std::uint32_t tag = 0;
  std::from_chars(hash.data(), hash.data() + 8, tag, 16);
  return tag;
}

/// The model's version, and as much of its hash as the header has room for.
std::uint32_t tagOf(const ManagedObjectModel& model) {
  return static_cast<std::uint32_t>(model.version()) << 24 | hashOf(model) >> 8;
}

/// Of a file without content yet: half of what SQLite takes. A save changes a few bytes in each of
/// some ten pages, and all of a page goes to the log and later to the file.
bool setPageSize(SQLiteConnection& connection, ErrorSlot error) {
  if (connection.execute("PRAGMA page_size=2048")) return true;
  replaceError(error, connection.lastError());
  return false;
}

bool setHeaderField(SQLiteConnection& connection, std::string_view field, std::uint32_t value) {
  return connection.execute("PRAGMA " + std::string(field) + " = " +
                            std::to_string(static_cast<std::int32_t>(value)));
}

}  // namespace

StoreFile::StoreFile(std::string path, const ManagedObjectModel& model,
                     const std::vector<EntitySql>& entities, const DirectoryEntries& entries,
                     std::function<void(std::string_view)> notice)
    : path_(std::move(path)),
      modelTag_(tagOf(model)),
      unversionedTag_(model.version() == 1 ? hashOf(model) : modelTag_),
      entities_(entities),
      entries_(entries),
      notice_(std::move(notice)) {}

std::unique_ptr<SQLiteConnection> StoreFile::open(ErrorSlot error) const {
  const Content found = content(error);
  if (found == Content::kUnusable || (found == Content::kNothing && !create(error))) {
    return nullptr;
  }
  if (found == Content::kStore && !setForeignLogAside(error)) {
    return nullptr;
  }
  auto writer = connect(found, error);
  if (writer == nullptr || !secureLog(*writer, error) || !createSchema(*writer, error)) {
    return nullptr;
  }
  writer->setStarted();
  return writer;
}

/// When it succeeds, the names of the file and of its log are on disk.
std::unique_ptr<SQLiteConnection> StoreFile::connect(Content found, ErrorSlot error) const {
  auto writer = SQLiteConnection::open(path_, SQLiteConnection::Role::kWriter, error, [this] {
    tell(path_ + " is locked by another program, which is waited for");
  });
  if (writer == nullptr || !useWriteAheadLog(*writer, error)) {
    return nullptr;
  }
  // Whoever gave the file its name: an earlier start may have been stopped before it came here. By
  // now the log has its name, too. SQLite syncs that of a new one, but goes on when it fails.
  if (syncNames(error)) {
    return writer;
  }
  // After a failed sync a second one may succeed for nothing, so the next start gives a new name.
  writer.reset();
  if (found == Content::kNothing) {
    removeDatabase(path_);
  }
  return nullptr;
}

/// A file that is not in WAL mode, as a copy made by VACUUM INTO is not, has no log: one that lies
/// beside it is that of the file that was there before, and would be applied to this one.
bool StoreFile::setForeignLogAside(ErrorSlot error) const {
  Header header{};
  const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
  struct stat log {};
  const std::string name = path_ + "-wal";
  if (!file.isOpen() || ::pread(file.get(), header.data(), header.size(), 0) < 0 ||
      header[kReadVersionOffset] == kWALVersion || ::stat(name.c_str(), &log) != 0 ||
      log.st_size == 0) {
    return true;
  }
  std::string aside = name + "-aside";
  for (int number = 1; exists(aside); ++number) {
    aside = name + "-aside." + std::to_string(number);
  }
  if (const auto failure = entries_.rename(name, aside)) {
    replaceError(error, unusable(name, static_cast<int>(failure->code)));
    return false;
  }
  tell(name + " is not the log of " + path_ + ": it is now " + aside);
  return true;
}

void StoreFile::tell(std::string_view line) const {
  if (notice_) {
    notice_(line);
  }
}

/// Does not wait for the other end of what may be a pipe.
StoreFile::Content StoreFile::content(ErrorSlot error) const {
  const FileDescriptor file(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!file.isOpen() && errno == ENOENT && !exists(path_)) {
    return Content::kNothing;
  }
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) {
    replaceError(error, unusable(path_, errno));
    return Content::kUnusable;
  }
  auto failure = S_ISREG(status.st_mode)
                     ? check(file.get(), static_cast<std::size_t>(status.st_size))
                     : incompatible("not a regular file");
  if (failure) {
    replaceError(error, *std::move(failure));
    return Content::kUnusable;
  }
  return status.st_size == 0 ? Content::kNothing : Content::kStore;
}

std::optional<Error> StoreFile::check(int descriptor, std::size_t size) const {
  Header header{};
  if (size == 0) {
    return std::nullopt;
  }
  if (::pread(descriptor, header.data(), header.size(), 0) < 0) {
    return unusable(path_, errno);
  }
  if (std::memcmp(header.data(), kHeaderStart.data(), kHeaderStart.size()) != 0 ||
      bigEndian(header, kApplicationIdOffset) != kApplicationId) {
    return incompatible("not a store of this program");
  }
  const std::uint32_t tag = bigEndian(header, kUserVersionOffset);
  if (tag != modelTag_ && tag != unversionedTag_) {
    return incompatible("a store of another model");
  }
  return std::nullopt;
}

bool StoreFile::create(ErrorSlot error) const {
  const std::string newFile = path_ + "-new";
  removeDatabase(newFile);
  const bool created = fill(newFile, error) && moveIntoPlace(newFile, error);
  if (!created) {
    removeDatabase(newFile);
    if (!exists(newFile)) nameInstead(error, newFile, path_);  // else it is what is in the way
  }
  return created;
}

/// When it succeeds, all that the file holds is on disk, and nothing is left beside it.
bool StoreFile::fill(const std::string& newFile, ErrorSlot error) const {
  const FileDescriptor file(
      ::open(newFile.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file.isOpen()) {
    replaceError(error, errno == EEXIST ? unusable(newFile, errno) : cannotMake(path_, errno));
    return false;
  }
  const auto connection = SQLiteConnection::open(newFile, SQLiteConnection::Role::kWriter, error);
  return connection != nullptr && setPageSize(*connection, error) &&
         createSchema(*connection, error) && useWriteAheadLog(*connection, error);
}

bool StoreFile::moveIntoPlace(const std::string& newFile, ErrorSlot error) const {
  // A log that has lost its file would be taken for the new one's. So it has to be gone for certain
  // before the new one gets the name.
  removeDatabase(path_);
  if (!syncNames(error)) {
    return false;
  }
  if (const auto failure = entries_.rename(newFile, path_)) {
    replaceError(error, unusable(path_, static_cast<int>(failure->code)));
    return false;
  }
  return true;
}

/// Makes the names in the file's directory last.
bool StoreFile::syncNames(ErrorSlot error) const {
  const auto failure = entries_.sync(path_.substr(0, path_.rfind('/') + 1));
  if (failure) {
    replaceError(error, unusable(path_, static_cast<int>(failure->code)));
  }
  return !failure;
}

/// The file and those that SQLite puts beside it. What cannot be removed shows when it is made.
void StoreFile::removeDatabase(const std::string& path) const {
  for (const char* suffix : {"-journal", "-wal", "-shm", ""}) {
    entries_.remove(path + suffix);
  }
}

/// Creates what the file lacks of tables and indexes, and drops the indexes that another version of
/// the model had, in one transaction. A file that has what it needs is not locked.
bool StoreFile::createSchema(SQLiteConnection& connection, ErrorSlot error) const {
  if (missingSchema(connection, entities_).empty() ||
      (connection.execute("BEGIN IMMEDIATE") && writeSchema(connection) &&
       connection.execute("COMMIT"))) {
    return true;
  }
  replaceError(error, connection.lastError());
  connection.rollBack();
  return false;
}

bool StoreFile::writeSchema(SQLiteConnection& connection) const {
  const auto applicationId = connection.integer("PRAGMA application_id");
  if (applicationId == 0 && !(setHeaderField(connection, "application_id", kApplicationId) &&
                              setHeaderField(connection, "user_version", modelTag_))) {
    return false;
  }
  const auto statements = missingSchema(connection, entities_);
  return applicationId.has_value() &&
         std::all_of(statements.begin(), statements.end(),
                     [&](const std::string& statement) { return connection.execute(statement); });
}

Error StoreFile::incompatible(std::string_view why) const {
  return makeError(kPersistenceErrorDomain, kIncompatibleStoreErrorCode,
                   path_ + ": " + std::string(why));
}

}  // namespace velto
