// SPDX-License-Identifier: Apache-2.0
// A process that saves is killed, again and again, over the same store.

#include <algorithm>
#include <csignal>
#include <random>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileDescriptor.h"
#include "tests/persistence/StoreContent.h"
#include "tests/persistence/TestStore.h"

namespace velto {
namespace {

using ::testing::IsSupersetOf;

/// What a thread of the process tells its parent after each save, in one write.
struct Acknowledgement {
  int thread;
  int save;
};

std::string nameOf(int round, Acknowledgement save, const char* half) {
  return std::to_string(round) + "/" + std::to_string(save.thread) + "/" +
         std::to_string(save.save) + " " + half;
}

/// Saves pairs, of sizes that make for frequent checkpoints, until the process is killed.
void saveWithoutEnd(const TestStore& store, int round, int thread, int acknowledgements) {
  for (Acknowledgement next{thread, 0};; ++next.save) {
    const auto context = store.context();
    for (const char* half : {"left", "right"}) {
      insertThing(*context, nameOf(round, next, half)).setData(Data(std::string(30000, 'x')));
    }
    if (!context->save(nullptr) || ::write(acknowledgements, &next, sizeof next) != sizeof next) {
      _exit(1);
    }
  }
}

[[noreturn]] void runChild(TestStore& store, int round, int acknowledgements) {
  store.open();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&, thread] { saveWithoutEnd(store, round, thread, acknowledgements); });
  }
  threads.front().join();
  _exit(1);
}

/// Reads until that many saves are acknowledged, kills the process, and reads the rest.
std::vector<std::string> killAfter(std::size_t saves, pid_t process, int acknowledgements,
                                   int round) {
  std::vector<std::string> names;
  Acknowledgement next{};
  while (::read(acknowledgements, &next, sizeof next) == sizeof next) {
    names.push_back(nameOf(round, next, "left"));
    names.push_back(nameOf(round, next, "right"));
    if (names.size() == 2 * saves) {
      EXPECT_EQ(::kill(process, SIGKILL), 0);
    }
  }
  int status = 0;
  EXPECT_EQ(::waitpid(process, &status, 0), process);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
  return names;
}

/// Each record's other half is there, too.
void expectWholePairs(const std::vector<std::string>& names) {
  for (std::size_t index = 0; index < names.size(); index += 2) {
    const std::string& left = names[index];
    ASSERT_LT(index + 1, names.size()) << left;
    EXPECT_EQ(names[index + 1], left.substr(0, left.find(' ')) + " right");
  }
}

TEST(KilledProcess, KeepsWhatWasAcknowledgedAndNoHalfSave) {
  TestStore store;
  std::mt19937 random(5);
  for (int round = 0; round < 25; ++round) {
    SCOPED_TRACE(round);
    store.close();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const FileDescriptor output(ends[0]);
    FileDescriptor input(ends[1]);
    const pid_t process = ::fork();
    ASSERT_GE(process, 0);
    if (process == 0) {
      runChild(store, round, input.get());
    }
    input = FileDescriptor();
    const auto acknowledged = killAfter(1 + random() % 80, process, output.get(), round);
    store.open();
    EXPECT_EQ(integrityOf(store.path()), "ok");
    const auto context = store.context();
    const auto kept = names(*context, thingRequest());
    EXPECT_THAT(kept, IsSupersetOf(acknowledged));
    expectWholePairs(kept);
    for (const Thing& thing : fetchThings(*context, thingRequest())) {
      context->deleteObject(thing);
    }
    expectSaved(*context);
  }
}

}  // namespace
}  // namespace velto
