"""Bubbles whose best face is not visible: window managers that hide their window or move it elsewhere."""

import os

import bubbleworld
import display

RULES = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <applications><application title="Record converter">{rule}</application></applications>
</openbox_config>
"""
SAVED = "Your recording has been saved to your computer."


class RuledWindows(bubbleworld.BubbleWorld):
    """A window manager with a rule of its user's for the converter's windows."""

    with_tray = False
    rule = "<iconic>yes</iconic>"

    def start_window_manager(self):
        settings = os.path.join(self.root, "rc.xml")
        with open(settings, "w", encoding="utf-8") as file:
            file.write(RULES.format(rule=self.rule))
        self.start_program("openbox", "--sm-disable", "--config-file", settings)

    def check_becomes_a_notification(self, reason):
        server = self.line.play_notification_server()
        converter = self.converts("talk.mkv")
        self.wait_for(lambda: [said for said in server.shown if said.text == SAVED], 40, "the notification")
        self.wait_for(lambda: f"bubble shown as a desktop notification: {reason}" in self.log_text(), 20, "the log")
        self.assertNotIn("bubble shown as a window", self.log_text())
        self.assertEqual(self.bubbles(), [], "not both")
        server.close_all()
        self.assertEqual(self.wait_ended(converter, 20), 0)

    def check_is_seen_all_the_same(self, reason):
        """Without a notification server."""
        self.start_shown(("--name", "Event Tester"), "xev")
        window = self.windows("--name", "Event Tester")[0]
        self.ask("xdotool", "windowfocus", "--sync", window)
        converter = self.converts("talk.mkv")
        self.wait_for(lambda: "the window manager is left out: no notification server" in self.log_text(), 40,
                      "the log says what the user got")
        # While the earlier bubble is still there, this one is below it.
        self.wait_for(lambda: self.in_the_corner(self.wait_for_bubbles(1, bubbleworld.SAVED)[0]), 10,
                      f"the bubble is in the corner; {self.bubbles()}")
        bubble = self.wait_for_bubbles(1, bubbleworld.SAVED)[0]
        self.assertNotIn(reason, self.log_text().split("left out")[0])
        self.assertEqual(self.ask("xdotool", "getwindowfocus").strip(), window)
        self.click(bubble.open_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.check_quits_soon(converter)


class HidingWindowManager(RuledWindows):
    def test_a_hidden_bubble_becomes_a_notification(self):
        self.check_becomes_a_notification("the desktop hides the window")

    def test_without_a_notification_server_it_is_seen_all_the_same(self):
        self.check_is_seen_all_the_same("the desktop hides the window")


class CentringWindowManager(RuledWindows):
    rule = '<position force="yes"><x>center</x><y>center</y></position>'

    def test_a_bubble_put_elsewhere_becomes_a_notification(self):
        self.check_becomes_a_notification("the desktop puts the window elsewhere")

    def test_without_a_notification_server_it_stands_where_it_belongs(self):
        self.check_is_seen_all_the_same("the desktop puts the window elsewhere")


if __name__ == "__main__":
    display.world.main()
