#!/usr/bin/python3 -B
"""What a desktop makes of the installed files: the bus starts the application, its window has its
icon.

    enter BUILD_DIR installed_desktop_test.py BUILD_DIR [TEST...]
"""

import gzip
import pathlib
import re

from gi.repository import GLib

from road import NOT_COMPLETED, Road, main
from session import call, wait_until

NAME = "com.norvale.tessor"


class InstalledDesktop(Road):
    prefix = "a folder"
    bus_starts_installed_services = True

    def setUp(self):
        super().setUp()
        self.share = self.program.parent.parent / "share"

    def activate(self):
        """As a menu does it."""
        call(
            self.session.bus,
            *(NAME, "/com/norvale/tessor", "org.freedesktop.Application.Activate"),
            GLib.Variant("(a{sv})", ({},)),
        )

    def runs(self):
        return NAME in self.ask_bus("ListNames")

    def ask_bus(self, method, arguments=None):
        bus = ("org.freedesktop.DBus", "/org/freedesktop/DBus")
        return call(self.session.bus, *bus, f"org.freedesktop.DBus.{method}", arguments)[0]

    def succeed(self, *command):
        result = self.session.run(*command)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_the_bus_starts_the_application_for_a_callback(self):
        callback = self.sign_in()
        self.activate()
        self.application.press("Cancel")
        self.assert_ends(self.process)
        self.succeed("gio", "open", callback)
        self.confirm_success()
        wait_until(lambda: not self.runs(), "the end of the application")
        self.assert_registered()
        self.assert_is_removed_as_the_manual_says()

    def assert_is_removed_as_the_manual_says(self):
        # A package has it compressed.
        (page,) = (self.share / "man/man1").glob("ardentra-registration.1*")
        manual = (gzip.open if page.suffix == ".gz" else open)(page, "rt").read()
        (commands,) = re.findall(r"^(secret-tool clear .*?)^\.Ed", manual, re.MULTILINE | re.DOTALL)
        # The second fails, as there is no such item any more.
        self.session.run("sh", "-c", commands.replace("\\e", "\\"))
        self.assertIsNone(self.application.registration())

    def test_the_desktops_own_opener_asks_the_bus_and_starts_no_command(self):
        """Then the URL and the right to come to the front reach the window, whoever started it."""
        # By this, xdg-open knows the desktop and leaves the matter to its opener.
        self.session.environment["XDG_CURRENT_DESKTOP"] = "GNOME"
        self.succeed("xdg-open", "veltora://desktop_registration?code=unexpected")
        self.application.wait_for_alert(NOT_COMPLETED)
        self.assertEqual(self.command_line(), [str(self.program)])

    def command_line(self):
        process = self.ask_bus("GetConnectionUnixProcessID", GLib.Variant("(s)", (NAME,)))
        return pathlib.Path(f"/proc/{process}/cmdline").read_text().split("\0")[:-1]

    def test_the_window_is_known_to_be_the_applications_and_has_its_icon(self):
        self.activate()
        entry = (self.share / f"applications/{NAME}.desktop").read_text()
        (name,) = re.findall("^StartupWMClass=(.*)$", entry, re.MULTILINE)
        search = ("xdotool", "search", "--onlyvisible", "--class", f"^{name}$")
        window = wait_until(lambda: self.session.run(*search).stdout.strip(), "the window")
        for size in (16, 64):
            wait_until(lambda size=size: f"Icon ({size} x {size})" in self.icons(window),
                       f"the icon of {size} pixels")

    def icons(self, window):
        return self.session.run("xprop", "-id", window, "_NET_WM_ICON").stdout


if __name__ == "__main__":
    main()
