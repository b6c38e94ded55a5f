"""The outcome on GNOME Shell without a screen, with and without X11: judged by the shell's own screenshot, and by what
the shell knows of its windows and notifications."""

import glob
import json
import os
import re
import subprocess
import time

from gi.repository import GLib

import bubbleworld
import bus
import display
import pictures
import test_window_managers

# The shell's own settings: no movement to wait for, and no word of welcome.
SETTINGS = """[org/gnome/desktop/interface]
enable-animations=false

[org/gnome/shell]
welcome-dialog-last-shown-version='99'
"""
NOTIFICATION_SERVICE = "/usr/share/dbus-1/services/org.gnome.Shell.Notifications.service"
SAVED = "Your recording has been saved to your computer."
FAILED = "We had a problem converting the recording to MP4 format."
# The bar at the top, with the clock.
BAR_HEIGHT = 32

WINDOWS = """global.get_window_actors().map(actor => actor.meta_window)
    .filter(window => window.get_window_type() === imports.gi.Meta.WindowType.NORMAL).map(window => {
    const frame = window.get_frame_rect();
    return [window.get_title(), window.has_focus(), frame.x, frame.y, frame.width, frame.height];
})"""
# Every part of the notification that is on the screen: its text, whether all of it is to be seen, and its place.
BANNER = """(() => {
    const found = [];
    const look = part => {
        const [x, y] = part.get_transformed_position();
        const text = part.clutter_text ? part.clutter_text.text : part.label || '';
        const isCut = part.clutter_text ? part.clutter_text.get_layout().is_ellipsized() : false;
        if (part.mapped)
            found.push([text, isCut, x, y, part.width, part.height]);
        part.get_children().forEach(look);
    };
    if (Main.messageTray._banner)
        look(Main.messageTray._banner);
    return found;
})()"""
# What stays in the list of notifications, with the number of its buttons.
HISTORY = """Main.messageTray.getSources().flatMap(source => source.notifications)
    .map(notification => [notification.title, notification.actions.length])"""
POINTER = """(() => {
    const {Clutter, GLib} = imports.gi;
    global.testPointer ??= Clutter.get_default_backend().get_default_seat()
        .create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
    const now = GLib.get_monotonic_time();
    %s
    return true;
})()"""
MOVE = "global.testPointer.notify_absolute_motion(now, %d, %d);"
PRESS = "global.testPointer.notify_button(now, 1, Clutter.ButtonState.%s);"


class _GnomeShell(bubbleworld.BubbleWorld):
    with_tray = False
    with_x11 = True

    def start_display(self):
        # It asks the system's bus for services that are not here, and does without them once it has an answer.
        folder = os.path.join(self.root, "system")
        os.mkdir(folder)
        system_bus = bus.PrivateBus(folder)
        self.addCleanup(system_bus.stop)
        settings = os.path.join(self.environment["XDG_CONFIG_HOME"], "glib-2.0", "settings")
        os.makedirs(settings)
        with open(os.path.join(settings, "keyfile"), "w", encoding="utf-8") as file:
            file.write(SETTINGS)
        self.desktop = {**self.environment, "DBUS_SYSTEM_BUS_ADDRESS": system_bus.address, "GSETTINGS_BACKEND": "keyfile",
                        "LIBGL_ALWAYS_SOFTWARE": "1", "XDG_SESSION_TYPE": "wayland", "XDG_CURRENT_DESKTOP": "GNOME"}
        if self.with_x11 and not os.path.exists("/tmp/.X11-unix"):
            # The shell makes this folder too, but not writable for all, and then refuses it.
            os.mkdir("/tmp/.X11-unix")
            os.chmod("/tmp/.X11-unix", 0o1777)
        self.start_program("gnome-shell", "--headless", "--virtual-monitor", f"{display.WIDTH}x{display.HEIGHT}",
                           "--unsafe-mode", "--wayland-display=wayland-test", *([] if self.with_x11 else ["--no-x11"]))
        self.wait_for(lambda: self.line.has_owner("org.gnome.Shell.Screenshot"), 60, "the shell")
        self.wait_for(lambda: self.evaluate("Main.layoutManager._startingUp") is False, 60, "the shell is up")
        # Nothing is started by its name on this bus: the shell's notification server is, here.
        with open(NOTIFICATION_SERVICE, encoding="utf-8") as file:
            self.start_program(*re.search("^Exec=(.*)", file.read(), re.MULTILINE).group(1).split())
        self.wait_for(lambda: self.line.has_owner("org.freedesktop.Notifications"), 30, "the notification server")
        self.evaluate("Main.overview.hide()")
        self.clear_notifications()
        # Programs learn early that there is a mouse.
        self.point_at(20, display.HEIGHT - 20)
        self.environment["XDG_CURRENT_DESKTOP"] = "GNOME"
        self.environment["WAYLAND_DISPLAY"] = "wayland-test"
        if self.with_x11:
            self.environment["DISPLAY"] = self.evaluate("imports.gi.GLib.getenv('DISPLAY')")
            self.environment["XAUTHORITY"] = glob.glob(
                os.path.join(self.environment["XDG_RUNTIME_DIR"], ".mutter-Xwaylandauth*"))[0]
        self.desktop.update(self.environment)

    def call_shell(self, path, interface, method, arguments):
        return self.line.call("org.gnome.Shell", path, interface, method, arguments)

    def evaluate(self, code):
        """The value of an expression in the shell; None if it has none."""
        is_good, value = self.call_shell("/org/gnome/Shell", "org.gnome.Shell", "Eval", GLib.Variant("(s)", (code,)))
        self.assertTrue(is_good, value)
        return json.loads(value) if value else None

    def take_picture(self, path):
        self.call_shell("/org/gnome/Shell/Screenshot", "org.gnome.Shell.Screenshot", "Screenshot",
                        GLib.Variant("(bbs)", (False, False, path)))

    def picture(self):
        """Without the bar at the top, whose clock goes on."""
        path = os.path.join(self.root, "screen.png")
        self.take_picture(path)
        pixels = subprocess.run(["convert", path, "-depth", "8", "rgb:-"], stdout=subprocess.PIPE, check=True).stdout
        return pictures.Picture(display.WIDTH, pixels).without_rows(0, BAR_HEIGHT)

    def point_at(self, x, y):
        self.evaluate(POINTER % (MOVE % (x, y)))

    def click(self, place):
        """As slowly as a hand does."""
        self.point_at(*place)
        for state in ("PRESSED", "RELEASED"):
            time.sleep(0.2)
            self.evaluate(POINTER % (PRESS % state))

    def standing(self):
        """The ordinary windows: name, whether it has the keyboard, place and size."""
        return self.evaluate(WINDOWS)

    def work_in_a_window(self):
        """Opens a window that lies below every place where an outcome could be shown, and gives it the keyboard."""
        self.start_program("foot", "-e", "sleep", "1000")
        self.wait_for(lambda: [window for window in self.standing() if window[1]], 30, "a window with the keyboard")
        self.evaluate(f"global.display.focus_window.move_resize_frame(false, 200, 50, {display.WIDTH - 220}, 500)")
        self.wait_for(lambda: self.standing()[0][2:4] == [200, 50], 20, "it is in its place")

    def clear_notifications(self):
        """The shell welcomes root with a warning."""
        self.evaluate("Main.messageTray.getSources().forEach(source => source.destroy())")
        self.wait_for(lambda: not self.banner() and not self.evaluate(HISTORY), 20, "no notification")

    def banner(self):
        """The parts of the notification on the screen, from the outside in: text, whether it is cut, rectangle."""
        return [(text, is_cut, display.Rectangle(*place)) for text, is_cut, *place in self.evaluate(BANNER)
                if None not in place]

    def part(self, text):
        """The rectangle of the part of the notification with this text; None if there is none."""
        found = [place for part, _, place in self.banner() if part == text]
        return found[0] if found else None


