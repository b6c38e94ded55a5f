"""The outcome is seen under real window managers on X11: on the screen's own picture, on top, whole, and beside the
window that the user works in, which keeps its place and the keyboard."""

import glob
import os
import shutil

import bubbleworld
import display
import test_desktops

BLACK = (0, 0, 0)


class WindowManagerWorld(bubbleworld.BubbleWorld):
    with_tray = False
    # Of the user's window, which covers half of the screen and the bubble's place.
    window_place = f"+{display.WIDTH // 2 - 40}+60"

    def work_in_a_window(self):
        """Opens the user's window and gives it the keyboard."""
        size = f"{display.WIDTH // 2}x{display.HEIGHT // 2}"
        self.start_shown(("--name", "Event Tester"), "xev", "-geometry", size + self.window_place)
        window = self.windows("--name", "Event Tester")[0]
        self.ask("xdotool", "windowactivate", "--sync", window)
        self.wait_for(lambda: self.standing() == [window, str(self.rectangle(window))], 20, "it has the keyboard")

    def wait_for_icon(self):
        """Here nobody takes the status icon."""

    def standing(self):
        """The window that has the keyboard, and the place of the user's window."""
        window = (self.windows("--name", "Event Tester") or [None])[0]
        return [self.ask("xdotool", "getwindowfocus").strip(), window and str(self.rectangle(window))]

    def check_is_on_the_screen(self, bubble, before):
        body = bubble.body
        after = self.wait_for_rest()
        self.keep_picture()
        left, top, right, bottom = after.changed_since(before)
        self.assertLessEqual((left, top), (body.x, body.y), "the body is there as a whole")
        self.assertGreaterEqual((right, bottom), (body.right, body.bottom))
        self.assertLessEqual(right - left, body.width + 2 * display.SHADOW, "and nothing else has changed")
        self.assertLessEqual(bottom - top, body.height + 2 * (display.SHADOW + display.ARROW))
        self.assertGreater(after.share_of(BLACK, body.x + 2, body.y + 2, body.right - 2, body.bottom - 2), 0.5)

    def check_does_not_press(self, bubble):
        """The desktop asks nobody to attend to the bubble."""
        self.assertNotIn("DEMANDS_ATTENTION", self.ask("xprop", "-id", bubble.window, "_NET_WM_STATE"))

    def check_the_outcome_is_seen(self):
        self.ask("xsetroot", "-solid", "#406080")
        self.work_in_a_window()
        standing = self.standing()
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.recording())
        self.wait_for_icon()
        before = self.wait_for_rest()
        meeting.die()
        bubble = self.wait_for_bubbles(1, bubbleworld.SAVED)[0]
        self.check_is_on_the_screen(bubble, before)
        self.assertIn("bubble shown as a window", self.log_text())
        self.assertEqual(self.standing(), standing, "the user's window keeps its place and the keyboard")
        self.check_does_not_press(bubble)
        self.click(bubble.open_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.standing(), standing, "a click on a button leaves the keyboard where it is")
        self.check_quits_soon(converter)
        return bubble


class _KWin(WindowManagerWorld):
    def check_the_outcome_is_seen_in_the_corner(self):
        bubble = self.check_the_outcome_is_seen()
        self.assertTrue(self.in_the_corner(bubble), bubble.body)

    def check_a_failure_is_seen(self):
        self.ask("xsetroot", "-solid", "#406080")
        self.work_in_a_window()
        before = self.wait_for_rest()
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        bubble = self.wait_for_failure()
        self.check_is_on_the_screen(bubble, before)
        self.click(bubble.close_button())
        self.check_quits_soon(converter)


class KWin(_KWin):
    """The window manager of a large desktop, which hides the tools of inactive applications."""

    def start_window_manager(self):
        self.environment["KWIN_COMPOSE"] = "N"
        self.start_program("kwin_x11")

    def test_the_outcome_is_seen(self):
        self.check_the_outcome_is_seen_in_the_corner()

    def test_a_failure_is_seen(self):
        self.check_a_failure_is_seen()


