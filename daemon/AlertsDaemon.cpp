// SPDX-License-Identifier: Apache-2.0
// The roles of AlertsDaemon.

#include "daemon/AlertsDaemon.h"

#include <algorithm>
#include <utility>

namespace velto {

AlertsDaemon::AlertsDaemon(const AlertsDaemonServices& services, bool isRoot, bool isPrivileged,
                           std::optional<PropertyList::Array> bundles)
    : services_(services),
      isRoot_(isRoot),
      isPrivileged_(isPrivileged),
      bundles_(std::move(bundles)) {}

std::unique_ptr<AlertsDaemon> AlertsDaemon::init(const AlertsDaemonServices& services) {
  return std::unique_ptr<AlertsDaemon>(new AlertsDaemon(services, false, false, std::nullopt));
}

std::unique_ptr<AlertsDaemon> AlertsDaemon::initAsRoot(const AlertsDaemonServices& services) {
  return std::unique_ptr<AlertsDaemon>(new AlertsDaemon(services, true, false, std::nullopt));
}

std::unique_ptr<AlertsDaemon> AlertsDaemon::initAsPrivileged(const AlertsDaemonServices& services) {
  return std::unique_ptr<AlertsDaemon>(new AlertsDaemon(services, false, true, std::nullopt));
}

std::unique_ptr<AlertsDaemon> AlertsDaemon::initWithBundleEntitlements(
    const AlertsDaemonServices& services, PropertyList::Array bundles) {
  return std::unique_ptr<AlertsDaemon>(
      new AlertsDaemon(services, false, false, std::move(bundles)));
}

Error AlertsDaemon::error(int code, std::string_view description) const {
  return makeError(className(), code, description);
}

Error AlertsDaemon::privilegeError() const {
  return error(kInsufficientPrivilegesCode, "Error: Insufficient privileges.");
}

bool AlertsDaemon::isEntitledTo(const std::optional<std::string>& bundle) const {
  return bundle && bundles_ &&
         std::find(bundles_->begin(), bundles_->end(), PropertyList(*bundle)) != bundles_->end();
}

}  // namespace velto