class GnomeWithoutXwayland(_GnomeShell):
    """Notifications are all there is."""

    with_x11 = False

    def check_is_told(self, act, text):
        self.work_in_a_window()
        before = self.wait_for_rest()
        standing = self.standing()
        converter = act()
        self.wait_for(lambda: self.part(text), 40, "the notification")
        after = self.wait_for_rest()
        self.keep_picture()
        frame = self.banner()[0][2]
        left, top, right, bottom = after.changed_since(before)
        self.assertLessEqual(abs(frame.middle - display.WIDTH / 2), 8, "it stands where this desktop puts them")
        self.assertGreaterEqual(left, frame.x - display.SHADOW)
        self.assertLessEqual(right, frame.right + display.SHADOW)
        self.assertLessEqual(bottom, frame.bottom + display.SHADOW)
        self.assertLess(top, 60)
        self.assertGreater(right - left, 0.9 * frame.width, "whole and above the window")
        self.assertEqual(self.standing(), standing)
        return converter, standing

    def fails(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        return converter

    def test_the_outcome_is_told_and_open_opens_it(self):
        converter, standing = self.check_is_told(lambda: self.converts("talk.mkv"), SAVED)
        self.assertIn("bubble shown as a desktop notification", self.log_text())
        self.assertEqual([part for part, is_cut, _ in self.banner() if is_cut], [])
        frame = self.banner()[0][2]
        self.point_at(frame.middle, frame.y + 20)
        self.wait_for(lambda: self.part("Open"), 20, "its buttons")
        self.wait_for_rest()
        button = self.part("Open")
        self.click((button.middle, button.y + button.height / 2))
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertEqual(self.standing(), standing)
        self.assertEqual(self.evaluate(HISTORY), [], "what was answered is not kept")

    def test_a_failure_is_told(self):
        """The shell gives a title one line, and cuts the last letters of this one."""
        converter, _ = self.check_is_told(self.fails, FAILED)
        self.assertEqual(self.wait_ended(converter, 40), 0)

    def test_nobody_answers_and_no_button_stays_that_nobody_hears(self):
        converter, _ = self.check_is_told(lambda: self.converts("talk.mkv"), SAVED)
        self.assertEqual(self.wait_ended(converter, 40), 0)
        self.wait_for(lambda: self.evaluate(HISTORY) in ([], [[SAVED, 0]]), 5, "no button is left")
        self.evaluate("Main.panel.statusArea.dateMenu.menu.open()")
        self.wait_for_rest()
        self.keep_picture()


class GnomeWithXwayland(_GnomeShell, test_window_managers.WindowManagerWorld):
    """Its window manager leaves our windows in their place."""

    def check_does_not_press(self, bubble):
        """The shell marks each window that may not take the keyboard; what counts is that it says nothing of it."""
        self.assertEqual(self.evaluate(HISTORY), [])

    def test_the_outcome_is_seen(self):
        bubble = self.check_the_outcome_is_seen()
        self.assertGreater(bubble.body.x, display.WIDTH * 2 / 3)
        self.assertLess(bubble.body.y, 2 * BAR_HEIGHT + display.ARROW)


if __name__ == "__main__":
    display.world.main()
