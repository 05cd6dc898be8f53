#!/usr/bin/python3 -B
"""Shows a registration and an upload to whoever sits in front of the screen: see script/demo.

    demo.py BUILD_DIR PORT             for a person, on the person's own desktop
    demo.py BUILD_DIR PORT PICTURES    by itself, in a private desktop; leaves pictures

The program in BUILD_DIR has "localhost:PORT" as its directory server. It runs with a session bus
and a keyring of the demo's own, so that a registration of the person's stays what it is.
"""

import contextlib
import pathlib
import shlex
import signal
import sys
import tempfile
import threading

from accessibility_bus import AccessibilityBusName
from application import Application
from assistive_tool import AssistiveTool
from browser import Chromium
from desktop_entry import TemporaryDesktopEntry
from display import Display
from session import Session
from sign_in_relay import SignInRelay
from simulated_service import SimulatedService

TITLE = "Ardentra Demo"
SCHEMES = ("zantiq", "veltora", "printdriverregistration")


class Demo:
    """Everything that runs for it; stop() leaves nothing of it."""

    def __init__(self, build, port):
        self._cleanups = contextlib.ExitStack()
        self.build = build.resolve()
        self.server = f"localhost:{port}"
        self.folder = pathlib.Path(
            self._cleanups.enter_context(tempfile.TemporaryDirectory(prefix="ardentra-demo-"))
        )
        self.authority = self.folder / "authority"

    def make_folder(self, name):
        folder = self.folder / name
        folder.mkdir()
        return folder

    def start(self, desktop):
        """The desktop is the session in which the application is to appear."""
        own = self._start_own_session(desktop.environment)
        self._lead_to_assistive_tools(own.bus, desktop)
        port = self.server.rpartition(":")[2]
        self.service = SimulatedService(
            *(own, self.build, self.authority, port),
            hosts=["localhost"],
            servers={TITLE: self.server},
        )
        relay = SignInRelay(self.server, self.authority)
        self._cleanups.callback(relay.stop)
        self.program = self._write_program(desktop, own, relay)
        # The application knows itself by this name when it asks who opens its links.
        entry = TemporaryDesktopEntry(
            *(desktop.environment, "com.norvale.tessor", "Ardentra Registration"),
            *(self.program, SCHEMES),
        )
        self._cleanups.callback(entry.remove)

    def _start_own_session(self, environment):
        session = Session(self.make_folder("session"), environment)
        self._cleanups.callback(session.stop)
        session.make_home()
        session.start_bus()
        session.start_keyring()
        return session

    def _lead_to_assistive_tools(self, bus, desktop):
        command = ("dbus-send", "--session", "--print-reply=literal", "--dest=org.a11y.Bus")
        method = ("/org/a11y/bus", "org.a11y.Bus.GetAddress")
        address = desktop.run(*command, *method).stdout.strip()
        if address:
            name = AccessibilityBusName(bus, address)
            self._cleanups.callback(name.stop)

    def _write_program(self, desktop, own, relay):
        """The program as a desktop entry can name it, with the demo's bus, keyring and trust."""
        commands = self.make_folder("commands")
        environment = desktop.environment
        _write_command(
            commands / "xdg-open",
            [
                # The browser belongs to the desktop, and knows the page by its plain address.
                _setting("DBUS_SESSION_BUS_ADDRESS", environment.get("DBUS_SESSION_BUS_ADDRESS")),
                _setting("PATH", environment["PATH"]),
                _setting("SSL_CERT_DIR", environment.get("SSL_CERT_DIR")),
                "unset QT_LINUX_ACCESSIBILITY_ALWAYS_ON",
                f"page=$(printf %s \"$1\" | sed 's|^https://{self.server}/|{relay.origin}/|')",
                'exec xdg-open "$page"',
            ],
        )
        program = self.build / "bin/ardentra-registration"
        return _write_command(
            commands / "ardentra-registration",
            [
                _setting("DBUS_SESSION_BUS_ADDRESS", own.environment["DBUS_SESSION_BUS_ADDRESS"]),
                _setting("PATH", f"{commands}:{environment['PATH']}"),
                _setting("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", 1),
                _setting("SSL_CERT_DIR", self.authority),
                _setting("no_proxy", _proxy_exceptions(environment)),
                f'exec {shlex.quote(str(program))} "$@"',
            ],
        )

    def stop(self):
        self._cleanups.close()


def _proxy_exceptions(environment):
    others = environment.get("no_proxy") or environment.get("NO_PROXY")
    return f"{others},localhost" if others else "localhost"


def _setting(variable, value):
    return f"unset {variable}" if value is None else f"export {variable}={shlex.quote(str(value))}"


def _write_command(path, lines):
    path.write_text("\n".join(["#!/bin/sh", *lines, ""]))
    path.chmod(0o755)
    return path


class Person:
    """Is told what to do, and does it."""

    def __init__(self, demo):
        self._program = demo.program

    def register(self):
        say(f'Your turn: in the window, choose "{TITLE}" and press one of the two sign-in buttons.')
        say("  The window makes room for your browser, which opens a sign-in page of the simulated")
        say("  service. Press its button.")
        say("  If the browser asks whether it may open Ardentra Registration, allow it.")
        say('  When the window tells you of its success, press "OK".')
        say(f"  Should no page come, this brings the window back: {self._program}")
        say("  Ctrl-C ends the demo at any time.")


