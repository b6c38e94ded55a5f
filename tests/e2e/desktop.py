"""Stand-ins for what a desktop session has beside its bus: login manager, Inhibit portal, file manager, service manager.
They answer while the test waits with its ear on the bus."""

import os
import select
import signal

from gi.repository import Gio, GLib

import processes


class _Service:
    """Owns a name on a bus and has one object."""

    def __init__(self, address, name, path, interface):
        self.calls = []
        self._connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._connection.set_exit_on_close(False)
        info = Gio.DBusNodeInfo.new_for_xml(f"<node>{interface}</node>").interfaces[0]
        self._connection.register_object(path, info, self._called, None, None)
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                   "RequestName", GLib.Variant("(su)", (name, 4)), None, Gio.DBusCallFlags.NONE, 5000,
                                   None)

    def _called(self, _connection, sender, _path, _interface, method, parameters, invocation):
        self.calls.append(parameters.unpack())
        self.answer(sender, method, parameters, invocation)

    def close(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)


class LoginManager(_Service):
    """A lock is held until all copies of its descriptor but ours are closed."""

    def __init__(self, address):
        self._ends = []
        super().__init__(address, "org.freedesktop.login1", "/org/freedesktop/login1", """
            <interface name="org.freedesktop.login1.Manager"><method name="Inhibit">
              <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="s" direction="in"/>
              <arg type="s" direction="in"/><arg type="h" direction="out"/></method></interface>""")

    def answer(self, _sender, _method, _parameters, invocation):
        end, given = os.pipe2(os.O_CLOEXEC)
        self._ends.append(end)
        invocation.return_value_with_unix_fd_list(GLib.Variant("(h)", (0,)), Gio.UnixFDList.new_from_array([given]))

    def locks(self):
        """How many are held now."""
        poll = select.poll()
        for end in self._ends:
            poll.register(end, 0)
        return len(self._ends) - len(poll.poll(0))

    def close(self):
        super().close()
        for end in self._ends:
            os.close(end)


class Portal(_Service):
    """An inhibition is held until the client that requested it has left the bus."""

    def __init__(self, address):
        self._askers = []
        super().__init__(address, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop", """
            <interface name="org.freedesktop.portal.Inhibit"><method name="Inhibit">
              <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="a{sv}" direction="in"/>
              <arg type="o" direction="out"/></method></interface>""")

    def answer(self, sender, _method, _parameters, invocation):
        self._askers.append(sender)
        invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/portal/desktop/request/1",)))

    def inhibitions(self):
        return sum(self._connection.call_sync(
            "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
            GLib.Variant("(s)", (asker,)), None, Gio.DBusCallFlags.NONE, 5000, None).unpack()[0]
            for asker in self._askers)


class FileManager(_Service):
    """Opens no window; `calls` records what it was asked to select."""

    def __init__(self, address):
        super().__init__(address, "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1", """
            <interface name="org.freedesktop.FileManager1"><method name="ShowItems">
              <arg type="as" direction="in"/><arg type="s" direction="in"/></method></interface>""")

    def answer(self, _sender, _method, _parameters, invocation):
        invocation.return_value(None)


class ServiceManager(_Service):
    """Has one unit, the processes that the test adds to it, and the scopes that clients ask for."""

    def __init__(self, address):
        self.unit = set()
        self.scopes = {}
        super().__init__(address, "org.freedesktop.systemd1", "/org/freedesktop/systemd1", """
            <interface name="org.freedesktop.systemd1.Manager"><method name="StartTransientUnit">
              <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="a(sv)" direction="in"/>
              <arg type="a(sa(sv))" direction="in"/><arg type="o" direction="out"/></method></interface>""")

    def answer(self, _sender, _method, parameters, invocation):
        name, _mode, properties, _others = parameters.unpack()
        moved = set(dict(properties)["PIDs"])
        self.scopes[name] = moved
        self.unit -= moved
        invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/systemd1/job/1",)))

    def stop_unit(self):
        """Ends every process in the unit, like the end of a service."""
        for pid in self.unit:
            if processes.command_line(pid):
                os.kill(pid, signal.SIGKILL)
