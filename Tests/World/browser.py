"""Default browsers for a session: each is what a desktop entry starts, as on any desktop."""

import base64
import contextlib
import hashlib
import pathlib
import ssl
import subprocess

from gi.repository import GLib

from session import becomes_true, wait_until

APPLICATION = "Ardentra Registration"


def _make_default_browser(session, name, command_text):
    """A command, and a desktop entry in the session's home that is the default for pages."""
    command = session.folder / name
    command.write_text(command_text)
    command.chmod(0o755)
    applications = pathlib.Path(session.environment["XDG_DATA_HOME"]) / "applications"
    applications.mkdir(parents=True, exist_ok=True)
    (applications / "browser.desktop").write_text(
        f"[Desktop Entry]\nType=Application\nName=Browser\nExec={command} %u\n"
        "MimeType=x-scheme-handler/http;x-scheme-handler/https;\n"
    )
    configuration = pathlib.Path(session.environment["XDG_CONFIG_HOME"]) / "mimeapps.list"
    configuration.write_text(
        "[Default Applications]\n"
        "x-scheme-handler/http=browser.desktop\nx-scheme-handler/https=browser.desktop\n"
    )


class OtherApplication:
    """An application that is the user's choice for URLs of some schemes, and only notes them. To be
    made after the browser, which is a choice, too."""

    NAME = "Another Program"

    def __init__(self, session, schemes):
        self._urls = session.folder / "urls"
        command = session.folder / "other-program"
        command.write_text(f"#!/bin/sh\nprintf '%s\\n' \"$1\" >>'{self._urls}'\n")
        command.chmod(0o755)
        types = [f"x-scheme-handler/{scheme}" for scheme in schemes]
        applications = pathlib.Path(session.environment["XDG_DATA_HOME"]) / "applications"
        (applications / "other.desktop").write_text(
            f"[Desktop Entry]\nType=Application\nName={self.NAME}\nExec={command} %u\n"
            f"MimeType={';'.join(types)};\n"
        )
        choices = pathlib.Path(session.environment["XDG_CONFIG_HOME"]) / "mimeapps.list"
        with open(choices, "a", encoding="utf-8") as lines:
            lines.writelines(f"{kind}=other.desktop\n" for kind in types)

    def wait_for_url(self):
        return wait_until(
            lambda: self._urls.exists() and self._urls.read_text().strip(), "a URL to be opened"
        )


class NotingBrowser:
    """Only notes which pages it is to open."""

    def __init__(self, session):
        self._pages = session.folder / "pages"
        _make_default_browser(
            session, "noting-browser", f"#!/bin/sh\nprintf '%s\\n' \"$1\" >>'{self._pages}'\n"
        )

    def wait_for_page(self, number=1):
        """The page that was opened first, second, ..."""
        pages = wait_until(lambda: self._read()[number - 1 :], "the browser to open a page")
        return pages[0]

    def _read(self):
        return self._pages.read_text().splitlines() if self._pages.exists() else []


class Chromium:
    """The real thing, with a profile of the session, which trusts the server if one is given."""

    def __init__(self, session, tool, server=None):
        self._session = session
        self._tool = tool
        options = [
            f"--user-data-dir='{session.folder / 'chromium-profile'}'",
            # Its own sandbox cannot be made inside of the world, which is one itself.
            "--no-sandbox",
            "--test-type",
            "--disable-gpu",
            "--disable-dev-shm-usage",
            "--password-store=basic",
            "--no-first-run",
            "--no-default-browser-check",
            "--disable-sync",
            "--disable-component-update",
            "--force-renderer-accessibility",
            "--window-position=0,0",
            "--window-size=1024,768",
        ]
        if server is not None:
            options.append(f"--ignore-certificate-errors-spki-list={_key_fingerprint(server)}")
        _make_default_browser(
            session,
            "chromium-here",
            f"#!/bin/sh\nexec chromium {' '.join(options)} \"$@\""
            f" >>'{session.folder}/browser.log' 2>&1\n",
        )

    def wait_for_sign_in_page(self):
        return self._tool.wait_for("push button", "Sign in")

    def sign_in(self):
        """Presses the page's button."""
        self.wait_for_sign_in_page().press()

    def close_page(self):
        """Closes the page in front, which is the only one."""

        def is_closed():
            self._session.run("xdotool", "key", "ctrl+w")
            return becomes_true(lambda: self._tool.find("push button", "Sign in") is None, 2)

        wait_until(is_closed, "the page to be closed")

    def wait_for_question(self, application=APPLICATION):
        """Waits until the browser asks whether the page may open the application."""
        return self._tool.wait_for("push button", _answer_for(application))

    def open_application(self, application=APPLICATION):
        """Says that the page may. Again if need be, because the browser ignores an answer that
        comes sooner than a user could have read the question."""
        self.wait_for_question(application)
        wait_until(lambda: self._is_answered(application), "the browser to open the application")

    def _is_answered(self, application):
        button = self._find_answer(application)
        if button is not None:
            with contextlib.suppress(GLib.Error):  # gone meanwhile
                button.press()
        return becomes_true(lambda: self._find_answer(application) is None, patience=2)

    def _find_answer(self, application):
        return self._tool.find("push button", _answer_for(application))


def _answer_for(application):
    return f"Open {application}"


def _key_fingerprint(server):
    """The SHA-256 of the public key of the server's certificate, as Chromium wants it."""
    host, port = server.split(":")
    key = subprocess.run(
        ["openssl", "x509", "-noout", "-pubkey"],
        input=ssl.get_server_certificate((host, int(port))),
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    body = "".join(line for line in key.splitlines() if not line.startswith("-----"))
    return base64.b64encode(hashlib.sha256(base64.b64decode(body)).digest()).decode()