class Robot:
    """Does it too, and takes pictures."""

    def __init__(self, demo, desktop, display, pictures):
        self._tool = AssistiveTool(desktop)
        self._application = Application(desktop, demo.program, self._tool)
        self._browser = Chromium(desktop, self._tool)
        self._display = display
        self._pictures = pictures

    def register(self):
        self._application.select_server(TITLE)
        self._take_picture("1-window")
        self._application.press("Sign in with Google")
        self._browser.wait_for_sign_in_page()
        self._take_picture("2-sign-in-page")
        self._browser.sign_in()
        self._browser.wait_for_question()
        self._take_picture("3-back-to-the-application")
        self._browser.open_application()
        self._application.wait_for_alert("The registration process completed successfully")
        self._take_picture("4-registered")
        self._application.press("OK")

    def _take_picture(self, name):
        picture = self._pictures / f"{name}.png"
        self._display.wait_until_still()
        self._display.save_screenshot(picture)
        say(f"  picture: {picture}")


class Narrator(threading.Thread):
    """Says what the service is asked for, as it happens, while it is entered."""

    STORY = (
        ("/api/mobile/v2/registration_servers", "The window has asked for the list of servers."),
        ("/api/desktop/v2/login", "The window has asked where to sign in, and opens the browser."),
        ("/sign-in", "The browser shows the sign-in page."),
        ("/api/desktop/v2/token", "The browser has handed over; the codes are being exchanged."),
        ("/api/session/user_info", "The application has a token, and has asked who you are."),
    )

    def __init__(self, service):
        super().__init__(daemon=True)
        self._service = service
        self._ended = threading.Event()

    def run(self):
        story = list(self.STORY)
        last = False
        while story and not last:
            last = self._ended.wait(0.2)
            while story and self._service.requests(story[0][0]):
                say(f"  -> {story.pop(0)[1]}")

    def __enter__(self):
        self.start()

    def __exit__(self, *reason):
        self._ended.set()
        self.join()


def say(text):
    print(text, flush=True)


def run_program(demo, desktop, user):
    """From the window to its end; true when the program has ended well."""
    say("The application starts: its window asks the simulated service for its servers.")
    with Narrator(demo.service):
        process = desktop.start(demo.program)
        user.register()
        status = process.wait()
    if status != 0:
        say(desktop.read_log(demo.program.name))
    return status == 0


def upload(demo, desktop):
    """As a program with a print file does it; true when the file has arrived."""
    sample = demo.folder / "sample.txt"
    sample.write_text("A page to print.\n")
    command = (demo.program, "--generate-upload-url", sample.name)
    say(f"A program asks where to upload: ardentra-registration {' '.join(command[1:])}")
    result = desktop.run(*command)
    if result.returncode != 0:
        say(f"  it ends with status {result.returncode}: this computer is not registered.")
        say(f"  {result.stderr}")
        return False
    method, url, account = result.stdout.splitlines()
    say(f"  method:  {method}\n  URL:     {url}\n  account: {account}")
    trust = ("--cacert", demo.authority / "authority.pem", "--capath", demo.authority)
    curl = ("curl", "--silent", "--show-error", "--fail", "--noproxy", "localhost", *trust)
    sent = desktop.run(*curl, "-X", method, "--data-binary", f"@{sample}", url)
    if sent.returncode != 0:
        say(f"The upload failed: {sent.stderr}")
        return False
    say(f"It uploads {sample.name} there: {sent.stdout}")
    arrived = desktop.run(*curl, url).stdout == sample.read_text()
    say("What the service holds now is the file." if arrived else "Another file arrived.")
    return arrived


def end_orderly_when_interrupted():
    signals = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)

    def end(number, frame):
        for each in signals:
            signal.signal(each, signal.SIG_IGN)  # the cleaning up is not to be cut short
        say("demo: interrupted")
        sys.exit(128 + number)

    for each in signals:
        signal.signal(each, end)


def show(build, port, pictures):
    """True when all of it worked."""
    with contextlib.ExitStack() as cleanups:
        demo = Demo(build, port)
        cleanups.callback(demo.stop)
        desktop = Session(demo.make_folder("desktop"))
        cleanups.callback(desktop.stop)
        if pictures is not None:
            desktop.make_home()
            display = Display(desktop)
            desktop.start_bus()
        demo.start(desktop)
        say(f"A registration service is simulated at https://{demo.server}/.")
        user = Person(demo) if pictures is None else Robot(demo, desktop, display, pictures)
        return run_program(demo, desktop, user) and upload(demo, desktop)


def main():
    build, port, *pictures = sys.argv[1:]
    end_orderly_when_interrupted()
    worked = show(
        pathlib.Path(build), port, pathlib.Path(pictures[0]).resolve() if pictures else None
    )
    say("demo: it worked" if worked else "demo: it did not come to its end")
    return 0 if worked else 1


if __name__ == "__main__":
    sys.exit(main())
