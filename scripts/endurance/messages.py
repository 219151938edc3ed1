# SPDX-License-Identifier: Apache-2.0
"""Changed messages from callers of every role."""

import contextlib
import json
import os

from .activity import Activity
from .mutation import mutated_call
from velto.system import System
from velto.values import INTERFACE, METHODS
from velto.varlink import Client, connect

_TRUSTED, _ENTITLED, _NOBODY = 214, 12345, 65534
_ROLES = (("root", 0), ("privileged", _TRUSTED), ("entitled", _ENTITLED), ("role-less", _NOBODY))
_RULE = f'{{ User = {_ENTITLED}; Entitlements = {{ "com.ulmora.velto.alert-bundles" = (b); }}; }}\n'
_ALERT = {"identifier": "1", "type": "Jam", "bundle": "b", "sentDate": 5.5, "creationDate": 1.0,
          "attributes": {"a": [1, {"$date": 2.5}, {"$data": "aGk="}], "b": {"c": True}}}
_PARAMETERS = {
    "SetAttributes": {"attributes": {"a": "b", "c": None}}, "PostAlert": {"alert": _ALERT},
    "SaveAlerts": {"alerts": [_ALERT, _ALERT]}, "MarkAlertAsReadWithAlertId": {"alertId": "1"},
    "MarkAlertAsResolvedWithAlertId": {"alertId": "1"},
    "PerformRecoveryAction": {"action": "x", "alertId": "1"},
    "GetAlertsFromDate": {"fromDate": 0, "toDate": 1e9}, "GetAlertsOfType": {"type": "Jam"},
    "GetAlertsOfBundle": {"bundle": "b"}, "GetLastAlertOfType": {"type": "Jam"},
    "GetLastAlertOfBundle": {"bundle": "b"}, "DeleteAlertsBeforeDate": {"date": 5.0},
    "DeleteAlertsWithIds": {"alertIds": ["1", "2"]}, "EnableAlertBundle": {"bundle": "b"},
    "DisableAlertBundle": {"bundle": "b"},
    "SetAlertBundleSettings": {"settings": {"b": {"name": "b", "pushEnabled": True}}},
    "SetMailRecipients": {"recipients": [{"address": "a@example.org", "locale": "fr"}]},
    "AddMailRecipients": {"recipients": ["b@example.org", {"address": "c@example.org"}]},
    "SetPushRecipients": {"recipients": [{"guid": "1", "token": "aGk=", "enabled": True}]},
    "AddPushRecipients": {"recipients": [{"guid": "2", "token": "aGk="}]}}
_STATE = ("GetAttributes", "GetAlertBundleSettings", "GetMailRecipients", "GetPushRecipients")
_MESSAGES = 200


class Messages(Activity):
    name = "messages"
    promise = "what is no call ends its connection; who may not, changes nothing"
    shortest = 2

    def __init__(self, settings):
        super().__init__(settings)
        self._system = None

    def round(self, chance, seconds):
        system = self._running()
        roles = _ROLES if os.geteuid() == 0 else (("role-less", os.geteuid()),)
        role, user = chance.choice(roles)
        # A user of this process's own connects without a child.
        client_of = system.client if user == os.geteuid() else \
            lambda: system.client_as(user, user)  # pylint: disable=W0108
        before = self._state() if role == "role-less" else None
        answered = self._send(chance, client_of)
        with contextlib.closing(Client(connect(system.socket_path))) as bystander:
            assert "names" in bystander.call("GetAlertBundleNames"), "the daemon does not answer"
        if role == "role-less":
            assert self._state() == before, "a caller without a role has changed the store"
        system.close_clients()
        system.daemon.check()
        return f"{role}: {_MESSAGES} messages, {answered} answered" if chance.random() < .1 else None

    def _running(self):
        if self._system is None or self._system.daemon.process.poll() is not None:
            self.close()
            self._system = System()
            rules = self._system.root / "etc/velto/entitlements.d"
            rules.mkdir(parents=True)
            (rules / "b.plist").write_text(_RULE)
            (rules / "b.plist").chmod(0o600)
            self._system.make_bundle("b.bundle", texts={"en": {"Jam.subject": "Jam"}})
            self._system.start()
        return self._system

    def _state(self):
        if os.geteuid() != 0:
            return None
        with contextlib.closing(Client(connect(self._system.socket_path))) as client:
            return [client.exchange(method) for method in _STATE]

    @staticmethod
    def _send(chance, client_of):
        """Sends the messages, over a new connection whenever one ends. Returns how many replies
        came."""
        client, answered = client_of(), 0
        for _ in range(_MESSAGES):
            method = chance.choice(METHODS)
            data = mutated_call(chance, f"{INTERFACE}.{method}", _PARAMETERS.get(method, {}))
            # What follows shows whether this was a call without a reply.
            probe = b'{"method":"org.varlink.service.GetInfo"}\0'
            try:
                client.send(data + probe)
                while "vendor" not in json.loads(client.receive_bytes()).get("parameters", {}):
                    answered += 1
            except ConnectionError:
                client.close()
                client = client_of()
        return answered

    def close(self):
        system, self._system = self._system, None
        if system is not None:
            system.close()
