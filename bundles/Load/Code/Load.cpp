// SPDX-License-Identifier: Apache-2.0
// The code of Load.bundle: the subject tells the load, and a recovery action looks again.
#include <cstdlib>
#include <unistd.h>

#include <velto/alert_bundle.hpp>

using namespace velto::bundle;

struct HighLoad : AlertClass {
  bool subject(const Alert& alert, Text& text) const override {
    const auto load = alert.attribute("load").number();
    if (load) text.appendNumber(*load, 1).append(": ");
    return alert.appendSubject(text);
  }
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

VELTO_ALERT_BUNDLE(classes) {
  classes.alert<HighLoad>("HighLoad").action<Recheck>("Recheck");
}
