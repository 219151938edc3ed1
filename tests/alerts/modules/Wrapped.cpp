// SPDX-License-Identifier: Apache-2.0
// A bundle's code with velto/alert_bundle.hpp, which uses all of it, and throws when it is asked
// to.

#include <stdexcept>
#include <string>

#include <velto/alert_bundle.hpp>

using namespace velto::bundle;

namespace {

std::string describe(const Value& value) {
  if (const auto whole = value.integer()) return "i" + std::to_string(*whole);
  if (const auto large = value.unsignedInteger()) return "u" + std::to_string(*large);
  if (const auto real = value.number()) return "r" + std::to_string(*real);
  if (const auto condition = value.boolean()) return *condition ? "true" : "false";
  if (const auto date = value.date()) return "d" + std::to_string(*date);
  if (const auto string = value.string()) return "s" + std::string(*string);
  if (const auto data = value.data()) return "b" + std::string(*data);
  if (value.kind() == VELTO_ABSENT) return "none";
  std::string text = std::to_string(value.size()) + "(";
  value.each([&](std::string_view key, const Value& element) {
    text += std::string(key) + "=" + describe(element) + " ";
  });
  return text + ")";
}

class Full : public AlertClass {
 public:
  bool subject(const Alert& alert, Text& text) const override {
    alert.eachAttribute([&](std::string_view name, const Value& value) {
      if (name == "throw") throw std::runtime_error("thrown in a visit");
      text.append(std::string(name) + " " + describe(value) + "; ");
    });
    const Value list = alert.attribute("list");
    text.append(describe(list.at(0)) + " " + describe(list.at(7)) + " ");
    text.append(describe(alert.attribute("map").forKey("key")));
    return true;
  }
  bool message(const Alert& alert, Text& text) const override {
    if (alert.attribute("throw").boolean()) throw 7;
    text.append(std::string(text.language()) + "|").append(alert.attribute("list")).append("|");
    text.appendNumber(1234.5, 1).append("|").appendDate(0).append("|");
    text.append(alert.identifier().value_or("-") + alert.type().value_or("-"));
    text.append(alert.bundle().value_or("-") + alert.json());
    text.append(alert.date(VELTO_ALERT_SENT_DATE) ? "sent" : "not sent");
    return alert.appendMessage(text.append("|"));
  }
};

class Other : public AlertClass {
 public:
  std::vector<std::string> recoveryOptions(const Alert& alert) const override {
    return {"Fix", alert.type().value_or("none")};
  }
};

class Fix : public ActionClass {
 public:
  explicit Fix(const Alert& alert) : isResolved_(alert.attribute("resolved").boolean()) {
    if (alert.attribute("throw").boolean()) throw std::runtime_error("thrown in a constructor");
  }
  std::optional<bool> hasBeenResolved(const Alert&) override { return isResolved_; }
  std::optional<Failure> run(const Alert&, const char* language) override {
    if (!isResolved_) throw std::runtime_error("thrown in run");
    return *isResolved_ ? std::nullopt : std::optional(Failure{5, language});
  }

 private:
  const std::optional<bool> isResolved_;
};

}  // namespace

const std::uint32_t velto_alert_bundle_interface = VELTO_ALERT_BUNDLE_INTERFACE;

int velto_alert_bundle_register(const velto_host* daemon, velto_registry* registry) {
  return registerClasses(daemon, registry, [](Registry& classes) {
    classes.alert<Full>("Test").otherAlerts<Other>().action<Fix>("Fix");
    log("registered");
  });
}
