#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Stands in for the daemon before scripts/endure: as far as that asks, it keeps the promises, but
for the one that the file `fault` beside it names."""

import json
import os
import pathlib
import selectors
import signal
import socket
import sqlite3
import time

INTERFACE = "com.ulmora.velto.AlertsDaemon"
FAULT = (pathlib.Path(__file__).resolve().parent / "fault").read_text().strip()
ROOT = pathlib.Path(os.environ["VELTO_ROOT"])
TABLES = ("PRAGMA journal_mode=WAL", "PRAGMA synchronous=OFF",
          "CREATE TABLE IF NOT EXISTS alerts (bundle, identifier, alert)",
          'CREATE TABLE IF NOT EXISTS "ADPushRecipient" (_version, enabled, guid, localization,'
          " token, name)")


class Store:
    def __init__(self):
        folder = ROOT / "Library/Velto/Alerts"
        folder.mkdir(exist_ok=True)
        self.database = sqlite3.connect(folder / "alertData.db", isolation_level=None)
        try:
            for table in TABLES:
                self.database.execute(table)
        except sqlite3.Error:
            pass  # a read-only disk
        self.unsaved = []
        self.attributes = {}
        self.leak = []

    def save(self, alerts):
        rows = [(alert.get("bundle"), alert.get("identifier"), json.dumps(alert))
                for alert in alerts]
        if FAULT in ("forgets", "half"):
            self.unsaved += rows
            rows = rows[:len(rows) // 2] if FAULT == "half" else []
        try:
            self.database.execute("BEGIN")
            self.database.executemany("INSERT INTO alerts VALUES (?, ?, ?)", rows)
            self.database.execute("COMMIT")
        except sqlite3.Error as error:
            if self.database.in_transaction:
                self.database.execute("ROLLBACK")
            return {"error": {"domain": "VeltoPersistence", "code": 13,
                              "userInfo": {"NSLocalizedDescription": str(error)}}}
        return {}

    def alerts(self, bundle):
        found = self.database.execute("SELECT alert FROM alerts WHERE bundle = ?", (bundle,))
        return [json.loads(row[0]) for row in found]


def answer(store, method, parameters, is_root):
    if method == "org.varlink.service.GetInfo":
        return {"vendor": "stub"}
    name = method.removeprefix(INTERFACE + ".")
    if "nothing" in parameters:
        return None
    if FAULT == "leaks":
        store.leak.append(bytearray(b"x" * 60000))
    if name == "GetAlertBundleNames":
        return {"names": []}
    if not is_root and FAULT != "obeys":
        return {"error": {"domain": "stub", "code": 103, "userInfo": {}}}
    if name == "SetAttributes":
        store.attributes.update({key: str(value) for key, value in
                                 (parameters.get("attributes") or {}).items()})
    if name == "GetAttributes":
        return {"attributes": store.attributes}
    if name in ("SaveAlerts", "PostAlert"):
        return store.save([parameters["alert"]] if name == "PostAlert" else parameters["alerts"])
    if name.startswith("GetAlertsOf"):
        return {"alerts": store.alerts(parameters.get("bundle"))}
    return {}


class Server:
    def __init__(self):
        self.store = Store()
        self.selector = selectors.DefaultSelector()
        self.input = {}
        self.root = {}
        self.newcomers = set()  # whose first call has not come
        self.is_stopping = False
        listener = self.listener()
        listener.setblocking(False)
        self.selector.register(listener, selectors.EVENT_READ)
        signal.signal(signal.SIGTERM, self.stop)
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as readiness:
            readiness.sendto(b"READY=1", os.environ["NOTIFY_SOCKET"])
        while not self.is_stopping:
            for key, _ in self.selector.select(0.05):
                self.accept(listener) if key.fileobj is listener else self.read(key.fileobj)
        self.selector.unregister(listener)
        self.serve_newcomers(time.monotonic() + 1)

    def serve_newcomers(self, end):
        """Who has been let in before the stop cannot know of it."""
        while self.newcomers and time.monotonic() < end:
            for key, _ in self.selector.select(0.05):
                if key.fileobj in self.newcomers:
                    self.read(key.fileobj)
                else:
                    self.close(key.fileobj)

    def stop(self, *_):
        signal.signal(signal.SIGTERM, signal.SIG_DFL)
        self.is_stopping = True

    @staticmethod
    def listener():
        if "LISTEN_FDS" in os.environ:
            return socket.socket(fileno=3)
        path = ROOT / "run/velto" / INTERFACE
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        made = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        made.bind(str(path))
        path.chmod(0o666)
        made.listen(500)
        return made

    def accept(self, listener):
        connection, _ = listener.accept()
        connection.setblocking(True)
        user = connection.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, 12)[4:8]
        self.input[connection] = b""
        self.root[connection] = int.from_bytes(user, "little") == 0
        self.newcomers.add(connection)
        self.selector.register(connection, selectors.EVENT_READ)

    def read(self, connection):
        try:
            data = connection.recv(1 << 18)
            *messages, self.input[connection] = (self.input[connection] + data).split(b"\0")
            if data and all([self.serve(connection, message) for message in messages]):
                return
        except OSError:
            pass
        self.close(connection)

    def close(self, connection):
        self.newcomers.discard(connection)
        self.selector.unregister(connection)
        connection.close()

    def serve(self, connection, message):
        """False when it is no call."""
        try:
            call = json.loads(message)
            method, parameters = call["method"], call.get("parameters") or {}
            reply = answer(self.store, method, parameters, self.root[connection])
        except Exception:  # pylint: disable=broad-except
            if FAULT == "breaks":
                os._exit(1)
            return False
        self.newcomers.discard(connection)
        text = {"parameters": reply} if reply is not None else \
            {"error": "org.varlink.service.InvalidParameter", "parameters": {}}
        if not call.get("oneway"):
            connection.sendall(json.dumps(text).encode() + b"\0")
        return True


Server()
