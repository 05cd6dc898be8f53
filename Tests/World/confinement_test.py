#!/usr/bin/python3 -B
"""What the installed program may not do, tried from inside of it: the window and the command.

    enter BUILD_DIR confinement_test.py BUILD_DIR [TEST...]

What was denied is left in BUILD_DIR/Testing/denied.txt.
"""

import ctypes
import errno
import os
import struct
import sys
import unittest

from road import BUILD, SERVER_TITLE, Road, main
from session import wait_until

# Loaded into a process, it tries everything when the process first connects to something.
ACTS = BUILD / "tests/forbidden-acts.so"
DENIED = BUILD / "Testing/denied.txt"

CONNECT = "import socket; socket.socket(socket.AF_UNIX).connect_ex('/nowhere')"

CREATE_RULESET = 444  # the same on every processor
LIBC = ctypes.CDLL(None, use_errno=True)


def has_landlock():
    return LIBC.syscall(CREATE_RULESET, None, ctypes.c_size_t(0), 1) > 0


def take_landlock_away():
    """Makes the kernel, for this process and those that it starts, one that has never heard of it."""

    def instruction(code, value, if_true=0, if_false=0):
        return struct.pack("HBBI", code, if_true, if_false, value)

    load, jump_if_equal, answer = 0x20, 0x15, 0x06
    fail, allow = 0x00050000, 0x7FFF0000
    instructions = (
        instruction(load, 0),
        instruction(jump_if_equal, CREATE_RULESET, 0, 1),
        instruction(answer, fail | errno.ENOSYS),
        instruction(answer, allow),
    )
    code = ctypes.create_string_buffer(b"".join(instructions))
    program = ctypes.create_string_buffer(struct.pack("HP", len(instructions), ctypes.addressof(code)))
    set_no_new_privileges, set_filter, by_filter = 38, 22, 2
    assert LIBC.prctl(set_no_new_privileges, 1, 0, 0, 0) == 0
    assert LIBC.prctl(set_filter, by_filter, program) == 0


@unittest.skipUnless(has_landlock(), "this kernel cannot confine anything")
class Confinement(Road):
    def start_with_acts(self, *arguments, **options):
        """Starts a program that tries everything: where it says what came of it."""
        folder = self.session.folder / "home/acts"
        (folder / "config/other").mkdir(parents=True, exist_ok=True)
        for file in ("document", "letter", "config/other/cookies"):
            (folder / file).write_text("the user's own")
        reader, writer = os.pipe()
        preloaded = self.session.environment.get("LD_PRELOAD", "")
        self.session.environment.update(
            LD_PRELOAD=f"{ACTS} {preloaded}", VT_ACTS=str(writer), VT_ACTS_FOLDER=str(folder)
        )
        self.process = self.session.start(*arguments, pass_fds=(writer,), **options)
        self.session.environment["LD_PRELOAD"] = preloaded
        os.close(writer)
        return reader

    def outcomes(self, *arguments, **options):
        """What came of each act in a program that tries everything."""
        with open(self.start_with_acts(*arguments, **options), encoding="ascii") as report:
            lines = [line.rstrip("\n").split(": ") for line in report]
        self.assertGreater(len(lines), 40)
        return dict(lines)

    def assert_all_denied(self, use, outcomes):
        DENIED.parent.mkdir(exist_ok=True)
        with open(DENIED, "a", encoding="ascii") as table:
            for act, outcome in outcomes.items():
                table.write(f"{use:<8} may not  {act:<40} {outcome}\n")
        self.assertEqual(self.allowed(outcomes), set())

    @staticmethod
    def allowed(outcomes):
        return {act for act, outcome in outcomes.items() if outcome not in ("EACCES", "EPERM")}

    def test_every_act_is_possible_to_others(self):
        """Otherwise it would prove nothing that it is denied."""
        outcomes = self.outcomes(sys.executable, "-c", CONNECT)
        impossible = {act: outcome for act, outcome in outcomes.items() if outcome != "done"}
        self.assertEqual(impossible, {})

    def test_the_window_can_do_none_of_it(self):
        self.assert_all_denied("window", self.outcomes(self.program))
        self.application.press("Cancel")
        self.assert_ends(self.process)
        self.assertNotIn("confine", self.application.read_log())

    def test_the_command_can_do_none_of_it(self):
        outcomes = self.outcomes(self.program, "--generate-upload-url", "report.pdf")
        self.assert_all_denied("command", outcomes)
        self.assertEqual(self.process.wait(), 1)
        self.assertNotIn("confine", self.application.read_log())

    def test_the_oldest_kernels_leave_the_command_little_more(self):
        """Those of Debian 12 and of the first distributions that had Landlock."""
        for version in ("1", "2"):
            self.session.environment["VT_LANDLOCK_VERSION"] = version
            outcomes = self.outcomes(self.program, "--generate-upload-url", "report.pdf")
            self.assertEqual(self.allowed(outcomes), {"bind a port"})
            self.assertEqual(self.process.wait(), 1)

    def test_sees_proxy_settings_that_change_while_it_runs(self):
        """The desktop puts a new file in the place of the old one."""
        self.session.environment["XDG_CURRENT_DESKTOP"] = "KDE"
        self.process = self.application.start()
        self.application.select_server(SERVER_TITLE)
        new = self.session.folder / "home/.config/kioslaverc.new"
        new.write_text("[Proxy Settings]\nProxyType=1\nhttpsProxy=http://127.0.0.1:9\n")
        new.rename(new.with_suffix(""))
        self.application.press("Sign in with Google")
        wait_until(lambda: "127.0.0.1 port 9" in self.application.read_log(), "the proxy's refusal")
        self.process.terminate()
        self.assert_ends(self.process)

    def test_goes_on_and_says_so_where_the_kernel_has_never_heard_of_it(self):
        self.process = self.session.start(self.program, preexec_fn=take_landlock_away)
        self.application.press("Cancel")
        self.assert_ends(self.process)
        lines = [line for line in self.application.read_log().splitlines() if "confine" in line]
        self.assertEqual(
            lines,
            [
                "ardentra-registration: This kernel cannot confine the application to the files "
                "that it needs: it has no Landlock."
            ],
        )

    def test_calls_are_filtered_where_the_kernel_has_never_heard_of_it(self):
        command = (self.program, "--generate-upload-url", "report.pdf")
        outcomes = self.outcomes(*command, preexec_fn=take_landlock_away)
        allowed = self.allowed(outcomes)
        self.assertIn("read a document", allowed)
        for act in ("run a program", "run a program from memory", "listen at a port", "trace a process"):
            self.assertNotIn(act, allowed)
        self.assertEqual(self.process.wait(), 1)
        self.assertNotIn("confine", self.application.read_log())


if __name__ == "__main__":
    DENIED.unlink(missing_ok=True)
    main()
