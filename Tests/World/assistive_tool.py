"""Reads and operates what is on the screen as an assistive tool does: over AT-SPI.

It speaks the protocol itself, because the usual client library keeps what it has read once, and
cannot change from one session's bus to another's.
"""

from gi.repository import GLib

from session import call, connect, wait_until

_ROOT = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")

# Positions in a state set.
_FOCUSED, _SENSITIVE, _SHOWING = 12, 24, 25


class Control:
    """Something on the screen. It may go at any time: then an operation throws GLib.Error."""

    def __init__(self, bus, address):
        self._bus = bus
        self._address = address

    def _call(self, method, arguments=None):
        return call(self._bus, *self._address, f"org.a11y.atspi.{method}", arguments)

    def _property(self, name):
        arguments = GLib.Variant("(ss)", ("org.a11y.atspi.Accessible", name))
        return call(self._bus, *self._address, "org.freedesktop.DBus.Properties.Get", arguments)[0]

    @property
    def name(self):
        return self._property("Name")

    @property
    def description(self):
        return self._property("Description")

    @property
    def role(self):
        return self._call("Accessible.GetRoleName")[0]

    @property
    def is_showing(self):
        return self._has_state(_SHOWING)

    @property
    def is_sensitive(self):
        return self._has_state(_SENSITIVE)

    @property
    def is_focused(self):
        return self._has_state(_FOCUSED)

    def _has_state(self, position):
        words = self._call("Accessible.GetState")[0]
        return bool(words[position // 32] >> position % 32 & 1)

    def children(self):
        addresses = self._call("Accessible.GetChildren")[0]
        return [Control(self._bus, address) for address in addresses]

    def press(self):
        assert self._call("Action.DoAction", GLib.Variant("(i)", (0,)))[0], "the action failed"

    @property
    def text(self):
        return self._call("Text.GetText", GLib.Variant("(ii)", (0, -1)))[0]

    def set_text(self, text):
        done = self._call("EditableText.SetTextContents", GLib.Variant("(s)", (text,)))[0]
        assert done, "the text was refused"


class AssistiveTool:
    """Finds controls by what they are called."""

    def __init__(self, session):
        address = call(session.bus, "org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus.GetAddress")[0]
        self._bus = connect(address)

    def find(self, role, name):
        """The control that shows with this role and name, or None."""
        return self._search(lambda control: control.role == role and control.name == name)

    def find_role(self, role):
        return self._search(lambda control: control.role == role)

    def wait_for(self, role, name):
        """Waits until the control shows and can be operated."""

        def ready():
            control = self.find(role, name)
            return control if control is not None and control.is_sensitive else None

        return wait_until(ready, f'the {role} "{name}"')

    def wait_until_gone(self, role, name):
        wait_until(lambda: self.find(role, name) is None, f'the {role} "{name}" to go')

    def _search(self, matches):
        """Level by level; what is inside of something that does not show does not show either."""
        level = self._windows()
        while level:
            level = [control for control in level if _ask(lambda: control.is_showing)]
            for control in level:
                if _ask(lambda: matches(control)):
                    return control
            level = _children_of(level)
        return None

    def _windows(self):
        return _children_of(_children_of([Control(self._bus, _ROOT)]))

    def describe(self):
        """All that there is, line by line, for people."""
        return "\n".join(line for window in self._windows() for line in _describe(window, 0))

    def close(self):
        self._bus.close_sync()


def _children_of(controls):
    return [child for control in controls for child in _ask(control.children) or []]


def _describe(control, depth):
    def text():
        states = ("" if control.is_showing else " hidden") + (
            "" if control.is_sensitive else " insensitive"
        )
        return f"{'  ' * depth}{control.role} {control.name!r} {control.description!r}{states}"

    yield _ask(text) or f"{'  ' * depth}gone"
    for child in _children_of([control]):
        yield from _describe(child, depth + 1)


def _ask(question):
    """The answer, or None when the control that is asked is gone meanwhile."""
    try:
        return question()
    except GLib.Error:
        return None
