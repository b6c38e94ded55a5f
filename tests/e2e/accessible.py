"""What a screen reader sees: the tree of every program on the desktop's accessibility bus."""

from gi.repository import Gio, GLib

_ROOT = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
_ACCESSIBLE = "org.a11y.atspi.Accessible"
_GONE = "/org/a11y/atspi/null"


class Reader:
    def __init__(self, address):
        self._connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._connection.set_exit_on_close(False)
        # (role, name) of every part that a program has reported as showing now.
        self.announced = []
        self._connection.signal_subscribe(None, "org.a11y.atspi.Event.Object", "StateChanged", None, "showing",
                                          Gio.DBusSignalFlags.NONE, self._showing)
        self._connection.call_sync("org.a11y.atspi.Registry", "/org/a11y/atspi/registry", "org.a11y.atspi.Registry",
                                   "RegisterEvent", GLib.Variant("(sass)", ("object:state-changed:showing", [], "")),
                                   None, Gio.DBusCallFlags.NONE, 5000, None)

    def close(self):
        self._connection.close_sync(None)

    def _showing(self, _connection, sender, path, _interface, _signal, parameters):
        if parameters.get_child_value(1).get_int32() == 1:
            try:
                self.announced.append(self._role_and_name((sender, path)))
            except GLib.Error:
                pass

    def _role_and_name(self, part):
        return (self._ask(part, _ACCESSIBLE, "GetRoleName"),
                self._ask(part, "org.freedesktop.DBus.Properties", "Get", GLib.Variant("(ss)", (_ACCESSIBLE, "Name"))))

    def tree(self):
        """(role, name) of every part of every program; empty while one of them appears or disappears."""
        try:
            return list(self._below(*_ROOT))
        except GLib.Error:
            return []

    def _ask(self, part, interface, method, arguments=None):
        return self._connection.call_sync(*part, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 5000,
                                          None).unpack()[0]

    def _below(self, *part):
        for child in self._ask(part, _ACCESSIBLE, "GetChildren"):
            if child[1] != _GONE:
                yield self._role_and_name(child)
                yield from self._below(*child)
