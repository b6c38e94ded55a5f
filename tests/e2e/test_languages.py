"""The texts of bubbles in the client's language, for the eye and for screen readers."""

import os
import xml.etree.ElementTree

import accessible
import bubbleworld
import world

TABLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "resources", "translations")

# Indexed by the client's number.
CODES = ("en en zh-Hans zh-Hant ja ko fr fr de it es es_419 sv nl pt ru tr da fi pl").split()

SAVED = "Your recording has been saved to your computer."
FAILED = "We had a problem converting the recording to MP4 format."
OPEN = "Open"
FOLDER = "View in Folder"


def text_in(code, text):
    if code == "en":
        return text
    table = xml.etree.ElementTree.parse(os.path.join(TABLES, f"Localizable_{code}.ts"))
    return next(message.findtext("translation") for message in table.iter("message")
                if message.findtext("source") == text)


class Languages(world.World):
    def _check(self, numbers):
        server = self.line.play_notification_server()
        for number in numbers:
            code = CODES[number - 1]
            server.shown.clear()
            meeting = self.meeting()
            converter = self.launch("-pid", str(meeting.pid), "-locale", str(number))
            self.line.wait_confirmed(meeting.pid)
            for path in (self.recording(f"{number}.mkv"), self.path("missing.mkv")):
                self.line.started(meeting.pid, path)
                self.line.stopped(meeting.pid)
            self.line.quit(meeting.pid)
            self.wait_for(lambda: text_in(code, FAILED) in [said.text for said in server.shown], 40,
                          f"the failure in {code}; {server.shown}")
            saved = [said.buttons for said in server.shown if said.text == text_in(code, SAVED)]
            self.assertEqual(saved, [[text_in(code, OPEN), text_in(code, FOLDER)]], server.shown)
            server.close_all()
            self.assertEqual(self.wait_ended(converter), 0)

    def test_the_first_ten(self):
        self._check(range(1, 11))

    def test_the_last_ten(self):
        self._check(range(11, 21))


class ScreenReader(bubbleworld.BubbleWorld):
    """With the desktop's real accessibility services."""

    with_tray = False

    def setUp(self):
        super().setUp()
        self.start_program("/usr/libexec/at-spi-bus-launcher", "--launch-immediately")
        self.wait_for(lambda: self.line.has_owner("org.a11y.Bus"), 30, "the accessibility bus")
        self.reader = accessible.Reader(self.line.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress")[0])
        self.addCleanup(self.reader.close)
        self.environment["QT_LINUX_ACCESSIBILITY_ALWAYS_ON"] = "1"

    def test_reads_a_saved_bubble_in_german(self):
        meeting = self.meeting()
        self.launch("-pid", str(meeting.pid), "-path", self.recording(), "-locale", "9")
        self.line.wait_confirmed(meeting.pid)
        meeting.die()
        self.wait_for_bubbles(1, bubbleworld.SAVED)
        text = text_in("de", SAVED)
        tree = self.wait_for(lambda: [tree for tree in [self.reader.tree()] if ("label", text) in tree], 30,
                             f"the text is read; {self.reader.tree()}")[0]
        buttons = [name for role, name in tree if role in ("button", "push button")]
        self.assertEqual(sorted(buttons), sorted(text_in("de", title) for title in (OPEN, FOLDER, "Close")), tree)
        self.assertIn(("notification", text), tree, "the bubble as a whole")
        self.wait_for(lambda: ("notification", text) in self.reader.announced, 20,
                      f"its showing is announced; {self.reader.announced}")


if __name__ == "__main__":
    world.main()
