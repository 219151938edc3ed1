// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/ADAlertStore.h"
#include "tests/support/ScratchSystem.h"

namespace velto {

/// An error that stood in a slot before the call.
inline const Error kEarlier = makeError("Earlier", 1, "from before");

inline Error ownError(std::string_view message) {
  return makeError("VeltoAlertsStore", 100, message);
}

/// Tests of the store's operations on a store in a scratch system.
class StoreTest : public ::testing::Test {
 protected:
  /// A handle without storage behind it: every fetch fails.
  ADAlertStore brokenStore() { return ADAlertStore(broken_); }

  void save(ADAlertStore& store) {
    std::optional<Error> error;
    ASSERT_TRUE(store.save(&error)) << error->localizedDescription();
  }

  ScratchSystem system_;

 private:
  TemporaryDirectory nothing_;
  FakeLog brokenLog_;
  StoreContainer broken_{
      nothing_.path().string(),
      nothing_.path().string(),
      {system_.bundles, system_.languages, DirectoryEntries::system(), system_.clock, brokenLog_}};
};

/// An alert of the bundle Disk and the type AlmostFull.
inline VLAlert alert(std::optional<std::string> identifier,
                     std::optional<double> sent = std::nullopt) {
  VLAlert made;
  made.identifier = std::move(identifier);
  made.type = "AlmostFull";
  made.bundle = "Disk";
  if (sent) {
    made.sentDate = Date(*sent);
  }
  return made;
}

/// Alerts with one of the three dates each, and one with none.
inline void insertDated(ADAlertStore& store) {
  auto sent = alert("sent", 10);
  auto read = alert("read");
  read.readDate = Date(20);
  auto resolved = alert("resolved");
  resolved.resolvedDate = Date(30);
  for (const VLAlert& each : {sent, read, resolved, alert("undated")}) {
    store.insertAlert(each);
  }
}

inline std::vector<std::string> identifiers(const std::vector<VLAlert>& alerts) {
  std::vector<std::string> found;
  found.reserve(alerts.size());
  for (const auto& each : alerts) {
    found.push_back(each.identifier.value_or("none"));
  }
  return found;
}

}  // namespace velto
