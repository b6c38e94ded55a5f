"""The outcome as a layer surface: on a Wayland compositor that has them, whether or not it has X11 as well."""

import display
import test_sway


class SwayWithLayerSurfaces(test_sway.SwayWorld):
    """The compositor draws in a window of an X display, whose pointer it takes for its own."""

    with_x11 = False
    has_layer_surfaces = True
    backend, output = "x11", "X11-1"
    # Of the only bubble, in the upper right corner.
    OPEN = display.WIDTH - 28, 73
    CLOSE = display.WIDTH - 20, 20

    def start_display(self):
        server = self.start_server()
        self.environment["DISPLAY"] = server
        self.outside = dict(self.environment)
        super().start_display()
        if self.environment["DISPLAY"] == server:
            del self.environment["DISPLAY"]

    def ask(self, *command):
        return super().ask(*command, environment=self.outside if command[0] == "xdotool" else None)

    def shows(self):
        converter = self.converts("a talk.mkv")
        self.wait_for(lambda: "bubble shown as a window in the corner" in self.log_text(), 40, "it is shown")
        return converter

    def test_the_bubble_stands_in_the_corner_without_the_keyboard(self):
        converter, changed = self.check_user_is_left_alone(self.shows)
        self.check_in_the_corner(changed)
        standing = self.standing()
        self.click(self.OPEN)
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/a%20talk.mp4"])
        self.assertEqual(self.standing(), standing)
        self.check_quits_soon(converter)

    def test_several_stand_below_each_other_and_close_up(self):
        self.work_in_a_window()
        before = self.wait_for_rest()
        converter = self.converts("one.mkv", "two.mkv")
        # How often the preparing bubble is seen depends on the machine; the results stay.
        self.wait_for(lambda: self.files() == ["one.mp4", "two.mp4"], 60, "both are converted")
        self.wait_for(lambda: self.log_text().count("bubble shown as a window") >= 2, 20, "both are shown")
        both = self.wait_for_rest().changed_since(before)
        self.keep_picture()
        self.assertGreater(both[3], 150, "one stands below the other")
        self.click(self.CLOSE)
        self.wait_for(lambda: (self.wait_for_rest().changed_since(before) or both)[3] < both[3] - 50, 20, "they close up")
        self.click(self.CLOSE)
        self.check_quits_soon(converter)


class SwayWithBoth(SwayWithLayerSurfaces):
    with_x11 = True

    def test_the_bubble_stands_in_the_corner_without_the_keyboard(self):
        _, changed = self.check_user_is_left_alone(self.shows)
        self.check_in_the_corner(changed)


if __name__ == "__main__":
    display.world.main()
