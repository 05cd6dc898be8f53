"""What tests of the whole road share: each has a desktop session of its own.

When one fails, the application's log is printed, and a screenshot is left in
BUILD_DIR/Testing/whole-road/.
"""

import os
import pathlib
import sys
import tempfile
import unittest

from application import Application, add_installed, install
from assistive_tool import AssistiveTool
from browser import NotingBrowser
from display import Display
from orphans import OrphanAdoption
from session import PATIENCE_IN_SECONDS, Session
from simulated_service import SimulatedService


BUILD = pathlib.Path(sys.argv.pop(1))

# The program that is there already, as a package has installed it.
INSTALLED = pathlib.Path(os.environ["VT_INSTALLED"]) if "VT_INSTALLED" in os.environ else None

DIRECTORY = "directory.ardentra.example"
SERVER = "registration.ardentra.example"
SERVER_TITLE = "Ardentra Demo"
ACCOUNT = "ada@example.com"

SUCCESS = "The registration process completed successfully"
EXCHANGE_FAILED = "An unexpected error occured"
NOT_COMPLETED = "The registration process could not be completed"


class Road(unittest.TestCase):
    """The whole road of a registration, from the window to the keyring, with real parts only."""

    # Where the application is installed, unless a package has done that, and whether the bus starts it.
    prefix = "installed"
    bus_starts_installed_services = False

    @classmethod
    def setUpClass(cls):
        cls.program = INSTALLED or install(BUILD, pathlib.Path(os.environ["VT_WORLD"]) / cls.prefix)
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
        self.session.start_bus(self.bus_starts_installed_services)
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


def main():
    unittest.main(testRunner=unittest.TextTestRunner(verbosity=2, resultclass=Result))
