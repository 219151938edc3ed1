// SPDX-License-Identifier: Apache-2.0
// The code of Load.bundle: the subject tells the load, and a recovery action looks again.
#include <cstdlib>
#include <unistd.h>

#include <velto/alert_bundle.hpp>

using namespace velto::bundle;

namespace {

struct HighLoad : AlertClass {
  bool subject(const Alert& alert, Text& text) const override {
    if (const auto load = alert.attribute("load").number())
      text.appendNumber(*load, 1).append(": ");
    return alert.appendSubject(text);
  }
  std::vector<std::string> recoveryOptions(const Alert&) const override { return {"Recheck"}; }
};

struct Recheck : ActionClass {
  std::optional<bool> hasBeenResolved(const Alert&) override {
    double load = 0;  // programs that want a processor, in the last minute
    if (getloadavg(&load, 1) != 1) return std::nullopt;
    return load <= static_cast<double>(sysconf(_SC_NPROCESSORS_ONLN));
  }
  std::optional<Failure> run(const Alert& alert, const char*) override {
    if (hasBeenResolved(alert) == true) return std::nullopt;
    return Failure{1, "The load is still high."};
  }
};

}  // namespace

const std::uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  return registerClasses(daemon, registry, [](Registry& classes) {
    classes.alert<HighLoad>("HighLoad").action<Recheck>("Recheck");
  });
}
