// SPDX-License-Identifier: Apache-2.0
// Admission of connections.

#include "daemon/AlertsDaemonListener.h"

#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/foundation/Paths.h"
#include "platform/foundation/SingleLine.h"
#include "protocol/ArgumentClasses.h"

namespace velto {
namespace {

/// The look-up takes the address of the token, not the token.
Data addressOf(const AuditToken& token) {
  const auto address = reinterpret_cast<std::uintptr_t>(&token);
  std::vector<std::uint8_t> bytes(sizeof address);
  std::memcpy(bytes.data(), &address, sizeof address);
  return Data(std::move(bytes));
}

std::optional<PropertyList::Array> bundleList(const PropertyList::Dictionary& entitlements) {
  const PropertyList* value = valueForKey(entitlements, kBundleEntitlement);
  if (value != nullptr && value->array() != nullptr) {
    return *value->array();
  }
  if (value != nullptr && value->string() != nullptr) {
    return PropertyList::Array{*value};
  }
  return std::nullopt;
}

Interface exportedInterface() {
  auto interface = Interface::interfaceWithProtocol(alertsDaemonProtocol());
  interface.addProtocol(alertsMonitorProtocol());
  interface.setClasses({kVLAlertClass, kArrayClass}, "saveAlerts:callback:", 0, false);
  interface.setClasses({kStringClass, kArrayClass}, "deleteAlertsWithIds:callback:", 0, false);
  interface.setClasses({kStringClass, kDictionaryClass, kArrayClass},
                       "addMailRecipients:callback:", 0, false);
  return interface;
}

/// Who may do little sends little: what is sent costs memory before it is looked at.
std::size_t maximumCallSize(const AlertsDaemon& object) {
  constexpr std::size_t kOfServices = std::size_t{1024} * 1024;
  constexpr std::size_t kOfOthers = std::size_t{64} * 1024;
  if (object.isRoot()) return kMaximumCallSize;
  return object.isPrivileged() || object.bundles() ? kOfServices : kOfOthers;
}

}  // namespace

AlertsDaemonListener::AlertsDaemonListener(const AlertsDaemonServices& services,
                                           const AlertsMonitorServices& watching,
                                           const AlertsDaemonListenerSeams& seams)
    : services_(services),
      watching_(watching),
      seams_(seams),
      exported_(std::make_shared<const Interface>(exportedInterface())) {
  const auto error = loadAlertBundles();
  // What is wrong with the store has been logged.
  if (error && !services_.stores.problem()) {
    services_.log.warning("No alert bundles are looked for: " + error->localizedDescription());
  }
}

std::set<uid_t> AlertsDaemonListener::allowedUIDs() {
  return {27, 83, 84, 94, 214, 220, 235};
}

bool AlertsDaemonListener::isPrivilegedUID(uid_t uid) const {
  return allowedUIDs().contains(uid);
}

std::optional<PropertyList::Array> AlertsDaemonListener::entitledBundlesForAuditToken(
    const AuditToken& token) const {
  std::unique_ptr<CodeReference> code;
  if (seams_.codeSigning.copyGuestWithAttributes(
          {{std::string(kSecGuestAttributeAudit), addressOf(token)}}, 0, code) != kSecSuccess) {
    return std::nullopt;
  }
  std::optional<PropertyList::Dictionary> information;
  if (seams_.codeSigning.copySigningInformation(*code, kSecCSRequirementInformation, information) !=
          kSecSuccess ||
      !information) {
    return std::nullopt;
  }
  const PropertyList* entitlements = valueForKey(*information, kSecCodeInfoEntitlementsDict);
  if (entitlements == nullptr || entitlements->dictionary() == nullptr) {
    return std::nullopt;
  }
  return bundleList(*entitlements->dictionary());
}

std::unique_ptr<AlertsDaemon> AlertsDaemonListener::serviceObject(
    const Connection& connection) const {
  if (connection.effectiveUserIdentifier() == 0 || connection.effectiveGroupIdentifier() == 0) {
    return AlertsDaemon::initAsRoot(services_);
  }
  if (isPrivilegedUID(connection.effectiveUserIdentifier())) {
    return AlertsDaemon::initAsPrivileged(services_);
  }
  if (auto bundles = entitledBundlesForAuditToken(connection.auditToken());
      bundles && !bundles->empty()) {
    return AlertsDaemon::initWithBundleEntitlements(services_, std::move(*bundles));
  }
  services_.log.warning("Connection attempt with insufficient privileges");
  tellOfCaller(connection.auditToken());
  return AlertsDaemon::init(services_);
}

/// One line of a user, whichever of its processes it is.
void AlertsDaemonListener::didReceiveNoCall(const Connection& connection, std::string_view what) {
  const AuditToken& token = connection.auditToken();
  const std::string user = std::to_string(token.effectiveUserIdentifier);
  repeatedLines_.warningOf("no call of " + user, "A connection has ended: process " +
                                                     std::to_string(token.processIdentifier) +
                                                     " of user " + user + " has sent " +
                                                     std::string(what));
}

/// Who has no rights: a user's program says so itself, time and again, so it is told once a day.
void AlertsDaemonListener::tellOfCaller(const AuditToken& token) const {
  const std::string process = std::to_string(token.processIdentifier);
  std::error_code failed;
  const auto file = std::filesystem::read_symlink("/proc/" + process + "/exe", failed);
  const std::string executable = failed ? "a program that is not seen" : singleLine(file.string());
  const std::string user = std::to_string(token.effectiveUserIdentifier);
  dailyLog_->warningOf(user + " " + executable,
                       "No rights for process " + process + " of user " + user + ": " + executable);
}

bool AlertsDaemonListener::shouldAcceptNewConnection(Listener& listener, Connection& connection) {
  auto object = serviceObject(connection);
  connection.setMaximumCallSize(maximumCallSize(*object));
  connection.setExportedInterface(exported_);
  auto monitor =
      std::make_unique<AlertsMonitor>(services_, watching_, listener.counts(), object->isRoot());
  connection.addExportedObject(std::move(object));
  connection.addExportedObject(std::move(monitor));
  connection.resume();
  return true;
}

}  // namespace velto
