"""The way from one session bus to the assistive tools of another.

A toolkit asks its session bus where the bus of the assistive tools is ("org.a11y.Bus").
"""

import threading

from gi.repository import Gio, GLib

_PATH = "/org/a11y/bus"
_INTERFACE = """
<node><interface name="org.a11y.Bus">
  <method name="GetAddress"><arg type="s" direction="out"/></method>
</interface></node>
"""


class AccessibilityBusName:
    """Answers that question on the bus with the address, as long as it is not stopped."""

    def __init__(self, bus, address):
        self._address = address
        interface = Gio.DBusNodeInfo.new_for_xml(_INTERFACE).interfaces[0]
        bus.register_object(_PATH, interface, self._answer, None, None)
        Gio.bus_own_name_on_connection(bus, "org.a11y.Bus", Gio.BusNameOwnerFlags.NONE, None, None)
        self._loop = GLib.MainLoop()
        self._thread = threading.Thread(target=self._loop.run, daemon=True)
        self._thread.start()

    def _answer(self, bus, sender, path, interface, method, arguments, invocation):
        invocation.return_value(GLib.Variant("(s)", (self._address,)))

    def stop(self):
        self._loop.quit()
        self._thread.join()
