"""A private session bus, and a connection that listens and posts on it."""

import os
import subprocess
import time

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PATH = "/org/recordconverter/NotificationCenter"
INTERFACE = "org.recordconverter.NotificationCenter"
CONVERTER = "org.recordconverter.RecordConverter"

STARTED = "kMeetingRecordNotificationName_RecordingStarted"
STOPPED = "kMeetingRecordNotificationName_RecordingStopped"
QUIT = "kMeetingRecordNotificationName_MeetingAppQuit"
ACK = "kMeetingRecordNotificationName_AckNotification"
SPAWN = "kMeetingRecordNotificationName_AppSpawnConfirm"

PID = "kMeetingRecordNotificationKey_MeetingProcessId"
FILE = "kMeetingRecordNotificationKey_RecordIntermediatePath"
ACK_NAME = "kMeetingRecordNotificationKey_AckNotificationName"
ACK_FROM = "kMeetingRecordNotificationKey_AckFromProcessId"
ACK_TO = "kMeetingRecordNotificationKey_AckToProcessId"

# A test must not start services of the machine it runs on: only its own services can be activated.
_CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={socket}</listen>
  <auth>EXTERNAL</auth>
  {services}
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""


class PrivateBus:
    def __init__(self, folder, services=None):
        """`services` is a folder of service files that the bus may start."""
        socket = os.path.join(folder, "bus")
        configuration = os.path.join(folder, "bus.conf")
        with open(configuration, "w", encoding="utf-8") as file:
            file.write(_CONFIGURATION.format(
                socket=socket, services=f"<servicedir>{services}</servicedir>" if services else ""))
        self.address = f"unix:path={socket}"
        self.daemon = subprocess.Popen(
            ["dbus-daemon", "--nofork", f"--config-file={configuration}", "--print-address=1"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        if not self.daemon.stdout.readline():
            raise AssertionError("the private bus does not start")

    def stop(self):
        self.daemon.kill()
        self.daemon.wait()
        self.daemon.stdout.close()


class Notification:
    """One notification as received. `info` holds plain values, `types` the D-Bus type of each."""

    def __init__(self, parameters):
        self.name, self.object, entries = (parameters.get_child_value(index) for index in range(3))
        self.name = self.name.get_string()
        self.object = self.object.get_string()
        self.info = {}
        self.types = {}
        for index in range(entries.n_children()):
            entry = entries.get_child_value(index)
            key = entry.get_child_value(0).get_string()
            value = entry.get_child_value(1).get_variant()
            self.info[key] = value.unpack()
            self.types[key] = value.get_type_string()

    def __repr__(self):
        return f"{self.name} {self.info}"


class Shown:
    """One notification: its text, the line below it, and the titles of its buttons."""

    def __init__(self, parameters):
        _, self.replaces, _, self.text, self.body, actions, self.hints, _ = parameters
        # Keys and titles alternate; the first pair is the press on the notification itself.
        self.buttons = actions[3::2]

    def __repr__(self):
        return f"{self.text} {self.body} {self.buttons}"


class NotificationServer:
    """Shows nothing and records everything in `shown`, in order."""

    NAME = "org.freedesktop.Notifications"
    _PATH = "/org/freedesktop/Notifications"
    _METHODS = """<node><interface name='org.freedesktop.Notifications'>
      <method name='GetCapabilities'><arg type='as' direction='out'/></method>
      <method name='Notify'><arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' direction='in'/>
        <arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>
        <arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' direction='out'/></method>
      <method name='CloseNotification'><arg type='u' direction='in'/></method></interface></node>"""

    def __init__(self, connection):
        self._connection = connection
        self._last = 0
        self.shown = []
        node = Gio.DBusNodeInfo.new_for_xml(self._METHODS)
        connection.register_object(self._PATH, node.interfaces[0], self._answer, None, None)

    def _answer(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        if method == "GetCapabilities":
            invocation.return_value(GLib.Variant("(as)", (["body", "actions"],)))
        elif method == "Notify":
            self._last += 1
            self.shown.append(Shown(arguments.unpack()))
            invocation.return_value(GLib.Variant("(u)", (self._last,)))
        else:
            invocation.return_value(None)
            self._tell_closed(arguments.unpack()[0])

    def _tell_closed(self, number):
        self._connection.emit_signal(None, self._PATH, self.NAME, "NotificationClosed",
                                     GLib.Variant("(uu)", (number, 2)))

    def press(self, key):
        """Presses a button of the newest notification: "default", or the button's number."""
        self._connection.emit_signal(None, self._PATH, self.NAME, "ActionInvoked", GLib.Variant("(us)", (self._last, key)))

    def close_all(self):
        for number in range(1, self._last + 1):
            self._tell_closed(number)


class Line:
    """A connection to the bus that records all notifications it receives."""

    def __init__(self, address):
        self._connection = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
            | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION, None, None)
        self._connection.set_exit_on_close(False)
        self.heard = []
        self._connection.signal_subscribe(None, INTERFACE, "Posted", PATH, None, Gio.DBusSignalFlags.NONE,
                                          lambda *call: self.heard.append(Notification(call[5])))
        self._ask("GetId", None)

    def close(self):
        if not self._connection.is_closed():
            self._connection.close_sync(None)

    def _ask(self, method, arguments):
        return self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                          method, arguments, None, Gio.DBusCallFlags.NONE, 5000, None)

    def has_owner(self, name):
        return self._ask("NameHasOwner", GLib.Variant("(s)", (name,))).unpack()[0]

    def owner(self, name):
        """The connection that owns `name`; None if there is none."""
        try:
            return self._ask("GetNameOwner", GLib.Variant("(s)", (name,))).unpack()[0]
        except GLib.Error:
            return None

    def converter_runs(self):
        return self.has_owner(CONVERTER)

    def property(self, service, path, name, interface=None):
        """A property of the interface, by default the one named like its service; None if there is no reply."""
        try:
            return self._connection.call_sync(service, path, "org.freedesktop.DBus.Properties", "Get",
                                              GLib.Variant("(ss)", (interface or service, name)), None,
                                              Gio.DBusCallFlags.NO_AUTO_START, 5000, None).unpack()[0]
        except GLib.Error:
            return None

    def record_signals(self, interface, name):
        """A list that grows by the arguments of each such signal while the bus is being read."""
        seen = []
        self._connection.signal_subscribe(None, interface, name, None, None, Gio.DBusSignalFlags.NONE,
                                          lambda *arguments: seen.append(arguments[5].unpack()))
        return seen

    def tool_tip(self, pid):
        """The text that the status icon of converter `pid` shows below its title."""
        tip = self.property(f"org.kde.StatusNotifierItem-{pid}-1", "/StatusNotifierItem", "ToolTip",
                            "org.kde.StatusNotifierItem")
        return tip[3] if tip else ""

    def converter_pid(self):
        return self._ask("GetConnectionUnixProcessID", GLib.Variant("(s)", (CONVERTER,))).unpack()[0]

    def post(self, name, info=None, obj=""):
        """`info` maps keys to GLib.Variant."""
        self._connection.emit_signal(None, PATH, INTERFACE, "Posted",
                                     GLib.Variant("(ssa{sv})", (name, obj, info or {})))
        self._connection.flush_sync(None)

    def emit_other_arguments(self):
        """The signal of a notification, but with a single string."""
        self._connection.emit_signal(None, PATH, INTERFACE, "Posted", GLib.Variant("(s)", ("a name",)))
        self._connection.flush_sync(None)

    def started(self, pid, path):
        value = GLib.Variant("ay", path) if isinstance(path, bytes) else GLib.Variant("s", path)
        self.post(STARTED, {PID: GLib.Variant("i", pid), FILE: value})

    def stopped(self, pid):
        self.post(STOPPED, {PID: GLib.Variant("i", pid)})

    def quit(self, pid):
        self.post(QUIT, {PID: GLib.Variant("i", pid)})

    def turn(self):
        """Handles everything that has arrived."""
        while GLib.MainContext.default().iteration(False):
            pass

    def wait(self, condition, seconds, what):
        """Like `processes.wait_until`, while the bus is being read."""
        deadline = time.monotonic() + seconds
        while True:
            self.turn()
            result = condition()
            if result:
                return result
            if time.monotonic() > deadline:
                raise AssertionError(f"waited {seconds} s in vain: {what}; heard {self.heard}")
            time.sleep(0.01)

    def call(self, service, path, interface, method, arguments=None):
        """What the method returns: a list."""
        return self._connection.call_sync(service, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE, 20000,
                                          None).unpack()

    def play_notification_server(self):
        """Acts as the desktop's notification server from now on."""
        server = NotificationServer(self._connection)
        self._ask("RequestName", GLib.Variant("(su)", (NotificationServer.NAME, 0)))
        return server

    def play_screen_saver(self):
        """Acts as the desktop's screen saver from now on, which covers the screen."""
        node = Gio.DBusNodeInfo.new_for_xml(
            "<node><interface name='org.freedesktop.ScreenSaver'><method name='GetActive'>"
            "<arg type='b' direction='out'/></method></interface></node>")
        self._connection.register_object("/org/freedesktop/ScreenSaver", node.interfaces[0],
                                         lambda *call: call[6].return_value(GLib.Variant("(b)", (True,))), None, None)
        self._ask("RequestName", GLib.Variant("(su)", ("org.freedesktop.ScreenSaver", 0)))

    def play_settings(self, settings):
        """Acts as the desktop's settings portal from now on. `settings` maps (group, key) to a number."""
        node = Gio.DBusNodeInfo.new_for_xml(
            "<node><interface name='org.freedesktop.portal.Settings'><method name='Read'><arg type='s' direction='in'/>"
            "<arg type='s' direction='in'/><arg type='v' direction='out'/></method></interface></node>")

        def answer(_connection, _sender, _path, _interface, _method, arguments, invocation):
            value = GLib.Variant("u", settings.get(arguments.unpack(), 0))
            # Portals wrap the value in two variants.
            invocation.return_value(GLib.Variant("(v)", (GLib.Variant("v", value),)))

        self._connection.register_object("/org/freedesktop/portal/desktop", node.interfaces[0], answer, None, None)
        self._ask("RequestName", GLib.Variant("(su)", ("org.freedesktop.portal.Desktop", 0)))

    def acknowledgements(self, pid, name=None):
        return [n for n in self.heard if n.name == ACK and n.info[ACK_TO] == pid and name in (None, n.info[ACK_NAME])]

    def wait_acknowledged(self, pid, name, times=1, seconds=20):
        return self.wait(lambda: self.acknowledgements(pid, name)[times - 1:times], seconds,
                         f"acknowledgement {times} of {name} to {pid}")

    def confirmations(self, pid):
        return [n for n in self.heard if n.name == SPAWN and n.info[ACK_TO] == pid]

    def wait_confirmed(self, pid, seconds=20):
        return self.wait(lambda: self.confirmations(pid), seconds, f"spawn confirmation to {pid}")[0]
