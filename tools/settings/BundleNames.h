// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include <velto/Error.h>

#include "tools/frame/Failure.h"
#include "tools/frame/Session.h"

namespace velto {

/// A bundle on this machine's disk.
struct InstalledBundle {
  std::string title = {};               ///< what people call it; may be empty
  std::vector<std::string> types = {};  ///< the kinds of alerts that it declares, sorted
  bool hasCode = false;                 ///< which may add others
};

/// The bundles in the alerts directory, by name; what cannot be read is left out. They are read
/// beside the daemon, which tells their names only.
std::map<std::string, InstalledBundle> installedBundles();

/// A name for people, and behind it the key that the tool takes, where that is another one.
std::string withKey(const std::string& name, const std::optional<std::string>& key);

/// The key of the bundle that the user has named, by its key or by its name for people; what is
/// neither comes back as it is.
std::string bundleMeant(Session& session, const std::string& name);
/// Likewise a kind of alerts, of this bundle or, without one, of any.
std::string typeMeant(Session& session, const std::optional<std::string>& bundle,
                      const std::string& name);

/// The names of bundles that a user may have meant: those in use, and those installed.
std::vector<std::string> knownBundles(Session& session);

/// Says on standard error that there is no such bundle, or no such kind of alerts, and what may be
/// meant: a filter by it finds nothing but what a bundle has left that is gone.
void warnOfUnknown(Session& session, const std::optional<std::string>& bundle,
                   const std::optional<std::string>& type);

/// Throws a Failure with the nearest names for a bundle that there is not.
void requireBundle(Session& session, const std::string& name);

/// Why an alert was not taken, with what its author may have meant.
Failure failureOfPosting(Session& session, const alerts::Error& error, const std::string& bundle);

}  // namespace velto
