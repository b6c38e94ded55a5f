"""The outcome on a whole KDE Plasma without a screen, on X11 and on Wayland: beside its panel, which keeps the status icon
and shows notifications."""

import glob
import os
import re
import time

import display
import test_window_managers

PANEL_HEIGHT = 46
BLACK = (0, 0, 0)


def _installed(*patterns):
    """The newest program of one of these names."""
    found = [path for pattern in patterns for path in sorted(glob.glob(pattern))]
    return found[-1]


class _Plasma:
    """What Plasma starts beside its compositor."""

    window_place = f"+{display.WIDTH // 2 - 40}+{display.HEIGHT // 2 - 50}"

    def start_window_manager(self):
        super().start_window_manager()
        services = _installed("/usr/bin/kded[56]")
        # The services keep their modules to themselves in a session of another version.
        self.environment.update({"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true",
                                 "KDE_SESSION_VERSION": services[-1]})
        # Nothing is started by its name on this bus: the shell's services are, here.
        self.start_program(_installed("/usr/lib/*/libexec/kactivitymanagerd", "/usr/libexec/kactivitymanagerd"))
        self.start_program(services)
        self.wait_for(lambda: self.line.has_owner("org.kde.ActivityManager"), 60, "the activities")
        self.wait_for(lambda: self.line.has_owner("org.kde.StatusNotifierWatcher"), 60, "the keeper of status icons")
        self.start_program("plasmashell")
        self.wait_for(lambda: self.line.property("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                                 "IsStatusNotifierHostRegistered"), 120, "the panel takes items")
        self.wait_for(lambda: self.line.has_owner("org.freedesktop.Notifications"), 60, "the notification server")
        self.wait_for(self.room_is_reserved, 60, "the panel is in its place")
        self.wait_for_rest()

    def room_is_reserved(self):
        """The panel takes its share of the screen only a moment after it is there, and windows make room for it."""
        area = re.search(r"= \d+, \d+, \d+, (\d+)", self.ask("xprop", "-root", "_NET_WORKAREA"))
        return area and int(area.group(1)) < display.HEIGHT

    def items(self):
        return self.line.property("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                  "RegisteredStatusNotifierItems")

    def wait_for_icon(self):
        self.wait_for(self.items, 20, "the item is registered")

    def picture(self):
        """Without the panel, whose clock goes on."""
        return super().picture().without_rows(display.HEIGHT - PANEL_HEIGHT, display.HEIGHT)

    def check_the_outcome_is_seen_beside_the_panel(self):
        bubble = self.check_the_outcome_is_seen()
        self.assertGreater(bubble.body.x, display.WIDTH * 2 / 3)
        self.assertGreater(bubble.body.y, display.HEIGHT * 2 / 3)
        self.assertLessEqual(bubble.body.bottom, display.HEIGHT - 30)


class PlasmaOnX(_Plasma, test_window_managers.KWin):
    def test_the_outcome_is_seen(self):
        self.check_the_outcome_is_seen_beside_the_panel()

    def test_a_failure_is_seen(self):
        self.check_a_failure_is_seen()


class _PlasmaOnWayland(_Plasma, test_window_managers.KWinOnWayland):
    def start_window_manager(self):
        # Without a graphics card the compositor draws the round corners of a title bar a little differently each time.
        with open(os.path.join(self.environment["XDG_CONFIG_HOME"], "kwinrc"), "w", encoding="utf-8") as file:
            file.write("[org.kde.kdecoration2]\nNoPlugin=true\n")
        self.environment["XDG_SESSION_TYPE"] = "wayland"
        super().start_window_manager()


class PlasmaOnWayland(_PlasmaOnWayland):
    """Our windows come through Xwayland."""

    def test_the_outcome_is_seen(self):
        self.check_the_outcome_is_seen_beside_the_panel()

    def test_a_failure_is_seen(self):
        self.check_a_failure_is_seen()

    def test_without_x11_the_notification_server_shows_it(self):
        self.work_in_a_window()
        standing, before = self.standing(), self.wait_for_rest()
        self.environment = {key: value for key, value in self.environment.items() if key != "DISPLAY"}
        converter = self.converts("talk.mkv")
        # How often the preparing notification is shown depends on the machine.
        self.wait_for(lambda: self.files() == ["talk.mp4"], 40, "it is converted")
        self.wait_for(lambda: "bubble shown as a desktop notification" in self.log_text(), 20, "it is told")
        # A ring around its cross shows the time that is left, so the picture has no rest.
        time.sleep(2)
        self.keep_picture()
        left, top, right, bottom = self.picture().changed_since(before)
        self.assertGreater(left, display.WIDTH / 2)
        self.assertGreater(top, display.HEIGHT / 2)
        self.assertGreater(right - left, 300, "whole and above the window")
        self.assertGreater(bottom - top, 90)
        self.assertEqual(self.standing(), standing)
        self.click((left + 60, top + 60))
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertEqual(self.standing(), standing)


class PlasmaWithLayerSurfaces(_PlasmaOnWayland):
    """Our windows are surfaces of the compositor's own, which nobody but it can find: the picture shows them."""

    has_layer_surfaces = True
    window_place = f"+{display.WIDTH // 2 - 40}+60"

    def test_the_outcome_is_seen(self):
        self.work_in_a_window()
        standing, before = self.standing(), self.wait_for_rest()
        converter = self.converts("talk.mkv")
        self.wait_for(lambda: self.files() == ["talk.mp4"], 40, "it is converted")
        self.wait_for(lambda: "bubble shown as a window in the corner" in self.log_text(), 20, "it is shown")
        after = self.wait_for_rest()
        self.keep_picture()
        left, top, right, bottom = after.changed_since(before)
        self.assertGreater(left, display.WIDTH * 2 / 3)
        self.assertLess(top, 2 * display.ARROW)
        self.assertLess(bottom, display.HEIGHT / 4)
        self.assertGreater(after.share_of(BLACK, left + 2 * display.SHADOW, top + 2 * display.SHADOW,
                                          right - 2 * display.SHADOW, bottom - 2 * display.SHADOW), 0.5)
        self.assertEqual(self.standing(), standing)
        self.click((right - 28, bottom - display.SHADOW - 28))
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertEqual(self.standing(), standing)


if __name__ == "__main__":
    display.world.main()
