"""The outcome is seen under real window managers on X11: on the screen's own picture, on top, whole, and beside the
window that the user works in, which keeps its place and the keyboard."""

import display
import test_bubbles
import test_desktops

BLACK = (0, 0, 0)


class _WindowManager(test_bubbles.BubbleWorld):
    with_tray = False

    def work_in_a_window(self):
        """Opens a window as large as half the screen below the bubble's place, and gives it the keyboard."""
        size, place = f"{display.WIDTH // 2}x{display.HEIGHT // 2}", f"+{display.WIDTH // 2 - 40}+60"
        self.start_shown(("--name", "Event Tester"), "xev", "-geometry", size + place)
        window = self.windows("--name", "Event Tester")[0]
        self.ask("xdotool", "windowactivate", "--sync", window)
        self.wait_for(lambda: self.focus() == window, 20, "it has the keyboard")
        return window

    def wait_for_icon(self):
        """Here nobody takes the status icon."""

    def focus(self):
        return self.ask("xdotool", "getwindowfocus").strip()

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

    def check_the_outcome_is_seen(self):
        self.ask("xsetroot", "-solid", "#406080")
        window = self.work_in_a_window()
        place = str(self.rectangle(window))
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.recording())
        self.wait_for_icon()
        before = self.wait_for_rest()
        meeting.die()
        bubble = self.wait_for_bubbles(1, test_bubbles.SAVED)[0]
        self.check_is_on_the_screen(bubble, before)
        self.assertIn("bubble shown as a window", self.log_text())
        self.assertEqual(self.focus(), window, "the user's window keeps the keyboard")
        self.assertEqual(str(self.rectangle(window)), place)
        self.assertNotIn("DEMANDS_ATTENTION", self.ask("xprop", "-id", bubble.window, "_NET_WM_STATE"))
        self.click(bubble.open_button())
        self.wait_for(self.opened, 10, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.focus(), window, "a click on a button leaves the keyboard where it is")
        self.check_quits_soon(converter)
        return bubble


class KWin(_WindowManager):
    """The window manager of a large desktop, which hides the tools of inactive applications."""

    def start_window_manager(self):
        self.environment["KWIN_COMPOSE"] = "N"
        self.start_program("kwin_x11")

    def test_the_outcome_is_seen(self):
        bubble = self.check_the_outcome_is_seen()
        self.assertTrue(self.in_the_corner(bubble), bubble.body)

    def test_a_failure_is_seen(self):
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


class Xfwm(test_desktops.PanelWithItems, _WindowManager):
    """The window manager of a light desktop, with the panel of the same."""

    def start_window_manager(self):
        self.start_program("xfwm4", "--compositor=off")

    def wait_for_icon(self):
        self.wait_for(self.items, 20, "the item is registered")

    def test_the_outcome_is_seen(self):
        self.check_in_the_corner_below_the_panel(self.check_the_outcome_is_seen())


if __name__ == "__main__":
    display.world.main()
