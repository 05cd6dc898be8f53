#!/usr/bin/python3 -B
"""The whole road of a registration, from the window to the keyring, with real parts only.

    enter BUILD_DIR whole_road_test.py BUILD_DIR [TEST...]

Each test has a desktop session of its own. When one fails, the application's log is printed, and a
screenshot is left in BUILD_DIR/Testing/whole-road/.
"""

import os
import pathlib
import sys
import tempfile
import unittest

from application import Application, add_installed, install
from assistive_tool import AssistiveTool
from browser import Chromium, NotingBrowser
from display import Display
from keyring_prompt import unlock_keyring
from session import PATIENCE_IN_SECONDS, OrphanAdoption, Session, wait_until
from simulated_service import SimulatedService


BUILD = pathlib.Path(sys.argv.pop(1))

DIRECTORY = "directory.ardentra.example"
SERVER = "registration.ardentra.example"
SERVER_TITLE = "Ardentra Demo"
ACCOUNT = "ada@example.com"

SUCCESS = "The registration process completed successfully"
EXCHANGE_FAILED = "An unexpected error occured"
NOT_COMPLETED = "The registration process could not be completed"


class WholeRoad(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.program = install(BUILD, pathlib.Path(os.environ["VT_WORLD"]) / "installed")
        cls.adoption = OrphanAdoption()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(self.adoption.end_orphans)
        self.session = Session(folder.name)
        self.addCleanup(self.session.stop)
        self.session.make_home()
        add_installed(self.program, self.session.environment)
        self.display = Display(self.session)
        self.session.start_bus()
        self.session.start_keyring()
        self.tool = AssistiveTool(self.session)
        self.addCleanup(self.tool.close)
        self.application = Application(self.session, self.program, self.tool)
        self.service = SimulatedService(
            *(self.session, BUILD, os.environ["VT_WORLD_AUTHORITY"], 443),
            hosts=[DIRECTORY, SERVER],
            servers={SERVER_TITLE: SERVER},
        )
        self.is_set_up = True

    def report(self):
        """For a test that has failed, as long as its session is there."""
        name = self.id().rpartition(".")[2]
        screenshot = BUILD / "Testing/whole-road" / f"{name}.png"
        self.display.save_screenshot(screenshot)
        print(f"\n{name}: the screen is in {screenshot}; the controls that show and the logs:")
        print(self.tool.describe())
        for log in sorted(self.session.folder.glob("*.log")):
            print(f"--- {log.name}\n{log.read_text(errors='replace')}", flush=True)

    # What a user does, in the order of the road.

    def begin_sign_in(self, provider="Google"):
        """Starts the application, and goes as far as the browser: the login URL."""
        self.browser = NotingBrowser(self.session)
        self.process = self.application.start()
        self.application.select_server(SERVER_TITLE)
        self.application.press(f"Sign in with {provider}")
        return self.browser.wait_for_page()

    def sign_in(self):
        """As before, and signs in there: the callback URL, which is yet to be opened."""
        return self.service.sign_in(self.begin_sign_in())

    def confirm_success(self):
        self.application.wait_for_alert(SUCCESS)
        self.application.press("OK")

    def assert_ends(self, process):
        self.assertEqual(process.wait(PATIENCE_IN_SECONDS), 0)

    def assert_registered(self, account=ACCOUNT):
        record = self.application.registration()
        self.assertEqual(record["generic"], SERVER)
        self.assertEqual(record.get("account"), account)
        self.assertIsNone(self.application.pending_registration())
        method, url, line = self.application.upload_target("report.pdf")
        self.assertEqual(method, "PUT")
        self.assertTrue(url.startswith(f"https://{SERVER}/uploads/"), url)
        self.assertEqual(line, account or "")

    # The road, and the ways off it.

    def test_registers_through_the_browser(self):
        browser = Chromium(self.session, self.tool, f"{SERVER}:443")
        process = self.application.start()
        self.application.select_server(SERVER_TITLE)
        self.application.press("Sign in with Google")
        browser.sign_in()
        browser.open_application()
        self.confirm_success()
        self.assert_ends(process)
        self.assert_registered()
        (login,) = self.service.requests("/api/desktop/v2/login")
        self.assertEqual(login["provider"], "google")

    def test_registers_though_the_application_was_quit_before_the_callback(self):
        callback = self.sign_in()
        # Started again, it comes back with its window.
        self.assert_ends(self.application.start())
        self.application.press("Cancel")
        self.assert_ends(self.process)
        opened = self.application.open_url(callback)
        self.confirm_success()
        self.assert_ends(opened)
        self.assert_registered()

    def test_a_second_callback_finds_nothing_to_complete(self):
        callback = self.sign_in()
        self.assert_ends(self.application.open_url(callback))
        self.application.wait_for_alert(SUCCESS)
        self.assert_ends(self.application.open_url(callback))
        self.application.wait_for_alert(NOT_COMPLETED)
        self.application.press("Start again")
        self.tool.wait_until_gone("alert message", NOT_COMPLETED)
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()
        self.assertEqual(len(self.service.requests("/api/desktop/v2/token")), 1)

    def test_two_callbacks_at_once_register_once(self):
        callback = self.sign_in()
        # Neither can be completed before both have been begun.
        with self.service.paused():
            self.assert_ends(self.application.open_url(callback))
            self.assert_ends(self.application.open_url(callback))
        self.dismiss_error_before_success(EXCHANGE_FAILED)
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()
        self.assertEqual(len(self.service.requests("/api/desktop/v2/token")), 2)

    def dismiss_error_before_success(self, error):
        """Either may come first."""

        def success_shows():
            if self.tool.find("alert message", error):
                self.application.press("OK")
                self.tool.wait_until_gone("alert message", error)
            return self.tool.find("alert message", SUCCESS)

        wait_until(success_shows, "the success")

    def test_without_a_pending_registration_a_callback_starts_again_or_quits(self):
        callback = "veltora://desktop_registration?code=unexpected"
        process = self.application.open_url(callback)
        alert = self.application.wait_for_alert(NOT_COMPLETED)
        self.assertEqual(
            alert.description, "The registration process has been completed or has timed out."
        )
        self.application.press("Start again")
        self.application.select_server(SERVER_TITLE)
        self.assert_ends(self.application.open_url(callback))
        self.application.wait_for_alert(NOT_COMPLETED)
        self.application.press("Quit")
        self.assert_ends(process)
        self.assertEqual(self.service.requests("/api/desktop/v2/token"), [])
        self.assertIsNone(self.application.registration())

    def test_a_failed_exchange_can_be_repeated_with_the_same_callback(self):
        callback = self.sign_in()
        self.service.answer_once("/api/desktop/v2/token", 503, "Out of order.")
        self.assert_ends(self.application.open_url(callback))
        self.application.wait_for_alert(EXCHANGE_FAILED)
        self.assertIsNotNone(self.application.pending_registration())
        self.application.press("OK")
        self.tool.wait_until_gone("alert message", EXCHANGE_FAILED)
        self.tool.wait_for("push button", "Sign in with Google")
        self.assertIn("An error occurred while attempting to obtain the token: ",
                      self.application.read_log())
        self.assert_ends(self.application.open_url(callback))
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()

    def test_registers_without_an_account_when_the_user_information_fails(self):
        callback = self.sign_in()
        self.service.answer_once("/api/session/user_info", 503, "Out of order.")
        self.assert_ends(self.application.open_url(callback))
        self.confirm_success()
        self.assert_ends(self.process)
        self.assertIn("The user's email address could not be determined: ",
                      self.application.read_log())
        self.assert_registered(account=None)

    def test_asks_for_the_password_of_a_locked_keyring(self):
        self.session.lock_keyring()
        browser = NotingBrowser(self.session)
        process = self.application.start()
        self.application.select_server(SERVER_TITLE)
        self.application.press("Sign in with Google")
        unlock_keyring(self.session)
        callback = self.service.sign_in(browser.wait_for_page())
        self.session.lock_keyring()
        opened = self.application.open_url(callback)
        unlock_keyring(self.session)
        self.confirm_success()
        self.assert_ends(opened)
        self.assert_ends(process)
        self.assert_registered()

    def test_a_custom_server_is_there_when_the_listing_fails(self):
        self.service.answer_once("/api/mobile/v2/registration_servers", 503, "Out of order.")
        browser = NotingBrowser(self.session)
        process = self.application.start()
        self.application.wait_for_alert("An unexpected error occured.")
        self.application.press("OK")
        self.application.select_server("Custom...")
        self.application.type_server(SERVER)
        self.application.press("Sign in with Microsoft")
        callback = self.service.sign_in(browser.wait_for_page())
        self.assert_ends(self.application.open_url(callback))
        self.confirm_success()
        self.assert_ends(process)
        self.assertIn("Dialog dismissed", self.application.read_log())
        self.assert_registered()
        (login,) = self.service.requests("/api/desktop/v2/login")
        self.assertEqual(login["provider"], "microsoft")


class Result(unittest.TextTestResult):
    def addFailure(self, test, err):
        super().addFailure(test, err)
        self._report(test)

    def addError(self, test, err):
        super().addError(test, err)
        self._report(test)

    def _report(self, test):
        if getattr(test, "is_set_up", False):
            test.report()


if __name__ == "__main__":
    unittest.main(testRunner=unittest.TextTestRunner(verbosity=2, resultclass=Result))
