"""The same bubbles on different desktops: a panel that keeps its icons over the bus, and desktops where no window can be
placed, so that a notification server shows what there is to say."""

import glob
import os
import subprocess
import time

import bubbleworld
import display

PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="systray"/>
  </property>
</channel>
"""
PANEL_HEIGHT = 28

# What is chosen from the list of actions that the notification server offers.
CHOOSER = """#!/bin/sh
grep -m 1 -F '{title}'
"""

SETTINGS = """[global]
monitor = 0
mouse_left_click = do_action, close_current
dmenu = {chooser}
[all]
script = {teller}
"""

# Is run for each notification that is displayed: application, summary, body, icon, urgency.
TELLER = """#!/bin/sh
printf '%s\\n' "$2" >>'{told}'
"""

SAVED = "Your recording has been saved to your computer."
FAILED = "We had a problem converting the recording to MP4 format."


class PanelWithItems(bubbleworld.BubbleWorld):
    """A panel with a real watcher and host of status notifier items; where it draws them it tells nobody."""

    with_tray = False

    def setUp(self):
        super().setUp()
        settings = os.path.join(self.environment["XDG_CONFIG_HOME"], "xfce4", "xfconf", "xfce-perchannel-xml")
        os.makedirs(settings)
        with open(os.path.join(settings, "xfce4-panel.xml"), "w", encoding="utf-8") as file:
            file.write(PANEL)
        # Nothing is started by its name on this bus: the panel's settings service is, here.
        self.start_program(glob.glob("/usr/lib/*/xfce4/xfconf/xfconfd")[0])
        self.wait_for(lambda: self.line.has_owner("org.xfce.Xfconf"), 30, "the panel's settings")
        self.environment["NO_AT_BRIDGE"] = "1"
        self.start_program("xfce4-panel", "--disable-wm-check")
        self.wait_for(lambda: self.line.property("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                                 "IsStatusNotifierHostRegistered"), 60, "the panel takes items")

    def items(self):
        return self.line.property("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                  "RegisteredStatusNotifierItems")

    def panel_picture(self):
        return subprocess.run(["import", "-silent", "-window", "root", "-crop",
                               f"{display.WIDTH}x{PANEL_HEIGHT}+0+0", "rgb:-"],
                              env=self.desktop, stdout=subprocess.PIPE, check=True).stdout

    def check_in_the_corner_below_the_panel(self, bubble):
        self.assertGreater(bubble.body.x, display.WIDTH * 2 / 3)
        self.assertLessEqual(bubble.body.right, display.WIDTH)
        self.assertGreaterEqual(bubble.body.y, PANEL_HEIGHT)
        self.assertLess(bubble.body.y, display.HEIGHT / 4)

    def test_the_panel_draws_the_icon(self):
        before = self.panel_picture()
        self.launch_for(self.meeting())
        self.wait_for(self.items, 20, "the item is registered")
        self.wait_for(lambda: self.panel_picture() != before, 20, "the panel draws it")
        self.assertIsNone(self.icon(), "there is not a second, embedded one")

    def test_a_saved_recording_reaches_the_user(self):
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, bubbleworld.SAVED)[0]
        self.check_in_the_corner_below_the_panel(bubble)
        self.click(bubble.open_button())
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.check_quits_soon(converter)

    def test_a_failed_recording_reaches_the_user(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        bubble = self.wait_for_failure()
        self.check_in_the_corner_below_the_panel(bubble)
        self.assertIn("the position of the status icon is unknown", self.log_text())
        self.click(bubble.close_button())
        self.check_quits_soon(converter)


class NotificationServer(bubbleworld.BubbleWorld):
    """A real notification server on a display of its own, which the converter does not see."""

    with_tray = False

    def setUp(self):
        super().setUp()
        self.chooser, self.told, teller = (os.path.join(self.root, name) for name in ("chooser", "told", "teller"))
        settings = os.path.join(self.root, "dunstrc")
        with open(settings, "w", encoding="utf-8") as file:
            file.write(SETTINGS.format(chooser=self.chooser, teller=teller))
        self.write_program(teller, TELLER.format(told=self.told))
        self.choose("nothing")
        self.start_program("dunst", "-conf", settings)
        self.wait_for(lambda: self.line.has_owner("org.freedesktop.Notifications"), 30, "the notification server")
        self.environment = {key: value for key, value in self.environment.items() if key != "DISPLAY"}

    def write_program(self, path, text):
        with open(path, "w", encoding="utf-8") as script:
            script.write(text)
        os.chmod(path, 0o755)

    def choose(self, title):
        self.write_program(self.chooser, CHOOSER.format(title=title))

    def said(self):
        """The texts of all notifications so far."""
        if not os.path.exists(self.told):
            return []
        with open(self.told, encoding="utf-8") as file:
            return file.read().splitlines()

    def displayed(self):
        return self.ask("dunstctl", "count", "displayed").strip()

    def wait_displayed(self, text):
        """Waits until the notification that says this is the only one on the screen; where it stands."""
        self.wait_for(lambda: text in "".join(self.said()[-1:]) and self.displayed() == "1", 40, text)
        self.wait_for(lambda: "bubble shown as a desktop notification: no window can be placed here" in self.log_text(),
                      20, "the log says so")
        return self.rectangle(self.wait_for(lambda: self.windows("--class", "dunst"), 20, "it is on the screen")[0])

    def check_quits(self, converter):
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertEqual(self.displayed(), "0")

    def check_a_press_opens_the_file(self):
        converter = self.converts("talk.mkv")
        notification = self.wait_displayed(SAVED)
        self.click((notification.middle, notification.y + notification.height / 2))
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.check_quits(converter)

    def check_a_failure_is_told(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        self.wait_displayed(FAILED)
        self.ask("dunstctl", "close")
        self.check_quits(converter)
        self.assertEqual(self.opened(), [])


class NoDisplay(NotificationServer):
    def test_a_press_on_the_notification_opens_the_file(self):
        self.check_a_press_opens_the_file()

    def test_a_failed_recording_reaches_the_user(self):
        self.check_a_failure_is_told()

    def test_view_in_folder_opens_the_folder(self):
        self.choose("View in Folder")
        converter = self.converts("talk.mkv")
        self.wait_displayed(SAVED)
        asked = []

        def opened():
            # The server offers its menu for what it shows in that moment; a slow one is asked again.
            if len(asked) * 5 <= time.monotonic() - begun:
                asked.append(self.ask("dunstctl", "context"))
            return self.opened()

        begun = time.monotonic()
        self.wait_for(opened, 30, "xdg-open runs")
        self.assertEqual(self.opened()[0].rstrip("/"), f"file://{self.folder}")
        self.check_quits(converter)

    def test_nobody_answers_and_the_application_quits(self):
        converter = self.converts("talk.mkv")
        self.wait_displayed(SAVED)
        self.assertEqual(self.wait_ended(converter, 60), 0)
        self.assertEqual(self.opened(), [])


class OnlyWayland(NotificationServer):
    """A Wayland compositor, which lets no program say where its windows go, and no X server beside it."""

    def setUp(self):
        super().setUp()
        self.start_program("weston", "--backend=headless-backend.so", "--socket=wayland-test", "--idle-time=0")
        self.wait_for(lambda: os.path.exists(os.path.join(self.environment["XDG_RUNTIME_DIR"], "wayland-test")), 30,
                      "the compositor")
        self.environment["WAYLAND_DISPLAY"] = "wayland-test"

    def test_a_press_on_the_notification_opens_the_file(self):
        self.check_a_press_opens_the_file()
        self.assertNotIn("off-screen", self.log_text())

    def test_a_failed_recording_reaches_the_user(self):
        self.check_a_failure_is_told()


if __name__ == "__main__":
    display.world.main()
