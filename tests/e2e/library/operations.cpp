// SPDX-License-Identifier: Apache-2.0
// Calls every operation of the daemon through the installed library, as root. Needs a bundle
// Printer with the type Jam, and nothing else in the store.
#include <algorithm>
#include <future>
#include <iostream>
#include <limits>

#include <velto/Client.h>

#include "check.h"

using namespace velto::alerts;

namespace {

const Alert kAlert = {
    .identifier = "first",
    .type = "Jam",
    .bundle = "Printer",
    .creationDate = Date(0.1),
    .sentDate = Date(-0.5),
    .attributes = Value::Dictionary{{"text", "\"é\n\x01"},
                                    {"least", std::numeric_limits<std::int64_t>::min()},
                                    {"most", std::numeric_limits<std::uint64_t>::max()},
                                    {"real", 5e-324},
                                    {"whole", 2.0},
                                    {"yes", true},
                                    {"date", Date(788918400.25)},
                                    {"data", Data{0, 255, 16}},
                                    {"array", Value::Array{1, "x", Value::Dictionary()}},
                                    {"$reserved", Value::Dictionary{{"$date", "no"}}}}};

void saveAndList(Client& client) {
  SUCCEED(client.saveAlerts({kAlert}));
  CHECK(client.getLastAlertOfType("Jam").value == kAlert);
  CHECK(client.getLastAlertOfBundle("Printer").value == kAlert);
  const auto none = client.getLastAlertOfType("none");
  CHECK(none && !none.value);
  CHECK(client.getAlertsOfType("none").value == std::vector<Alert>());

  std::vector<Alert> many(2000, kAlert);
  std::for_each(many.begin(), many.end(), [number = 0](Alert& alert) mutable {
    alert.identifier = "many" + std::to_string(number);
    alert.sentDate = Date(-1.0 - number++);
  });
  SUCCEED(client.saveAlerts(many));
  many.insert(many.begin(), kAlert);
  CHECK(client.getAlertsOfBundle("Printer").value == many);
  std::size_t pieces = 0;
  std::size_t alerts = 0;
  const auto count = [&](const std::vector<Alert>& piece) {
    alerts += piece.size();
    return ++pieces > 0;
  };
  SUCCEED(client.getAlertsOfType("Jam", count));
  CHECK(alerts == 2001 && pieces > 5);
  SUCCEED(client.getAlertsOfBundle("Printer", [](const auto&) { return false; }));
  CHECK(client.getAlertsFromDate(Date(-2.5), Date(0)).value ==
        std::vector<Alert>(many.begin(), many.begin() + 3));
  CHECK(client.deleteAlertsBeforeDate(Date(-100)).value == 1900);
}

void changeAlerts(Client& client) {
  const std::string identifier = makeIdentifier();
  SUCCEED(client.postAlert({.identifier = identifier, .type = "Jam", .bundle = "Printer"}));
  SUCCEED(client.markAlertAsReadWithAlertId(identifier));
  SUCCEED(client.markAlertAsResolvedWithAlertId(identifier));
  const auto posted = client.getLastAlertOfBundle("Printer").value;
  CHECK(posted && posted->identifier == identifier && posted->sentDate && posted->readDate &&
        posted->resolvedDate);
  const auto unknown = client.markAlertAsReadWithAlertId("unknown");
  CHECK(unknown.error && unknown.error->kind == ErrorKind::kService);
  CHECK(unknown.error->domain == "VeltoAlertsStore" && unknown.error->code == 100);
  CHECK(unknown.error->description == "Update Alert: Alert not found.");
  CHECK(!client.performRecoveryAction("Nothing", identifier));
  SUCCEED(client.deleteAlertsWithIds({identifier, "unknown"}));
  CHECK(client.getLastAlertOfBundle("Printer").value->identifier == "first");
  CHECK(client.deleteUnsupportedAlerts().value == 0);
}

void changeSettings(Client& client) {
  SUCCEED(client.setAttributes({{"a", "x"}, {"b", "y"}}));
  SUCCEED(client.setAttributes({{"a", Value()}}));
  CHECK((client.getAttributes().value == std::map<std::string, std::string>{{"b", "y"}}));
  CHECK(client.getAlertBundleNames().value == std::vector<std::string>{"Printer"});
  SUCCEED(client.setAlertBundleSettings({{"Printer", {.mailEnabled = false}}}));
  const auto settings = client.getAlertBundleSettings().value;
  CHECK(settings && settings->at("Printer").mailEnabled == false);
  SUCCEED(client.disableAlertBundle("Printer"));
  CHECK(client.getAlertBundleSettings().value == BundleSettingsMap());
  SUCCEED(client.enableAlertBundle("Printer"));

  const MailRecipient ann{.address = "ann@example.org", .locale = "fr"};
  SUCCEED(client.setMailRecipients({ann}));
  SUCCEED(client.addMailRecipients({{.address = "bob@example.de", .locale = "de"}}));
  CHECK(client.getMailRecipients().value->size() == 2);
  SUCCEED(client.setMailRecipients({}));
  const PushRecipient device{
      .guid = "g", .token = Data{0, 255}, .name = "n", .locale = "de", .enabled = true};
  SUCCEED(client.setPushRecipients({}));
  SUCCEED(client.addPushRecipients({device}));
  CHECK(client.getPushRecipients().value == std::vector<PushRecipient>{device});
}

void meetOtherAnswers(Client& client) {
  CHECK(client.call("com.ulmora.velto.AlertsDaemon.Nothing", "").error->kind ==
        ErrorKind::kMethodNotFound);
  CHECK(client.call("com.ulmora.velto.Nothing.Nothing", "").error->kind ==
        ErrorKind::kInterfaceNotFound);
  const auto wrong = client.call("com.ulmora.velto.AlertsDaemon.EnableAlertBundle", R"({"x":1})");
  CHECK(wrong.error->kind == ErrorKind::kInvalidParameter);
  CHECK(wrong.error->information.at("parameter") == Value("x"));
  // The daemon hangs up on a call like this.
  const auto large = client.setAttributes({{"a", std::string(std::size_t{17} << 20, 'x')}});
  CHECK(large.error->kind == ErrorKind::kConnectionLost);
  SUCCEED(client.getAlertBundleNames());

  std::promise<std::size_t> names;
  client.inBackground([](Client& c) { return c.getAlertBundleNames(); },
                      [&](const auto& outcome) { names.set_value(outcome.value->size()); });
  CHECK(names.get_future().get() == 1);
}

}  // namespace

int main() {
  Client client;
  saveAndList(client);
  changeAlerts(client);
  changeSettings(client);
  meetOtherAnswers(client);
  std::cout << "all operations\n";
  return 0;
}
