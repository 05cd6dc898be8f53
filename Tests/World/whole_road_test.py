#!/usr/bin/python3 -B
"""The whole road of a registration, from the window to the keyring, with real parts only.

    enter BUILD_DIR whole_road_test.py BUILD_DIR [TEST...]
"""

from browser import Chromium, NotingBrowser
from keyring_prompt import unlock_keyring
from road import EXCHANGE_FAILED, NOT_COMPLETED, SERVER, SERVER_TITLE, SUCCESS, Road, main
from session import wait_until


class WholeRoad(Road):
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


if __name__ == "__main__":
    main()
