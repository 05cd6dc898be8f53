"""The prompt that a locked keyring shows on the display, and a user who answers it."""

from session import KEYRING_PASSWORD, becomes_true, wait_until


def unlock_keyring(session):
    """Waits for the prompt and types the password. Again if need be, because a key may come before
    the prompt takes any."""
    wait_until(lambda: _is_showing(session), "the keyring's prompt")
    wait_until(lambda: _is_answered(session), "the keyring to be unlocked")


def _is_showing(session):
    search = ("xdotool", "search", "--onlyvisible", "--class", "gcr-prompter")
    return session.run(*search).stdout != ""


def _is_answered(session):
    if session.keyring_is_locked() and _is_showing(session):
        session.run("xdotool", "key", "ctrl+a")
        session.run("xdotool", "type", "--delay", "1", KEYRING_PASSWORD)
        session.run("xdotool", "key", "Return")
        becomes_true(lambda: not _is_showing(session), patience=2)
    return not session.keyring_is_locked()
