"""Bubbles on a real display: their positions, the effect of their buttons, and when the application quits."""

import os
import time

import bubbleworld
import desktop
import display
import recordings
import trace
from bubbleworld import PLAIN, SAVED


BLACK = (0, 0, 0)


class Bubbles(bubbleworld.BubbleWorld):
    def test_stands_below_the_icon(self):
        self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.check_below(bubble, self.icon())

    def test_the_arrow_is_drawn_between_icon_and_body(self):
        """Under the icon the arrow is as black as the body; beside it the desktop shows."""
        self.ask("xsetroot", "-solid", "#c06020")
        self.converts("talk.mkv")
        bubble, icon = self.wait_for_bubbles(1, SAVED)[0], self.icon()
        picture, top = self.wait_for_rest(), bubble.body.y - 4
        self.assertEqual(picture.share_of(BLACK, icon.middle - 3, top, icon.middle - 1, top + 2), 1)
        beside = bubble.body.x + bubble.body.width / 2
        self.assertEqual(picture.share_of(BLACK, beside, top, beside + 4, top + 2), 0)

    def test_a_failure_stands_below_the_icon_too(self):
        meeting = self.meeting()
        self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        bubble = self.wait_for_failure()
        self.check_below(bubble, self.icon())

    def test_takes_no_focus(self):
        self.start_shown(("--name", "Event Tester"), "xev")
        window = self.windows("--name", "Event Tester")[0]
        self.ask("xdotool", "windowfocus", "--sync", window)
        self.wait_for(lambda: self.ask("xdotool", "getwindowfocus").strip() == window, 10, "it has the focus")
        self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.assertEqual(self.ask("xdotool", "getwindowfocus").strip(), window)
        self.click(bubble.close_button())
        self.wait_for(lambda: not self.bubbles(), 10, "the bubble has closed")
        self.assertEqual(self.ask("xdotool", "getwindowfocus").strip(), window)

    def test_open_opens_the_file_and_closes(self):
        converter = self.converts("a talk.mkv")
        self.click(self.wait_for_bubbles(1, SAVED)[0].open_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/a%20talk.mp4"])
        self.check_quits_soon(converter)

    def test_view_in_folder_opens_the_folder_and_closes(self):
        converter = self.converts("talk.mkv")
        self.click(self.wait_for_bubbles(1, SAVED)[0].folder_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened()[0].rstrip("/"), f"file://{self.folder}")
        self.check_quits_soon(converter)

    def test_view_in_folder_selects_the_file_where_a_file_manager_can(self):
        manager = desktop.FileManager(self.bus.address)
        self.addCleanup(manager.close)
        converter = self.converts("a talk.mkv")
        self.click(self.wait_for_bubbles(1, SAVED)[0].folder_button())
        self.line.wait(lambda: manager.calls, 10, "the file manager is asked")
        self.assertEqual(manager.calls[0][0], [f"file://{self.folder}/a%20talk.mp4"])
        self.check_quits_soon(converter)
        self.assertEqual(self.opened(), [])

    def test_the_close_button_closes(self):
        converter = self.converts("talk.mkv")
        self.click(self.wait_for_bubbles(1, SAVED)[0].close_button())
        self.check_quits_soon(converter)
        self.assertEqual(self.opened(), [])

    def test_fades_after_its_time_and_the_application_quits(self):
        converter = self.converts("talk.mkv")
        self.wait_for_bubbles(1, SAVED)
        begun = time.monotonic()
        self.wait_for(lambda: not self.bubbles(), 40, "the bubble fades")
        self.assertGreater(time.monotonic() - begun, 12.0)
        self.check_quits_soon(converter)

    def test_several_stand_beside_each_other(self):
        converter = self.converts("one.mkv", "two.mkv", "three.mkv")
        bubbles = self.wait_for_bubbles(3, SAVED)
        for index, bubble in enumerate(bubbles):
            for other in bubbles[index + 1:]:
                self.assertFalse(bubble.body.overlaps(other.body), bubbles)
        for count in (2, 1, 0):
            self.click(self.bubbles()[-1].close_button())
            self.wait_for(lambda left=count: len(self.bubbles()) == left, 10, f"{count} are left")
        self.check_quits_soon(converter)

    def test_with_the_session_of_a_desktop(self):
        self.environment.update({"XDG_CURRENT_DESKTOP": "XFCE", "XDG_SESSION_TYPE": "x11", "DESKTOP_SESSION": "xfce"})
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.check_below(bubble, self.icon())
        self.click(bubble.open_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.check_quits_soon(converter)

    def test_stays_while_the_keyboard_is_in_it_until_escape(self):
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.click((bubble.body.x + 40, bubble.body.bottom - 8))
        self.wait_for(lambda: self.ask("xdotool", "getwindowfocus").strip() == bubble.window, 20, "it has the keyboard")
        self.ask("xdotool", "mousemove", "10", str(display.HEIGHT - 10))
        time.sleep(20)
        self.assertEqual(len(self.bubbles()), 1, "it stays longer than its fifteen seconds")
        self.ask("xdotool", "key", "Escape")
        self.check_quits_soon(converter)

    def test_pressing_the_icon_gives_it_the_keyboard(self):
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        icon = self.icon()
        self.click((icon.middle, icon.y + icon.height / 2))
        self.wait_for(lambda: self.ask("xdotool", "getwindowfocus").strip() == bubble.window, 20, "it has the keyboard")
        # In the order of the buttons; the first one has the focus.
        self.ask("xdotool", "key", "Tab", "Return")
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened()[0].rstrip("/"), f"file://{self.folder}", "the second button")
        self.check_quits_soon(converter)

    def test_without_any_font_it_is_shown_all_the_same(self):
        fonts = os.path.join(self.root, "fonts.conf")
        with open(fonts, "w", encoding="utf-8") as file:
            file.write("<fontconfig></fontconfig>")
        self.environment = {**self.environment, "FONTCONFIG_FILE": fonts}
        converter = self.converts("talk.mkv")
        # Drawn without letters, the bubble before it is as high.
        self.click(self.wait_for_second(SAVED, lambda: self.files() == ["talk.mp4"]).close_button())
        self.check_quits_soon(converter)
        self.assertEqual(self.files(), ["talk.mp4"])

    def test_the_log_says_how_each_bubble_was_shown(self):
        self.converts("one.mkv", "two.mkv")
        self.wait_for_bubbles(2, SAVED)
        # The log waits until the window manager has been seen to show the window.
        self.wait_for(lambda: self.log_text().count("bubble shown as a window at the status icon") >= 2, 10,
                      f"the log names both; {self.log_text()}")


class LessMotion(bubbleworld.BubbleWorld):
    """On a desktop that can fade windows."""

    def setUp(self):
        super().setUp()
        self.start_program("picom", "--backend", "xrender", "--config", "/dev/null")
        self.wait_for(lambda: "window id" in self.ask("xprop", "-root", "_NET_WM_CM_S0")
                      or self._is_composited(), 30, "the compositor")

    def _is_composited(self):
        return self.ask("xdotool", "search", "--name", "picom").strip() != ""

    def opacity(self, bubble):
        return self.ask("xprop", "-id", bubble.window, "_NET_WM_WINDOW_OPACITY")

    def test_a_bubble_fades_in(self):
        self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.wait_for(lambda: "= 4294967295" in self.opacity(bubble), 20, f"it has faded in; {self.opacity(bubble)}")

    def test_asked_for_no_window_is_ever_translucent(self):
        self.line.play_settings({("org.freedesktop.appearance", "reduced-motion"): 1})
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.assertNotIn("=", self.opacity(bubble))
        self.click(bubble.close_button())
        self.check_quits_soon(converter)


class BeingPrepared(bubbleworld.BubbleWorld, trace.TracedWorld):
    def test_its_close_button_does_nothing(self):
        self.install_inside()
        meeting = self.meeting()
        slow = recordings.make_slow(self.path("slow.avi"))
        self.launch_for(meeting, slow)
        meeting.die()
        prepared = self.wait_for_bubbles(1, PLAIN)[0]
        self.assertLess(prepared.body.height, SAVED)
        self.click(prepared.close_button())
        self.wait_for(lambda: self.trace.holds("bubble closed by user"), 10, "the press has been dealt with")
        self.assertEqual([bubble.window for bubble in self.bubbles()], [prepared.window])
        self.assertTrue(os.path.exists(slow), "the conversion is still under way")


class NoTray(bubbleworld.BubbleWorld):
    with_tray = False

    def test_stands_in_the_corner(self):
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        self.assertTrue(self.in_the_corner(bubble), bubble.body)
        self.assertLessEqual(bubble.body.right, display.WIDTH)
        self.wait_for(lambda: "in the corner of the screen: the position of the status icon is unknown"
                      in self.log_text(), 10, "the log says where")
        self.click(bubble.close_button())
        self.check_quits_soon(converter)

    def test_a_failed_recording_reaches_the_user(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("missing.mkv"))
        meeting.die()
        self.click(self.wait_for_failure().close_button())
        self.check_quits_soon(converter)

    def test_follows_a_tray_that_comes_and_goes(self):
        # Under a screen saver its time pauses for as long as this takes.
        self.line.play_screen_saver()
        self.converts("talk.mkv")
        self.wait_for_bubbles(1, SAVED)
        tray = self.start_tray()
        icon = self.wait_for(self.icon, 30, "the tray takes the icon")
        self.wait_for(lambda: abs(self.wait_for_bubbles(1, SAVED)[0].arrow_tip - self.icon().bottom) <= 8, 20,
                      "the bubble hangs below it")
        self.check_below(self.wait_for_bubbles(1, SAVED)[0], icon)
        tray.kill()
        self.wait_for(lambda: self.in_the_corner(self.wait_for_bubbles(1, SAVED)[0]), 20, "the bubble goes back")


class TrayAtTheBottom(bubbleworld.BubbleWorld):
    tray_edge = "bottom"

    def test_the_bubble_opens_upward(self):
        converter = self.converts("talk.mkv")
        bubble = self.wait_for_bubbles(1, SAVED)[0]
        icon = self.icon()
        self.assertLessEqual(abs(bubble.body.bottom + display.ARROW - icon.y), 8, "the arrow's tip stands on the icon")
        self.assertLess(bubble.body.x, icon.middle)
        self.assertLessEqual(bubble.body.right, display.WIDTH)
        self.click(bubble.close_button())
        self.check_quits_soon(converter)


if __name__ == "__main__":
    display.world.main()
