#!/usr/bin/python3 -B
"""The road when the browser does not come back: what the window then offers.

    enter BUILD_DIR stuck_browser_test.py BUILD_DIR [TEST...]
"""

from browser import Chromium, OtherApplication
from road import SERVER, SERVER_TITLE, Road, main
from session import wait_until

SCHEMES = ("zantiq", "veltora", "printdriverregistration")

WAITING = "Waiting for you to sign in"
OPEN_AGAIN = "Open the sign-in page again"
NONE_OPENS = "No application opens the links by which the web browser comes back here."
ANOTHER_OPENS = "Another application opens the links by which the web browser comes back here."


class StuckBrowser(Road):
    def bring_back(self):
        """The user looks for the window, which says what it waits for."""
        self.application.bring_back()
        self.tool.wait_for("label", WAITING)

    def start_anew(self):
        """The user quits, and starts the application again."""
        self.application.bring_back()
        self.application.press("Cancel")
        self.assert_ends(self.process)
        self.process = self.application.start()

    def test_completes_with_the_address_at_which_the_browser_stopped(self):
        callback = self.sign_in()
        self.bring_back()
        self.application.continue_with(f"  {callback}\n")
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()

    def test_completes_in_a_process_that_was_started_after_the_sign_in(self):
        callback = self.sign_in()
        self.start_anew()
        self.tool.wait_for("label", WAITING)
        # It does not know the page any more.
        self.assertIsNone(self.tool.find("push button", OPEN_AGAIN))
        self.application.continue_with(callback)
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()

    def test_opens_the_page_again_and_copies_its_link(self):
        page = self.begin_sign_in()
        self.bring_back()
        self.application.press(OPEN_AGAIN)
        self.assertEqual(self.browser.wait_for_page(2), page)
        self.application.press("Copy the link")
        self.tool.wait_for("label", "The link was copied.")
        self.assertEqual(self.paste_into_address_field(), page)

    def paste_into_address_field(self):
        field = self.application.wait_for_address_field()

        def is_pasted():
            self.session.run("xdotool", "key", "alt+b", "ctrl+a", "ctrl+v")
            return wait_until(lambda: field.text, "the pasted text", patience=2)

        return wait_until(is_pasted, "the pasted text")

    def test_an_address_that_is_none_can_be_replaced_by_the_right_one(self):
        callback = self.sign_in()
        self.bring_back()
        self.application.continue_with("https://www.example.com/")
        self.application.wait_for_alert("An unexpected error occured")
        self.application.press("OK")
        self.assertIn("The supplied URL is not valid because the scheme is unknown: ",
                      self.application.read_log())
        self.application.continue_with(callback)
        self.confirm_success()
        self.assert_ends(self.process)
        self.assert_registered()

    def test_becomes_the_application_that_the_browser_opens(self):
        browser = Chromium(self.session, self.tool, f"{SERVER}:443")
        other = OtherApplication(self.session, SCHEMES)
        process = self.application.start()
        self.application.select_server(SERVER_TITLE)
        self.application.press("Sign in with Google")
        browser.sign_in()
        browser.open_application(other.NAME)
        self.assertTrue(other.wait_for_url().startswith("printdriverregistration://"))
        browser.close_page()

        self.bring_back()
        self.tool.wait_for("label", ANOTHER_OPENS)
        self.application.press("Use this application")
        self.tool.wait_for("label", "This application opens the links now.")
        self.assertIsNone(self.tool.find("label", ANOTHER_OPENS))
        self.assert_opens_links("com.norvale.tessor.desktop")

        self.application.press(OPEN_AGAIN)
        browser.sign_in()
        browser.open_application()
        self.confirm_success()
        self.assert_ends(process)
        self.assert_registered()

    def assert_opens_links(self, entry):
        for scheme in SCHEMES:
            kind = f"x-scheme-handler/{scheme}"
            answer = self.session.run("xdg-mime", "query", "default", kind).stdout
            self.assertEqual(answer.strip(), entry, scheme)

    def test_says_that_a_setting_could_not_be_changed(self):
        self.begin_sign_in()
        # As if it had been installed where the desktop does not look.
        self.session.environment["XDG_DATA_DIRS"] = "/nowhere"
        self.start_anew()
        self.tool.wait_for("label", NONE_OPENS)
        self.application.press("Use this application")
        self.tool.wait_for("label", "The setting could not be changed.")
        self.tool.wait_for("label", NONE_OPENS)

    def test_a_locked_keyring_is_not_opened_for_the_offer(self):
        self.begin_sign_in()
        self.session.lock_keyring()
        # This process has begun to sign in.
        self.bring_back()
        # Another one does not know.
        self.start_anew()
        self.application.select_server(SERVER_TITLE)
        self.tool.wait_for("push button", "Sign in with Google")
        self.assertIsNone(self.tool.find("label", WAITING))
        self.assertTrue(self.session.keyring_is_locked())
        self.assertEqual(self.prompts(), "")
        self.assertEqual(self.application.log_lines(), [])

    def prompts(self):
        search = ("xdotool", "search", "--onlyvisible", "--class", "gcr-prompter")
        return self.session.run(*search).stdout


    def test_the_window_comes_back_where_it_was(self):
        self.begin_sign_in()
        self.bring_back()
        window = self.find_window()
        self.session.run("xdotool", "windowmove", window, "150", "80")
        place = self.place_of(window)
        self.application.press("Sign in with Google")
        self.browser.wait_for_page(2)
        wait_until(lambda: self.find_window() == "", "the window to be put away")
        self.bring_back()
        self.assertEqual(self.place_of(self.find_window()), place)

    def find_window(self):
        search = ("xdotool", "search", "--onlyvisible", "--name", "^Ardentra Registration$")
        return self.session.run(*search).stdout.strip()

    def place_of(self, window):
        self.display.wait_until_still()
        geometry = self.session.run("xdotool", "getwindowgeometry", window).stdout.splitlines()
        return next(line for line in geometry if "Position" in line)

    def test_the_window_is_one_to_assistive_tools(self):
        self.application.start()
        self.tool.wait_for("frame", "Ardentra Registration")


if __name__ == "__main__":
    main()
