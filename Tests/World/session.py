"""A desktop session of one's own: a home, a session bus, a keyring and, if wanted, a display.

Everything in it belongs to one folder and ends with stop(). What is waited for is a condition; a
condition that does not come true in time is an AssertionError that says which.
"""

import os
import pathlib
import shutil
import subprocess
import time

from gi.repository import Gio, GLib

# Long enough for whatever a loaded machine with sanitizers does.
PATIENCE_IN_SECONDS = 60

KEYRING_PASSWORD = "a password"

_COLLECTION = "/org/freedesktop/secrets/collection/login"
_SERVICES = pathlib.Path("/usr/share/dbus-1/services")
_SERVICES_STARTED_BY_THE_BUS = ("org.a11y.Bus", "org.gnome.keyring.SystemPrompter")


def wait_until(condition, wanted, patience=PATIENCE_IN_SECONDS):
    """Returns the condition's value as soon as it is true. As long as what it asks does not answer,
    it is not."""
    deadline = time.monotonic() + patience
    while not (value := _value_of(condition)):
        if time.monotonic() > deadline:
            raise AssertionError(f"in vain waited for: {wanted}")
        time.sleep(0.02)
    return value


def _value_of(condition):
    try:
        return condition()
    except GLib.Error:
        return None


def becomes_true(condition, patience):
    """Whether the condition comes true in so many seconds."""
    try:
        wait_until(condition, "", patience)
    except AssertionError:
        return False
    return True


class Programs:
    """Programs that run beside, ended in the reverse order of their start."""

    def __init__(self, logs):
        self._logs = pathlib.Path(logs)
        self._running = []

    def start(self, arguments, environment, log=None, **options):
        """Starts a program; what it prints goes to the log, which has its name."""
        name = log or pathlib.Path(arguments[0]).name
        with open(self._logs / f"{name}.log", "ab") as output:
            program = subprocess.Popen(
                [str(argument) for argument in arguments],
                env=environment,
                stdout=output,
                stderr=output,
                # Ctrl-C is for whoever ends them, in an order of its own.
                process_group=0,
                **({"stdin": subprocess.DEVNULL} | options),
            )
        self._running.append(program)
        return program

    def stop(self):
        while self._running:
            end(self._running.pop())


def end(program):
    """Ends a program that was started here, if it has not ended yet."""
    program.terminate()
    try:
        program.wait(timeout=10)
    except subprocess.TimeoutExpired:
        program.kill()
        program.wait()


class Session:
    """The environment, the bus and the keyring. The environment is for everything started in it."""

    def __init__(self, folder, environment=None):
        self.folder = pathlib.Path(folder)
        self.programs = Programs(self.folder)
        self.environment = dict(os.environ if environment is None else environment)
        self.bus = None
        self._bus_address = f"unix:path={self.folder / 'bus'}"

    def make_home(self):
        """Gives the session a home and the folders that belong to it."""
        for variable, name in (
            ("HOME", "home"),
            ("XDG_RUNTIME_DIR", "run"),
            ("XDG_CONFIG_HOME", "home/.config"),
            ("XDG_DATA_HOME", "home/.local/share"),
            ("XDG_CACHE_HOME", "home/.cache"),
            ("XDG_STATE_HOME", "home/.local/state"),
        ):
            path = self.folder / name
            path.mkdir(mode=0o700, parents=True)
            self.environment[variable] = str(path)

    def start_bus(self, starts_installed_services=False):
        """A session bus that starts nothing but the services of this session; or those as well that
        it finds where a session bus looks for them (XDG_DATA_HOME, XDG_DATA_DIRS, the system)."""
        services = self.folder / "services"
        services.mkdir()
        for name in _SERVICES_STARTED_BY_THE_BUS:
            shutil.copy(_SERVICES / f"{name}.service", services)
        installed = "<standard_session_servicedirs/>" if starts_installed_services else ""
        if starts_installed_services:
            # Of two services with one name the first counts. Those of this session are not started
            # by the bus, and no portal opens pages.
            for name in ("org.freedesktop.secrets", "org.freedesktop.portal.Desktop"):
                (services / f"{name}.service").write_text(
                    f"[D-BUS Service]\nName={name}\nExec=/bin/false\n"
                )
        (self.folder / "bus.conf").write_text(
            f"<busconfig><type>session</type><listen>{self._bus_address}</listen>"
            f"<auth>EXTERNAL</auth><servicedir>{services}</servicedir>{installed}"
            "<policy context='default'><allow send_destination='*' eavesdrop='true'/>"
            "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>"
        )
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self._bus_address
        self.start("dbus-daemon", "--nofork", f"--config-file={self.folder / 'bus.conf'}")
        # The socket is there a moment before anybody listens.
        self.bus = wait_until(lambda: connect(self._bus_address), "the session bus")

    def start_keyring(self):
        """A keyring that is unlocked and empty."""
        daemon = self.start(
            "gnome-keyring-daemon",
            "--foreground",
            "--unlock",
            "--components=secrets",
            stdin=subprocess.PIPE,
        )
        daemon.stdin.write(KEYRING_PASSWORD.encode())
        daemon.stdin.close()
        wait_until(lambda: self.keyring_is_locked() is False, "the keyring")

    def keyring_is_locked(self):
        """None where there is no keyring."""
        try:
            answer = call(
                self.bus,
                "org.freedesktop.secrets",
                _COLLECTION,
                "org.freedesktop.DBus.Properties.Get",
                GLib.Variant("(ss)", ("org.freedesktop.Secret.Collection", "Locked")),
            )
        except GLib.Error:
            return None
        return answer[0]

    def lock_keyring(self):
        call(
            self.bus,
            "org.freedesktop.secrets",
            "/org/freedesktop/secrets",
            "org.freedesktop.Secret.Service.Lock",
            GLib.Variant("(ao)", ([_COLLECTION],)),
        )
        assert self.keyring_is_locked(), "the keyring was not locked"

    def start(self, *arguments, **options):
        """Starts a program in the session."""
        return self.programs.start(arguments, self.environment, **options)

    def run(self, *arguments, given=""):
        """Runs a program in the session to its end, with a text to read: its status and what it
        printed."""
        return subprocess.run(
            [argument if isinstance(argument, bytes) else str(argument) for argument in arguments],
            env=self.environment,
            input=given,
            capture_output=True,
            text=True,
            timeout=PATIENCE_IN_SECONDS,
            check=False,
        )

    def read_log(self, name):
        log = self.folder / f"{name}.log"
        return log.read_text(errors="replace") if log.exists() else ""

    def stop(self):
        if self.bus is not None:
            self.bus.close_sync()
        self.programs.stop()


def connect(address):
    """A connection to a bus."""
    return Gio.DBusConnection.new_for_address_sync(
        address,
        Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
        | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
    )


def call(bus, destination, path, method, arguments=None):
    """Calls "interface.method" on a bus; the answer's values. Throws GLib.Error."""
    interface, name = method.rsplit(".", 1)
    answer = bus.call_sync(
        destination, path, interface, name, arguments, None, Gio.DBusCallFlags.NONE, 30_000
    )
    return answer.unpack()
