#include "tests/support/SimulatedDisk.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "tests/support/TemporaryDirectory.h"

namespace velto {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kSectorSize = 512;

bool toss(std::mt19937& chance) {
  return (chance() & 1) != 0;
}

void write(std::string& content, std::size_t offset, std::string_view data) {
  content.resize(std::max(content.size(), offset + data.size()));
  content.replace(offset, data.size(), data);
}

void change(std::string& content, const FileCall& call) {
  const auto offset = static_cast<std::size_t>(call.offset);
  if (call.kind == FileCall::Kind::kTruncate) {
    content.resize(offset);
  } else {
    write(content, offset, call.data);
  }
}

/// Some of the sectors that the write touches.
void tear(std::string& content, const FileCall& call, std::mt19937& chance) {
  const auto start = static_cast<std::size_t>(call.offset);
  for (std::size_t at = 0; at < call.data.size();) {
    const std::size_t length = kSectorSize - (start + at) % kSectorSize;
    if (toss(chance)) {
      write(content, start + at, std::string_view(call.data).substr(at, length));
    }
    at += length;
  }
}

void changeByChance(std::string& content, const FileCall& call, std::mt19937& chance) {
  if (call.kind == FileCall::Kind::kWrite && toss(chance)) {
    tear(content, call, chance);
  } else if (toss(chance)) {
    change(content, call);
  }
}

}  // namespace

SimulatedDisk::SimulatedDisk(const fs::path& directory) {
  for (const auto& entry : fs::directory_iterator(directory)) {
    files_[entry.path()] = {readFile(entry.path()), {}, true, std::nullopt};
  }
}

void SimulatedDisk::apply(const FileCall& call) {
  switch (call.kind) {
    case FileCall::Kind::kWrite:
    case FileCall::Kind::kTruncate:
      files_[call.path].pending.push_back(call);
      break;
    case FileCall::Kind::kSync: {
      File& file = files_[call.path];
      for (const FileCall& pending : file.pending) {
        change(file.certain, pending);
      }
      file = {std::move(file.certain), {}, true, std::nullopt};
      break;
    }
    case FileCall::Kind::kDelete:
      if (call.offset == 0 && isCertain(call.path)) {
        files_[call.path] = {"", {}, false, files_[call.path].certain};
      } else {
        files_.erase(call.path);
      }
      break;
    case FileCall::Kind::kOpen:
    case FileCall::Kind::kRead:
      break;
  }
}

void SimulatedDisk::applyFailedSync(const std::string& path) {
  files_[path].pending.clear();
}

bool SimulatedDisk::isCertain(const std::string& path) const {
  const auto found = files_.find(path);
  return found != files_.end() && found->second.hasCertainName && found->second.pending.empty();
}

std::optional<std::string> SimulatedDisk::content(const File& file, Failure failure,
                                                  std::mt19937& chance) {
  if (failure == Failure::kLosesNothing) {
    const bool isThere = file.hasCertainName || !file.pending.empty();
    std::string content = file.certain;
    std::for_each(file.pending.begin(), file.pending.end(),
                  [&](const FileCall& call) { change(content, call); });
    return isThere ? std::optional(content) : std::nullopt;
  }
  const bool losesAll = failure == Failure::kLosesAll;
  if (!file.hasCertainName && (losesAll || toss(chance))) {
    return file.former;
  }
  std::string content = file.certain;
  if (!losesAll) {
    std::vector<FileCall> calls = file.pending;
    std::shuffle(calls.begin(), calls.end(), chance);
    for (const FileCall& call : calls) {
      changeByChance(content, call, chance);
    }
  }
  return content;
}

void SimulatedDisk::fail(Failure failure, std::mt19937& chance, const fs::path& directory) const {
  for (const auto& [path, file] : files_) {
    if (const auto bytes = content(file, failure, chance)) {
      std::ofstream(directory / fs::path(path).filename(), std::ios::binary) << *bytes;
    }
  }
}

}  // namespace velto
