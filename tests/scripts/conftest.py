# SPDX-License-Identifier: Apache-2.0
"""A small source tree that scripts/check-sources finds nothing wrong with."""

import pathlib
import subprocess

import pytest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "scripts/check-sources"
GOOD = {
    ".clang-format": "BasedOnStyle: Google\n",
    "CMakeLists.txt": "add_subdirectory(alerts)\nadd_subdirectory(fuzz)\nadd_subdirectory(tests)\n",
    "alerts/CMakeLists.txt": "add_library(alerts VLAlert.cpp native/NativeAlert.cpp)\n",
    "alerts/VLAlert.cpp": '#include "alerts/VLAlert.h"\n\nint size() { return 1; }\n',
    "alerts/VLAlert.h": '#include "platform/foundation/Date.h"\n\nstruct VLAlert {};\n',
    "alerts/native/NativeAlert.cpp":
        '#include <velto/alert_bundle.h>\n\n#include "alerts/VLAlert.h"\n',
    "alerts/velto/alert_bundle.h": "typedef struct velto_alert velto_alert;\n",
    "bench/AlertBench.cpp": '#include "tests/support/FakeLog.h"\n',
    "bundles/Load/Code/Load.c": "#include <velto/alert_bundle.h>\n",
    "daemon/main.cpp": "#include <sys/types.h>\n\nint main() { return 0; }\n",
    "fuzz/AlertFuzz.cpp": '#include "alerts/VLAlert.h"\n',
    "fuzz/CMakeLists.txt": "velto_fuzz_target(AlertFuzz AlertFuzz.cpp)\n",
    "platform/foundation/Date.h": "struct Date {\n  double seconds;\n};\n",
    "platform/process/Task.h": '#include "platform/foundation/Date.h"\n',
    "tests/CMakeLists.txt": "add_subdirectory(alerts)\n",
    "tests/alerts/AlertBundle_test.cpp": '#include "alerts/VLAlert.h"\n',
    "tests/alerts/CMakeLists.txt": "velto_test(alerts_test AlertBundle_test.cpp)\n",
    "tests/support/FakeLog.h": '#include "platform/foundation/Date.h"\n',
}


class SourceTree:
    """A tree of files that a test may change."""

    def __init__(self, root):
        self.root = root
        for path, text in GOOD.items():
            self.write(path, text)

    def write(self, path, text):
        path = self.root / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def append(self, path, text):
        self.write(path, (self.root / path).read_text(encoding="utf-8") + text)

    def run(self, *options):
        return subprocess.run([SCRIPT, *options, self.root], capture_output=True, text=True,
                              check=False, timeout=60)

    def problems(self):
        """What the script complains of, a line each."""
        result = self.run()
        assert result.stderr == ""
        *problems, summary = result.stdout.splitlines()
        assert summary.endswith(f" files checked, {len(problems)} problems")
        assert result.returncode == (1 if problems else 0)
        return problems


@pytest.fixture
def tree(tmp_path):
    """A tree without a fault: what the script complains of after a change is the change's doing."""
    return SourceTree(tmp_path)