class KWinOnWayland(_KWin):
    """The same as a Wayland compositor, in a window of the display that the test looks at and points on. Our windows
    and the user's come through Xwayland."""

    has_layer_surfaces = False

    def start_window_manager(self):
        if not self.has_layer_surfaces:
            self.leave_layer_surfaces_out()
        self.outside = dict(self.environment)
        # The installed program has a capability that a container refuses; a copy has none. It runs under no other name.
        compositor, told = (os.path.join(self.root, name) for name in ("kwin_wayland", "kwin.environment"))
        shutil.copyfile(shutil.which("kwin_wayland"), compositor)
        os.chmod(compositor, 0o755)
        teller = os.path.join(self.root, "tell-environment")
        with open(teller, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\nenv >'{told}.new' && mv '{told}.new' '{told}'\n")
        os.chmod(teller, 0o755)
        self.environment["KWIN_COMPOSE"] = "Q"
        self.start_program(compositor, "--x11-display", self.outside["DISPLAY"], "--width", str(display.WIDTH),
                           "--height", str(display.HEIGHT), "--xwayland", "--no-lockscreen", "--no-global-shortcuts",
                           "--socket", f"record-converter-{os.getpid()}", teller)
        self.wait_for(lambda: os.path.exists(told), 30, "the compositor")
        with open(told, encoding="utf-8") as file:
            inside = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
        for key in ("WAYLAND_DISPLAY", "DISPLAY"):
            self.environment[key] = inside[key]
        self.assertNotEqual(self.environment["DISPLAY"], self.outside["DISPLAY"])

    def ask(self, *command):
        looks = command[0] == "import" or command[:2] in (("xdotool", "mousemove"), ("xdotool", "click"))
        return super().ask(*command, environment=self.outside if looks else None)

    def test_the_outcome_is_seen(self):
        self.check_the_outcome_is_seen_in_the_corner()

    def test_a_failure_is_seen(self):
        self.check_a_failure_is_seen()



class Xfce(test_desktops.PanelWithItems, WindowManagerWorld):
    """A light desktop: window manager, panel and notification server."""

    def setUp(self):
        super().setUp()
        self.start_program(glob.glob("/usr/lib/*/xfce4/notifyd/xfce4-notifyd")[0])
        self.wait_for(lambda: self.line.has_owner("org.freedesktop.Notifications"), 30, "the notification server")

    def start_window_manager(self):
        self.start_program("xfwm4", "--compositor=off")

    def wait_for_icon(self):
        self.wait_for(self.items, 20, "the item is registered")

    def notification(self):
        """The rectangle of the only notification on the screen; None if there are others, or none."""
        windows = self.windows("--class", "xfce4-notifyd")
        return self.rectangle(windows[0]) if len(windows) == 1 else None

    def test_the_outcome_is_seen(self):
        self.check_in_the_corner_below_the_panel(self.check_the_outcome_is_seen())
        self.assertIsNone(self.notification(), "not both")

    def test_where_no_window_can_be_placed_the_notification_server_shows_it(self):
        self.work_in_a_window()
        standing, before = self.standing(), self.wait_for_rest()
        self.environment = {key: value for key, value in self.environment.items() if key != "DISPLAY"}
        converter = self.converts("talk.mkv")
        # How often the preparing notification is shown depends on the machine.
        self.wait_for(lambda: self.files() == ["talk.mp4"], 40, "it is converted")
        self.wait_for(lambda: "bubble shown as a desktop notification" in self.log_text(), 20, "it is told")
        self.wait_for(self.notification, 20, "the earlier one has gone")
        after, place = self.wait_for_rest(), self.notification()
        self.keep_picture()
        panel = 0, test_desktops.PANEL_HEIGHT
        left, top, right, bottom = after.without_rows(*panel).changed_since(before.without_rows(*panel))
        self.assertGreater(left, display.WIDTH / 2)
        self.assertLess(bottom, display.HEIGHT / 3)
        self.assertLessEqual(abs(place.right - right), 2, "whole and above the window")
        self.assertLessEqual(abs(place.y - top), 2)
        self.assertEqual(self.standing(), standing)
        # This server makes a button of every action that has a title, from right to left.
        self.click((place.right - 180, place.bottom - 30))
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertEqual(self.standing(), standing)


if __name__ == "__main__":
    display.world.main()
