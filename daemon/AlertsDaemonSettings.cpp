// The settings of bundles.

#include <utility>

#include "daemon/AlertsDaemon.h"
#include "store/ADAlertStore.h"

namespace velto {

void AlertsDaemon::getAlertBundleNames(Reply<std::vector<std::string>> reply) {
  ADAlertStore store(services_.stores);
  std::optional<Error> error;
  auto names = store.getEnabledAlertBundleNames(&error);
  reply(std::move(names), std::move(error));
}

}  // namespace velto
