// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/RegularFile.h"

#include <cerrno>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

int readError(const std::string& path, std::size_t limit) {
  std::optional<Error> error;
  EXPECT_FALSE(contentsOfRegularFile(path, limit, &error).has_value());
  EXPECT_TRUE(error.has_value()) << path;
  return error ? static_cast<int>(error->code) : 0;
}

TEST(RegularFile, GivesAllBytesUpToTheLimit) {
  const TemporaryDirectory directory;
  const std::string content = std::string(40000, 'x') + '\0' + "end";
  const std::string path = directory.write("file", content).string();
  EXPECT_EQ(contentsOfRegularFile(path, content.size(), nullptr), content);
  EXPECT_EQ(readError(path, content.size() - 1), EFBIG);
}

TEST(RegularFile, AnEmptyFileIsNotAMissingOne) {
  const TemporaryDirectory directory;
  EXPECT_EQ(contentsOfRegularFile(directory.write("file", "").string(), 0, nullptr), "");
  EXPECT_EQ(readError((directory.path() / "missing").string(), 10), ENOENT);
}

TEST(RegularFile, NeverWaitsForWhatIsNoFile) {
  const TemporaryDirectory directory;
  const std::string fifo = (directory.path() / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(readError(fifo, 10), EINVAL);
  EXPECT_EQ(readError(directory.path().string(), 10), EISDIR);
  EXPECT_EQ(readError("/dev/zero", 10), EINVAL);
}

TEST(RegularFile, APathWithAZeroByteIsNotCutShort) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "text").string();
  EXPECT_EQ(readError(path + std::string("\0.txt", 5), 10), EINVAL);
}

TEST(RegularFile, NamesTheFileInItsError) {
  std::optional<Error> error;
  contentsOfRegularFile("/nonexistent/file", 10, &error);
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->localizedDescription(),
            "Cannot read /nonexistent/file: No such file or directory");
}

TEST(RegularFile, APrivateFileIsReadByItsOwnerOnly) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "secret").string();
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
  EXPECT_EQ(contentsOfPrivateFile(path, 6, nullptr), "secret");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  std::optional<Error> error = makeError("Other", 1, "an earlier one");
  EXPECT_EQ(contentsOfPrivateFile(path, 6, &error), std::nullopt);
  EXPECT_EQ(error,
            makeError(kPOSIXErrorDomain, EPERM,
                      "Cannot read " + path + ": others than its owner can read or write it"));
  EXPECT_EQ(contentsOfRegularFile(path, 6, nullptr), "secret");
}

}  // namespace
}  // namespace velto
