#!/usr/bin/python3 -B
"""What is in the private desktop, whoever enters it."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
NOBODY = 65534


@unittest.skipUnless(
    subprocess.run([HERE / "has-namespaces"], check=False).returncode == 0, "no namespaces here"
)
class OrdinaryUser(unittest.TestCase):
    """One who is not root may do in it what root may."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # Where root's files are root's alone, nobody else can start anything among them.
        self.folder = pathlib.Path(folder.name)
        self.folder.chmod(0o755)
        shutil.copytree(HERE, self.folder / "Tests/World")

    def assert_succeeds(self, *command):
        """With a PATH that has no administrator's programs."""
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        result = subprocess.run(
            [self.folder / "Tests/World/enter", "-", *command],
            cwd=self.folder,
            env={"PATH": "/usr/bin:/bin"},
            capture_output=True,
            text=True,
            check=False,
            **user,
        )
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)

    def test_serves_at_the_port_of_https(self):
        self.assert_succeeds(
            "python3", "-c", "import socket; socket.create_server(('127.0.0.1', 443))"
        )

    def test_finds_the_programs_of_administrators(self):
        self.assert_succeeds("sh", "-c", "command -v ldconfig")

    def test_makes_another_view_of_the_files(self):
        self.assert_succeeds("bwrap", "--dev-bind", "/", "/", "--tmpfs", "/etc", "true")


if __name__ == "__main__":
    unittest.main(verbosity=2)
