// SPDX-License-Identifier: Apache-2.0
#include "tests/support/SimulatedDisk.h"

#include <algorithm>
#include <fstream>
#include <string_view>

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
    names_[entry.path()] = std::make_shared<File>(File{readFile(entry.path()), {}});
  }
  certainNames_ = names_;
}

void SimulatedDisk::apply(const FileCall& call) {
  switch (call.kind) {
    case FileCall::Kind::kOpen:
      file(call.path);
      break;
    case FileCall::Kind::kRead:
      break;
    case FileCall::Kind::kWrite:
    case FileCall::Kind::kTruncate:
      file(call.path).pending.push_back(call);
      break;
    case FileCall::Kind::kSync: {
      File& synced = file(call.path);
      for (const FileCall& pending : std::exchange(synced.pending, {})) {
        change(synced.certain, pending);
      }
      break;
    }
    case FileCall::Kind::kDelete:
      changeNames({{call.path, nullptr}});
      break;
    case FileCall::Kind::kRename:
      changeNames({{call.path, nullptr}, {call.data, names_.at(call.path)}});
      break;
    case FileCall::Kind::kSyncDirectory:
      syncDirectory();
      break;
  }
}

void SimulatedDisk::applyFailedSync(const FileCall& sync) {
  if (sync.kind == FileCall::Kind::kSyncDirectory) {
    nameChanges_.clear();
  } else {
    file(sync.path).pending.clear();
  }
}

/// The file of the name, which is made when there is none.
SimulatedDisk::File& SimulatedDisk::file(const std::string& path) {
  if (!names_.contains(path)) {
    changeNames({{path, std::make_shared<File>()}});
  }
  return *names_.at(path);
}

void SimulatedDisk::changeNames(NameChange change) {
  apply(change, names_);
  nameChanges_.push_back(std::move(change));
}

void SimulatedDisk::syncDirectory() {
  for (const NameChange& change : std::exchange(nameChanges_, {})) {
    apply(change, certainNames_);
  }
}

void SimulatedDisk::apply(const NameChange& change, Names& names) {
  for (const auto& [path, file] : change) {
    if (file == nullptr) {
      names.erase(path);
    } else {
      names[path] = file;
    }
  }
}

bool SimulatedDisk::isCertain(const std::string& path) const {
  const auto found = names_.find(path);
  return found != names_.end() && found->second->pending.empty();
}

std::string SimulatedDisk::content(const File& file, Failure failure, std::mt19937& chance) {
  std::string content = file.certain;
  if (failure == Failure::kLosesNothing) {
    std::for_each(file.pending.begin(), file.pending.end(),
                  [&](const FileCall& call) { change(content, call); });
  } else if (failure == Failure::kLosesTearsMixes) {
    std::vector<FileCall> calls = file.pending;
    std::shuffle(calls.begin(), calls.end(), chance);
    for (const FileCall& call : calls) {
      changeByChance(content, call, chance);
    }
  }
  return content;
}

void SimulatedDisk::fail(Failure failure, std::mt19937& chance, const fs::path& directory) const {
  Names names = certainNames_;
  for (const NameChange& change : nameChanges_) {
    if (failure == Failure::kLosesNothing ||
        (failure == Failure::kLosesTearsMixes && toss(chance))) {
      apply(change, names);
    }
  }
  for (const auto& [path, file] : names) {
    std::ofstream(directory / fs::path(path).filename(), std::ios::binary)
        << content(*file, failure, chance);
  }
}

}  // namespace velto
