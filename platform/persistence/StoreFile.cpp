#include "platform/persistence/StoreFile.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <sqlite3.h>

#include "platform/foundation/FileDescriptor.h"
#include "platform/persistence/PersistentStoreCoordinator.h"

namespace velto {

namespace {

constexpr std::uint32_t kApplicationId = 0x564c4144;  // "VLAD"

// The header of an SQLite file: its length, its first bytes (a NUL ends them), and two fields.
constexpr std::size_t kHeaderSize = 100;
constexpr std::string_view kHeaderStart{"SQLite format 3\0", 16};
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

std::uint32_t tagOf(const ManagedObjectModel& model) {
  const std::string hash = model.versionHash();
  std::uint32_t tag = 0;
  std::from_chars(hash.data(), hash.data() + 8, tag, 16);
  return tag;
}

/// Does not wait for the other end of what may be a pipe.
int openExisting(const std::string& path) {
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

/// Opens the file, made when it is missing; gives -1 with errno set when it cannot.
int openOrCreate(const std::string& path) {
  int descriptor = openExisting(path);
  if (descriptor < 0 && errno == ENOENT) {
    descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor < 0 && errno == EEXIST) {  // another process was faster
      descriptor = openExisting(path);
    }
  }
  return descriptor;
}

bool setHeaderField(Connection& connection, std::string_view field, std::uint32_t value) {
  return connection.execute("PRAGMA " + std::string(field) + " = " +
                            std::to_string(static_cast<std::int32_t>(value)));
}

}  // namespace

StoreFile::StoreFile(std::string path, const ManagedObjectModel& model)
    : path_(std::move(path)), modelTag_(tagOf(model)) {}

bool StoreFile::prepare(ErrorSlot error) const {
  const FileDescriptor file(openOrCreate(path_));
  auto failure = file.isOpen() ? check(file.get()) : unusable(errno);
  if (failure) {
    replaceError(error, *std::move(failure));
    return false;
  }
  return true;
}

std::optional<Error> StoreFile::check(int descriptor) const {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) {
    return unusable(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    return incompatible("not a regular file");
  }
  if (status.st_size == 0) {
    return std::nullopt;
  }
  Header header{};
  const ssize_t count = ::pread(descriptor, header.data(), header.size(), 0);
  if (count < 0) {
    return unusable(errno);
  }
  if (std::memcmp(header.data(), kHeaderStart.data(), kHeaderStart.size()) != 0 ||
      bigEndian(header, kApplicationIdOffset) != kApplicationId) {
    return incompatible("not a store of this program");
  }
  if (bigEndian(header, kUserVersionOffset) != modelTag_) {
    return incompatible("a store of another model");
  }
  return std::nullopt;
}

bool StoreFile::createSchema(Connection& connection, const std::vector<EntitySql>& entities,
                             ErrorSlot error) const {
  if (connection.execute("BEGIN IMMEDIATE") && writeSchema(connection, entities) &&
      connection.execute("COMMIT")) {
    return true;
  }
  replaceError(error, connection.lastError());
  if (connection.inTransaction()) {
    connection.execute("ROLLBACK");
  }
  return false;
}

bool StoreFile::writeSchema(Connection& connection, const std::vector<EntitySql>& entities) const {
  const auto applicationId = connection.integer("PRAGMA application_id");
  if (applicationId == 0 && !(setHeaderField(connection, "application_id", kApplicationId) &&
                              setHeaderField(connection, "user_version", modelTag_))) {
    return false;
  }
  for (const EntitySql& entity : entities) {
    for (const std::string& statement : entity.create) {
      if (!connection.execute(statement)) {
        return false;
      }
    }
  }
  return applicationId.has_value();
}

Error StoreFile::incompatible(std::string_view why) const {
  return makeError(kPersistenceErrorDomain, kIncompatibleStoreErrorCode,
                   path_ + ": " + std::string(why));
}

Error StoreFile::unusable(int errorNumber) const {
  return makeError(kPersistenceErrorDomain, SQLITE_CANTOPEN,
                   path_ + ": " + std::generic_category().message(errorNumber));
}

}  // namespace velto
