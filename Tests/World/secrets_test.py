#!/usr/bin/python3 -B
"""What is left of the token and the codes of a registration where others could find it.

    enter BUILD_DIR secrets_test.py BUILD_DIR [TEST...]
"""

import base64
import fcntl
import os
import pathlib
import resource
import signal
import subprocess
import unittest
import urllib.parse

from road import SERVER, Road, main
from session import wait_until

PAGE = 4096


def memory_of(process):
    """All that the process has in memory and may write: where it can put a secret."""
    image = []
    with open(f"/proc/{process.pid}/mem", "rb", buffering=0) as memory:
        for line in pathlib.Path(f"/proc/{process.pid}/maps").read_text().splitlines():
            addresses, rights = line.split()[:2]
            start, end = (int(address, 16) for address in addresses.split("-"))
            if rights.startswith("rw"):
                memory.seek(start)
                image.append(memory.read(end - start))
    return b"\0".join(image)


def looks_into_processes(test):
    """For a test that needs the right to do so, which its own processes do not grant."""
    is_a_folder = "VT_WORLD_IS_A_FOLDER" in os.environ
    return unittest.skipIf(is_a_folder, "that right takes namespaces")(test)


def forms_of(secret):
    """As it may stand in memory: text in 8 or 16 bits, and as the keyring has it."""
    encoded = base64.b64encode(secret.encode())
    return secret.encode(), secret.encode("utf-16-le"), encoded[: len(encoded) // 4 * 4 - 4]


class FullPipe:
    """Whoever writes to it waits."""

    def __init__(self):
        self.reader, self.writer = os.pipe()
        fcntl.fcntl(self.writer, fcntl.F_SETPIPE_SZ, PAGE)
        os.write(self.writer, bytes(PAGE))

    def close(self):
        os.close(self.reader)
        os.close(self.writer)


class Secrets(Road):
    def register(self):
        """Goes the road as far as the alert of its success; the callback code, too, is known then."""
        callback = self.sign_in()
        self.callback_code = self.code_of(callback)
        self.ephemeral_code = self.application.pending_registration()["value"]
        self.assert_ends(self.application.open_url(callback))
        self.application.wait_for_alert("The registration process completed successfully")
        self.token = self.application.registration()["value"]
        self.assertGreater(len(self.token), 20)

    @staticmethod
    def code_of(callback):
        return dict(urllib.parse.parse_qsl(urllib.parse.urlsplit(callback).query))["code"]

    def start_command(self, output):
        return subprocess.Popen(
            [self.program, "--generate-upload-url", "report.pdf"],
            env=self.session.environment,
            stdout=output,
        )

    def wait_for_output(self, process):
        """Until the process waits for somebody to read what it prints."""
        tasks = pathlib.Path(f"/proc/{process.pid}/task")
        wait_until(
            lambda: any("pipe_write" in task.read_text() for task in tasks.glob("*/wchan")),
            "the command's output",
        )

    def assert_not_in(self, secret, image):
        for form in forms_of(secret):
            self.assertEqual(image.count(form), 0, f"{form[:4]}... is in memory")

    @looks_into_processes
    def test_the_window_keeps_no_token(self):
        self.register()
        image = memory_of(self.process)
        self.assertIn(SERVER.encode(), image)
        self.assert_not_in(self.token, image)
        self.confirm_and_end()

    def confirm_and_end(self):
        self.application.press("OK")
        self.assert_ends(self.process)

    @looks_into_processes
    def test_the_command_keeps_no_token(self):
        self.register()
        self.confirm_and_end()
        pipe = FullPipe()
        self.addCleanup(pipe.close)
        command = self.start_command(pipe.writer)
        self.addCleanup(command.wait)
        self.addCleanup(command.kill)
        self.wait_for_output(command)
        image = memory_of(command)
        self.assertIn(SERVER.encode(), image)
        self.assert_not_in(self.token, image)
        for file in ("cmdline", "environ"):
            said = pathlib.Path(f"/proc/{command.pid}/{file}").read_bytes()
            self.assertNotIn(self.token.encode(), said)

    def test_no_secret_is_in_any_log(self):
        self.register()
        self.confirm_and_end()
        self.application.upload_target("report.pdf")
        # The service's own log is its own matter.
        logs = set(self.session.folder.glob("*.log")) - {self.session.folder / "service-simulator.log"}
        self.assertGreater(len(logs), 3)
        for log in logs:
            for secret in (self.token, self.callback_code, self.ephemeral_code):
                self.assertNotIn(secret, log.read_text(errors="replace"), log.name)

    def test_leaves_no_core_file(self):
        """As any other program does here."""
        resource.setrlimit(resource.RLIMIT_CORE, (resource.RLIM_INFINITY,) * 2)
        os.chdir(self.session.folder)
        if not self.dumps_core(subprocess.Popen(["sleep", "60"])):
            self.skipTest("no program leaves a core file on this machine")
        self.register()
        self.assertFalse(self.dumps_core(self.process))

    @staticmethod
    def dumps_core(process):
        process.send_signal(signal.SIGSEGV)
        _, status = os.waitpid(process.pid, 0)
        process.returncode = -os.WTERMSIG(status)
        return os.WCOREDUMP(status)


if __name__ == "__main__":
    main()
