# SPDX-License-Identifier: Apache-2.0
"""A push gateway: HTTP/2 over TLS, in a process of its own."""

import json
import pathlib
import shutil
import subprocess

from .varlink import DEADLINE

_SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "support/gateway.js"
_EXTENSIONS = "subjectAltName=DNS:localhost,IP:127.0.0.1\n"
NODE = shutil.which("nodejs") or shutil.which("node")


def _openssl(folder, *arguments):
    subprocess.run(["openssl", *arguments], cwd=folder, check=True, capture_output=True,
                   timeout=DEADLINE)


def _make_certificates(folder):
    """An authority, and a server and a client that it vouches for."""
    folder.mkdir(parents=True)
    (folder / "extensions").write_text(_EXTENSIONS)
    for name in ("ca", "server", "client"):
        _openssl(folder, "genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256",
                 "-out", f"{name}.key")
    _openssl(folder, "req", "-x509", "-key", "ca.key", "-subj", "/CN=authority", "-days", "2",
             "-out", "ca.pem")
    for name in ("server", "client"):
        _openssl(folder, "req", "-new", "-key", f"{name}.key", "-subj", f"/CN={name}",
                 "-out", f"{name}.csr")
        _openssl(folder, "x509", "-req", "-in", f"{name}.csr", "-CA", "ca.pem", "-CAkey", "ca.key",
                 "-CAcreateserial", "-days", "2", "-extfile", "extensions", "-out", f"{name}.pem")


class Gateway:
    """Does with a notification what its device asks for; gateway.js says how."""

    def __init__(self, system, **options):
        self._system = system
        _make_certificates(system.root / "pki")
        self.process = subprocess.Popen(
            [NODE, _SCRIPT, system.root / "pki", json.dumps(options)], text=True,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.port = int(self.process.stdout.readline())

    def install_identity(self):
        """Tells the daemon of the system about this gateway."""
        path = self._system.root / "etc/velto/push/ovix:com.ulmora.alerts.plist"
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(
            f'{{ Endpoint = "https://localhost:{self.port}/3/device";'
            ' Certificate = "/pki/client.pem"; PrivateKey = "/pki/client.key";'
            ' CertificateAuthority = "/pki/ca.pem"; }\n')
        path.chmod(0o600)

    def requests(self):
        """What has been sent to it so far."""
        self.process.stdin.write("\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def close(self):
        self.process.kill()
        self.process.communicate(timeout=DEADLINE)


def is_available():
    return NODE is not None and shutil.which("openssl") is not None
