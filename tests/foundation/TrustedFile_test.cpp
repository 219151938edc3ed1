// SPDX-License-Identifier: Apache-2.0
#include "platform/foundation/TrustedFile.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/foundation/RegularFile.h"
#include "tests/support/SkipOrFail.h"
#include "tests/support/TemporaryDirectory.h"

namespace velto {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kStranger = 65534;
constexpr FileRequirement kOwn = {FileOwner::kRootOrSelf, OthersMay::kRead};
constexpr FileRequirement kOwnSecret = {FileOwner::kRootOrSelf, OthersMay::kNeither};
constexpr FileRequirement kRoots = {FileOwner::kRoot, OthersMay::kRead};
constexpr FileRequirement kRootsSecret = {FileOwner::kRoot, OthersMay::kNeither};

class TrustedFileTest : public testing::Test {
 protected:
  TrustedFileTest() { chmod(directory_.path().c_str(), 0755); }

  std::string write(const std::string& name, mode_t mode) const {
    std::string path = directory_.write(name, "content");
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
  }

  /// What the error says, or "" when the file is opened.
  static std::string objection(const std::string& path, const FileRequirement& requirement) {
    std::optional<Error> error;
    const bool isOpen = openTrustedFile(path, requirement, &error).isOpen();
    EXPECT_EQ(isOpen, !error);
    EXPECT_EQ(openTrustedFile(path, requirement, nullptr).isOpen(), isOpen);
    return error ? error->localizedDescription() : "";
  }
  static Error refusal(const std::string& path, const FileRequirement& requirement = {}) {
    std::optional<Error> error;
    EXPECT_FALSE(openTrustedFile(path, requirement, &error).isOpen());
    return error.value_or(Error());
  }
  /// The same for the file a/b below the directory.
  std::string objectionBelow() const {
    std::optional<Error> error;
    const bool isOpen = openTrustedFileBelow(directory_.path(), {"a", "b"}, &error).isOpen();
    EXPECT_EQ(isOpen, !error);
    return error ? error->localizedDescription() : "";
  }

