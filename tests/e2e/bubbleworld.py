"""Tests of bubbles on a real display begin here: what a bubble looks like, and what the desktop is asked to open."""

import os
import time

import display

# A saved bubble has a row of buttons, which gives it at least this height.
SAVED = 80
PLAIN = 40

OPENER = """#!/bin/sh
printf '%s\\n' "$@" >>"{log}"
"""


class BubbleWorld(display.DisplayWorld):
    def setUp(self):
        super().setUp()
        # What the desktop is asked to open is written down, and nothing is opened.
        programs = os.path.join(self.root, "programs")
        os.mkdir(programs)
        self.opened_log = os.path.join(self.root, "opened")
        with open(os.path.join(programs, "xdg-open"), "w", encoding="utf-8") as script:
            script.write(OPENER.format(log=self.opened_log))
        os.chmod(os.path.join(programs, "xdg-open"), 0o755)
        self.environment["PATH"] = programs + ":" + self.environment["PATH"]

    def opened(self):
        if not os.path.exists(self.opened_log):
            return []
        with open(self.opened_log, encoding="utf-8") as file:
            return file.read().splitlines()

    def leave_layer_surfaces_out(self):
        """The converter comes without the library for them, as where it can't be built."""
        library = os.path.join("lib", "liblayersurfaces.so")
        if os.path.exists(os.path.join(self.application, library)):
            os.remove(os.path.join(self.own_application_folder(), library))

    def converts(self, *names):
        meeting = self.meeting()
        converter = self.launch_for(meeting)
        for name in names:
            self.line.started(meeting.pid, self.recording(name))
            self.line.stopped(meeting.pid)
        self.line.quit(meeting.pid)
        return converter

    def wait_for_failure(self):
        return self.wait_for_second(PLAIN, lambda: "convert error" in self.log_text())

    def wait_for_second(self, height, is_known):
        """The outcome's bubble, which comes once the outcome is known; the being-prepared one that it follows may go
        before anybody has seen it."""
        self.wait_for(is_known, 30, "the outcome")
        seen = self.log_text().split("convert error")[0].count("bubble shown as a window")
        self.wait_for(lambda: self.log_text().count("bubble shown as a window") > seen, 30, "its bubble")
        return self.wait_for_bubbles(1, height)[0]

    def check_quits_soon(self, converter):
        """Within three seconds after the last bubble has closed."""
        self.wait_for(lambda: not self.bubbles(), 10, "the bubble has closed")
        begun = time.monotonic()
        self.assertEqual(self.wait_ended(converter, 10), 0)
        self.assertLess(time.monotonic() - begun, 3.0)

    def check_below(self, bubble, icon):
        self.assertLessEqual(abs(bubble.arrow_tip - icon.bottom), 8, "the arrow's tip stands at the icon's lower edge")
        self.assertLess(bubble.body.x, icon.middle)
        self.assertGreater(bubble.body.right, icon.x)
        self.assertGreaterEqual(bubble.body.x, 0)
        self.assertLessEqual(bubble.body.right, display.WIDTH, "the bubble stays on the screen")

    def in_the_corner(self, bubble):
        return bubble.body.x > display.WIDTH * 2 / 3 and bubble.body.y < display.SHADOW + 2 * display.ARROW
