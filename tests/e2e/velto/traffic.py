# SPDX-License-Identifier: Apache-2.0
"""Calls of all kinds at random, as an hour of a busy machine would bring them."""

import contextlib
import random

from .values import METHODS
from .varlink import message

PLAIN = ["GetAttributes", "GetAlertBundleNames", "GetAlertBundleSettings", "GetMailRecipients",
         "GetPushRecipients", "DeleteUnsupportedAlerts"]
BROKEN = [b"\0", b"{}\0", b'{"method": 5}\0', b'{"method": "x.y", ', b"\xff" * 100]


class Caller:
    """Makes calls at random over connections that come and go."""

    def __init__(self, system, seed):
        self.system = system
        self.random = random.Random(seed)
        self.client = system.client()
        self.number = 0

    def call(self):
        actions = {self.save: 20, self.lists: 15, self.plain: 15, self.change: 15, self.remove: 10,
                   self.recipients: 5, self.settings: 5, self.pipeline: 5, self.nonsense: 3,
                   self.hang_up: 5, self.post: 2, self.wrong: 5}
        self.random.choices(list(actions), list(actions.values()))[0]()

    def expect(self, method, **parameters):
        reply = self.client.exchange(method, parameters)
        assert "error" not in reply, reply
        assert reply["parameters"].get("error", {}).get("code", 100) in (100, 1001), reply

    def identifier(self):
        return f"alert {self.random.randrange(500)}"

    def alert(self):
        return {"identifier": self.identifier(), "bundle": "Printer",
                "type": self.random.choice(("Jam", "Ink")), "sentDate": self.random.random() * 1e6,
                "attributes": {"text": "x" * self.random.randrange(3000),
                               "list": [{"$data": "aGkh"}, {"$date": 5.5}, True, -1, 0.5]}}

    def save(self):
        self.expect("SaveAlerts", alerts=[self.alert() for _ in range(self.random.randrange(20))])

    def lists(self):
        method, parameters = self.random.choice((
            ("GetAlertsOfType", {"type": "Jam"}), ("GetAlertsOfBundle", {"bundle": "Printer"}),
            ("GetAlertsFromDate", {"fromDate": 0, "toDate": self.random.random() * 1e6})))
        if self.random.random() < 0.5:
            assert all("error" not in reply for reply in self.client.pieces(method, **parameters))
        else:
            self.expect(method, **parameters)

    def plain(self):
        self.expect(self.random.choice(PLAIN))
        self.expect("GetLastAlertOfType", type="Ink")

    def change(self):
        self.expect(self.random.choice(
            ("MarkAlertAsReadWithAlertId", "MarkAlertAsResolvedWithAlertId")),
            alertId=self.identifier())

    def remove(self):
        if self.random.random() < 0.2:
            self.expect("DeleteAlertsBeforeDate", date=self.random.random() * 1e6)
        else:
            self.expect("DeleteAlertsWithIds", alertIds=[self.identifier() for _ in range(20)])

    def recipients(self):
        address = f"user{self.random.randrange(20)}@example.org"
        self.expect("AddMailRecipients", recipients=[address, {"address": "b@example.org"}])
        self.expect("SetMailRecipients", recipients=[{"address": address, "locale": "fr"}])

    def settings(self):
        self.expect("SetAttributes", attributes={f"name {self.random.randrange(20)}":
                                                 self.random.choice((None, "value", 5))})
        self.expect(self.random.choice(("EnableAlertBundle", "DisableAlertBundle")),
                    bundle=self.random.choice(("Printer", "Unknown")))

    def pipeline(self):
        self.client.send(message("GetAlertBundleNames") * 50
                         + message("GetAlertBundleNames", oneway=True) * 50)
        for _ in range(50):
            assert "parameters" in self.client.receive()

    def nonsense(self):
        self.client.send(self.random.choice(BROKEN))
        self.hang_up()

    def hang_up(self):
        if self.random.random() < 0.5:
            with contextlib.suppress(ConnectionError):
                self.client.send(message("GetAlertsOfBundle", {"bundle": "Printer"}))
        self.client.close()
        self.client = self.system.client()

    def post(self):
        self.expect("PostAlert", alert={"bundle": "Printer", "type": "Jam"})

    def wrong(self):
        reply = self.client.exchange(self.random.choice(METHODS), {"nothing": 1})
        assert reply["error"] == "org.varlink.service.InvalidParameter"
