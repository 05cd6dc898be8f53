"""The installed application in a session, and how a user operates it."""

import base64
import json
import pathlib
import subprocess

from session import PATIENCE_IN_SECONDS, becomes_true, wait_until

_PROGRAM = "ardentra-registration"


def install(build, prefix):
    """Installs what was built, as a package does: the path of the program."""
    subprocess.run(
        ["cmake", "--install", build, "--prefix", prefix], check=True, stdout=subprocess.DEVNULL
    )
    entries = pathlib.Path(prefix) / "share/applications"
    subprocess.run(["update-desktop-database", entries], check=True)
    return pathlib.Path(prefix) / "bin" / _PROGRAM


def add_installed(program, environment):
    """Lets the session with this environment find what is installed with the program."""
    prefix = program.parent.parent
    environment["PATH"] = f"{prefix / 'bin'}:{environment['PATH']}"
    others = environment.get("XDG_DATA_DIRS") or "/usr/local/share:/usr/share"
    environment["XDG_DATA_DIRS"] = f"{prefix / 'share'}:{others}"


class Application:
    """The program in a session, and the window of it that shows."""

    def __init__(self, session, program, tool):
        self._session = session
        self._program = program
        self._tool = tool

    def start(self):
        return self._session.start(self._program)

    def open_url(self, url):
        """Opens the URL as a browser does. The program that is started ends when either the
        application does, or when it has handed the URL on."""
        return self._session.start("xdg-open", url, log=_PROGRAM)

    def read_log(self):
        return self._session.read_log(_PROGRAM)

    def log_lines(self):
        """All but what it says of this machine's kernel."""
        lines = self.read_log().splitlines()
        return [line for line in lines if "This kernel cannot confine" not in line]

    def press(self, button):
        self._tool.wait_for("push button", button).press()

    def select_server(self, title):
        """With the keyboard, because the toolkit lets no tool select in a pop-up."""
        wait_until(lambda: title in self._servers(), f'the server "{title}" in the pop-up')
        pop_up = self._tool.find_role("combo box")
        wait_until(lambda: self._moves_selection(pop_up, title), f'the server "{title}" selected')

    def _servers(self):
        """What is in the pop-up: titles, and an empty text for a separator."""
        pop_up = self._tool.find_role("combo box")
        return [] if pop_up is None else [item.name for item in pop_up.children()[0].children()]

    def _moves_selection(self, pop_up, title):
        """One step towards the title; true when it is there. A key that is pressed while the
        keyboard passes from one window to another is lost, so the next step finds its own way."""
        selected = pop_up.name
        if selected == title:
            return True
        servers = self._servers()
        if {selected, title} <= set(servers):
            is_above = servers.index(selected) < servers.index(title)
            self._session.run("xdotool", "key", "alt+s", "Down" if is_above else "Up")
        becomes_true(lambda: pop_up.name != selected, patience=2)
        return False

    def type_server(self, address):
        self._tool.wait_for("text", "Server address").set_text(address)

    def bring_back(self):
        """Starts the program once more, as a user does whose window is gone."""
        assert self.start().wait(PATIENCE_IN_SECONDS) == 0

    def wait_for_address_field(self):
        return self._tool.wait_for("text", "Address at which the browser stopped")

    def continue_with(self, address):
        self.wait_for_address_field().set_text(address)
        self.press("Continue")

    def wait_for_alert(self, message):
        return self._tool.wait_for("alert message", message)

    def upload_target(self, filename):
        """What the upload-URL command prints, line by line."""
        result = self._session.run(self._program, "--generate-upload-url", filename)
        assert result.returncode == 0, f"status {result.returncode}: {result.stderr}"
        return result.stdout.splitlines()

    def registration(self):
        """The registration record of the keyring, or None."""
        return self._record("Ardentra Registration")

    def pending_registration(self):
        return self._record("Ardentra Registration (ephemeral code)")

    def _record(self, service):
        attributes = ("class", "generic-password", "service", service, "creator", "NRVL")
        secret = self._session.run("secret-tool", "lookup", *attributes).stdout
        if not secret:
            return None
        record = json.loads(secret)
        decoded = {key: base64.b64decode(record[key]).decode() for key in ("value", "generic")}
        return record | decoded
