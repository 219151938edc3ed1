// SPDX-License-Identifier: Apache-2.0
// Watches the daemon through the installed library, as root. Needs a bundle Printer with the type
// Jam, and nothing else in the store.
#include <iostream>
#include <thread>

#include <velto/Client.h>

#include "check.h"

using namespace velto::alerts;

namespace {

std::vector<Event> eventsOf(Follower& follower, std::size_t count) {
  std::vector<Event> events;
  while (events.size() < count) {
    const auto changes = follower.next();
    CHECK(changes.value.has_value());
    CHECK(changes.value->sequence == changes.value->events.back().sequence);
    events.insert(events.end(), changes.value->events.begin(), changes.value->events.end());
  }
  CHECK(events.size() == count);
  return events;
}

Follower follow(Client& client, const std::optional<std::string>& bundle) {
  auto follower = client.follow(bundle);
  CHECK(follower.value.has_value());
  const auto first = follower.value->next();
  CHECK(first.value && first.value->events.empty());
  return std::move(*follower.value);
}

void tellChanges(Client& client) {
  Follower all = follow(client, {});
  Follower others = follow(client, "Other");
  CHECK(!all.next(std::chrono::milliseconds(1)).value);

  const Alert alert{.identifier = "i",
                    .type = "Jam",
                    .bundle = "Printer",
                    .sentDate = Date(1),
                    .attributes = Value::Dictionary{{"tray", 2}}};
  SUCCEED(client.saveAlerts({alert}));
  SUCCEED(client.markAlertAsReadWithAlertId("i"));
  SUCCEED(client.setAttributes({{"a", "b"}}));
  SUCCEED(client.deleteAlertsWithIds({"i"}));
  SUCCEED(client.saveAlerts({{.identifier = "o", .type = "x", .bundle = "Other"}}));
  const auto events = eventsOf(all, 5);
  CHECK(events[0].kind == EventKind::kAdded && events[0].alert == alert);
  CHECK(events[1].kind == EventKind::kChanged && events[1].alert->readDate);
  CHECK(events[2].kind == EventKind::kSettings);
  CHECK(events[3].kind == EventKind::kDeleted && events[3].identifier == "i");
  CHECK(events[4].sequence == events[0].sequence + 4);
  CHECK(eventsOf(others, 1)[0].alert->identifier == "o");

  std::thread closer([&] { all.close(); });
  CHECK(all.next().error->kind == ErrorKind::kClosed);
  closer.join();
}

void tellTheState(Client& client) {
  const auto outcome = client.getStatus();
  CHECK(outcome.value.has_value());
  const Status& status = *outcome.value;
  CHECK(!status.version.empty() && status.startDate > Date(0));
  CHECK(status.counts.alerts == 1 && status.counts.unread == 1 && status.counts.unresolved == 1);
  CHECK(status.store.usable && !status.store.problem && status.store.size > 0);
  CHECK(status.store.saves >= 5 && status.store.failedSaves == 0);
  CHECK(status.channels.size() == 2 && status.channels[0].name == ChannelName::kMail);
  CHECK(status.connections >= 1 && status.calls >= 1 && status.served >= 8);
}

}  // namespace

int main() {
  Client client;
  tellChanges(client);
  tellTheState(client);
  std::cout << "watched\n";
}