  const TemporaryDirectory directory_;
};

Error posixError(int code, std::string_view description) {
  return makeError(kPOSIXErrorDomain, code, description);
}

TEST_F(TrustedFileTest, WithoutARequirementAnyFileIsOpened) {
  EXPECT_EQ(objection(write("file", 0666), {}), "");
  std::optional<Error> error;
  const FileDescriptor file = openTrustedFile(write("file", 0644), {}, &error);
  EXPECT_EQ(contentsOfFile(file, 7, &error), "content");
  EXPECT_EQ(contentsOfFile(file, 7, &error), "") << "it stands at its end";
}

TEST_F(TrustedFileTest, OthersMayDoNoMoreThanTheRequirementAllows) {
  for (const mode_t mode : {0644U, 0604U, 0640U, 0755U}) {
    EXPECT_EQ(objection(write("file", mode), kOwn), "") << std::oct << mode;
    EXPECT_EQ(objection(write("file", mode), kOwnSecret),
              "others than its owner can read or write it");
  }
  for (const mode_t mode : {0664U, 0646U, 0620U, 0602U}) {
    EXPECT_EQ(objection(write("file", mode), kOwn), "others than its owner can write it");
    EXPECT_EQ(objection(write("file", mode), kOwnSecret),
              "others than its owner can read or write it");
  }
  EXPECT_EQ(objection(write("file", 0600), kOwnSecret), "");
  EXPECT_EQ(refusal(write("file", 0666), kOwn).code, EPERM);
}

TEST_F(TrustedFileTest, TheOwnerIsTheOneThatTheRequirementNames) {
  if (geteuid() != 0) {
    return skipOrFail("only root can give a file away");
  }
  const std::string path = write("file", 0600);
  EXPECT_EQ(objection(path, kRootsSecret), "");
  ASSERT_EQ(chown(path.c_str(), kStranger, 0), 0);
  EXPECT_EQ(objection(path, {}), "");
  EXPECT_EQ(refusal(path, kOwn), posixError(EPERM, "it belongs to user 65534"));
  EXPECT_EQ(refusal(path, kRoots), posixError(EPERM, "it does not belong to root"));
}

TEST_F(TrustedFileTest, RootsFileMustBeClosedToOthersThanRoot) {
  if (geteuid() != 0) {
    return skipOrFail("only root can make a file of root's");
  }
  EXPECT_EQ(objection(write("file", 0664), kRoots), "others than root can write it");
  EXPECT_EQ(objection(write("file", 0640), kRootsSecret), "others than root can read or write it");
  EXPECT_EQ(objection(write("file", 0640), kRoots), "");
}

TEST_F(TrustedFileTest, TheDaemonsOwnUserIsNotRoot) {
  if (geteuid() != 0) {
    return skipOrFail("only root can become somebody else");
  }
  const std::string path = write("file", 0600);
  ASSERT_EQ(chown(path.c_str(), kStranger, 0), 0);
  ASSERT_EQ(seteuid(kStranger), 0);
  const std::string own = objection(path, kOwnSecret);
  const std::string roots = objection(path, kRootsSecret);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_EQ(own, "");
  EXPECT_EQ(roots, "it does not belong to root");
}

TEST_F(TrustedFileTest, ALinkIsFollowedOnlyWhereThatIsAllowed) {
  const std::string link = directory_.path() / "link";
  fs::create_symlink(write("file", 0600), link);
  EXPECT_EQ(objection(link, kOwnSecret), "");
  EXPECT_EQ(refusal(link, {FileOwner::kAnybody, OthersMay::kReadAndWrite, false}),
            posixError(ELOOP, "Too many levels of symbolic links"));
}

TEST_F(TrustedFileTest, OnlyARegularFileIsAFile) {
  const std::string fifo = directory_.path() / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  EXPECT_EQ(refusal(fifo), posixError(EINVAL, "Invalid argument"));
  EXPECT_EQ(refusal("/dev/zero").code, EINVAL);
  EXPECT_EQ(refusal(directory_.path()), posixError(EISDIR, "Is a directory"));
  EXPECT_EQ(refusal(directory_.path() / "missing"),
            posixError(ENOENT, "No such file or directory"));
  EXPECT_EQ(refusal(write("file", 0600) + std::string("\0.txt", 5)).code, EINVAL);
}

TEST_F(TrustedFileTest, AFolderIsHeldToTheSameRequirements) {
  const std::string path = directory_.path();
  std::optional<Error> error;
  EXPECT_TRUE(openTrustedDirectory(path, kOwn, &error).isOpen());
  EXPECT_EQ(error, std::nullopt);
  ASSERT_EQ(chmod(path.c_str(), 0775), 0);
  EXPECT_FALSE(openTrustedDirectory(path, kOwn, &error).isOpen());
  EXPECT_EQ(error, posixError(EPERM, "others than its owner can write it"));
  error.reset();
  EXPECT_FALSE(openTrustedDirectory(write("file", 0600), {}, &error).isOpen());
  EXPECT_EQ(error, posixError(ENOTDIR, "Not a directory"));
  error.reset();
  EXPECT_FALSE(openTrustedDirectory(path + "/missing", {}, &error).isOpen());
  EXPECT_EQ(error->code, ENOENT);
}

TEST_F(TrustedFileTest, EveryStepBelowAFolderIsChecked) {
  const std::string file = write("a/b", 0644);
  const std::string folder = directory_.path() / "a";
  ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
  EXPECT_EQ(objectionBelow(), "");
  for (const std::string& path : {std::string(directory_.path()), folder, file}) {
    ASSERT_EQ(chmod(path.c_str(), 0775), 0);
    EXPECT_EQ(objectionBelow(), path + " can be written by others than its owner");
    ASSERT_EQ(chmod(path.c_str(), 0755), 0);
  }
  if (geteuid() == 0) {
    for (const std::string& path : {std::string(directory_.path()), folder, file}) {
      ASSERT_EQ(chown(path.c_str(), kStranger, 0), 0);
      EXPECT_EQ(objectionBelow(), path + " belongs to user 65534");
      ASSERT_EQ(chown(path.c_str(), 0, 0), 0);
    }
  }
}

TEST_F(TrustedFileTest, BelowAFolderNoLinkIsFollowed) {
  const std::string file = directory_.path() / "a/b";
  EXPECT_EQ(objectionBelow(), (directory_.path() / "a").string() + ": No such file or directory");
  fs::create_directory(directory_.path() / "a");
  ASSERT_EQ(chmod((directory_.path() / "a").c_str(), 0755), 0);
  fs::create_symlink(write("target", 0644), file);
  EXPECT_EQ(objectionBelow(), file + ": Too many levels of symbolic links");
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(objectionBelow(), file + " is not a regular file");
}

TEST_F(TrustedFileTest, TheFolderToStartFromMayBeALink) {
  write("a/b", 0644);
  ASSERT_EQ(chmod((directory_.path() / "a").c_str(), 0755), 0);
  const TemporaryDirectory elsewhere;
  const std::string link = elsewhere.path() / "link";
  fs::create_directory_symlink(directory_.path(), link);
  std::optional<Error> error;
  const FileDescriptor file = openTrustedFileBelow(link, {"a", "b"}, &error);
  EXPECT_EQ(contentsOfFile(file, 100, &error), "content");
}

TEST_F(TrustedFileTest, WhatIsLargerThanTheLimitIsNotRead) {
  std::optional<Error> error;
  const FileDescriptor file = openTrustedFile(write("file", 0600), {}, &error);
  EXPECT_EQ(contentsOfFile(file, 6, &error), std::nullopt);
  EXPECT_EQ(error, posixError(EFBIG, "File too large"));
}

TEST(FileName, StandsForAnEntryOfAFolder) {
  for (const std::string name : {"a", ".a", "...", "a b"}) {
    EXPECT_TRUE(isFileName(name)) << name;
  }
  for (const std::string& name : {std::string(), std::string("."), std::string(".."),
                                  std::string("a/b"), std::string("/"), std::string("a\0b", 3)}) {
    EXPECT_FALSE(isFileName(name)) << name;
  }
}

}  // namespace
}  // namespace velto
