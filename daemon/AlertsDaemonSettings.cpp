// SPDX-License-Identifier: Apache-2.0
// The global attributes, and the settings of bundles.

#include <utility>

#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {

void AlertsDaemon::getAttributes(Reply<Attributes> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getAttributes(&error);
  });
}

void AlertsDaemon::setAttributes(std::optional<PropertyList::Dictionary> attributes,
                                 ErrorReply reply) {
  const auto wanted = std::move(attributes).value_or(PropertyList::Dictionary());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return store.setAttributes(wanted, &error);
  });
}

void AlertsDaemon::enableAlertBundle(std::optional<std::string> bundle, ErrorReply reply) {
  changeAsRoot(reply, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return store.enableAlertBundle(bundle, &error);
  });
}

void AlertsDaemon::disableAlertBundle(std::optional<std::string> bundle, ErrorReply reply) {
  changeAsRoot(reply, SaveFailure::kNotTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return store.disableAlertBundle(bundle, &error);
  });
}

void AlertsDaemon::getAlertBundleNames(Reply<std::vector<std::string>> reply) {
  // For everybody: a caller without rights may know what is installed.
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto names = store.getEnabledAlertBundleNames(&error);
  reply(std::move(names), std::move(error));
}

void AlertsDaemon::getAlertBundleSettings(Reply<BundleSettings> reply) {
  asRoot(reply, [](ADAlertStore& store, std::optional<Error>& error) {
    return store.getAlertBundleSettings(&error);
  });
}

void AlertsDaemon::setAlertBundleSettings(std::optional<BundleSettings> settings,
                                          ErrorReply reply) {
  const auto wanted = std::move(settings).value_or(BundleSettings());
  changeAsRoot(reply, SaveFailure::kTold, [&](ADAlertStore& store, std::optional<Error>& error) {
    return store.setAlertBundleSettings(wanted, &error);
  });
}

}  // namespace velto
