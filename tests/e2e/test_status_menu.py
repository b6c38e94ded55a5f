"""The status icon's menu: it names the recording under way and those that wait, and opens the folder of each."""

import contextlib

import bubbleworld
import display
import test_desktops


class _Waiting:
    """A conversion that waits for a writer, and one that waits for it."""

    @contextlib.contextmanager
    def two_recordings_wait(self):
        meeting = self.meeting()
        with open(self.recording("first.mkv"), "ab"):
            converter = self.launch_for(meeting)
            for name in ("first.mkv", "second.mkv"):
                self.line.started(meeting.pid, self.path("first.mkv") if name == "first.mkv" else self.recording(name))
                self.line.stopped(meeting.pid)
            self.line.quit(meeting.pid)
            self.wait_for(lambda: "the conversion waits" in self.log_text(), 20, "the conversion waits")
            yield
        self.terminate(converter)

    def right_click(self, place):
        x, y = (str(int(value)) for value in place)
        self.ask("xdotool", "mousemove", x, y, "click", "3")

    def check_the_last_entry_opens_its_folder(self):
        self.keep_picture()
        self.ask("xdotool", "key", "--delay", "100", "Up", "Return")
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual([address.rstrip("/") for address in self.opened()], [f"file://{self.folder}"])


class EmbeddedIconMenu(_Waiting, bubbleworld.BubbleWorld):
    def menus(self):
        """Menus are neither bubbles nor icons: they stand at the pointer."""
        return [rectangle for _, rectangle in self._own_windows()
                if rectangle.width > 64 and rectangle.overlaps(display.Rectangle(*self.pointer, 2, 2))]

    def tool_tips(self):
        return [rectangle for window, rectangle in self._own_windows()
                if "_NET_WM_WINDOW_TYPE_TOOLTIP" in self.ask("xprop", "-id", window, "_NET_WM_WINDOW_TYPE")]

    def test_a_tooltip_has_a_line_for_each_recording(self):
        """Title, the one that is converted, the one that waits; without them the title alone."""
        meeting = self.meeting()
        idle = self.launch_for(meeting)
        alone = self.hover()
        self.terminate(idle)
        with self.two_recordings_wait():
            three = self.hover()
        self.assertGreater(three.height, alone.height + 2 * 10, "two more lines")

    def hover(self):
        icon = self.wait_for(self.icon, 20, "the icon")
        self.ask("xdotool", "mousemove", "10", "700")
        for step in (6, 4):
            self.ask("xdotool", "mousemove", str(int(icon.middle) - step), str(int(icon.y + icon.height / 2)))
        tool_tip = self.wait_for(self.tool_tips, 20, "the tooltip")[0]
        self.keep_picture()
        return tool_tip

    def test_opens_the_folder_of_a_recording(self):
        with self.two_recordings_wait():
            icon = self.wait_for(self.icon, 20, "the icon")
            self.pointer = (icon.middle - 3, icon.y + icon.height / 2)
            self.right_click(self.pointer)
            self.wait_for(self.menus, 20, "the menu")
            self.check_the_last_entry_opens_its_folder()


class PanelIconMenu(_Waiting, test_desktops.PanelWithItems):
    def menus(self):
        """The menu belongs to the panel's plug-in; its own window in the panel is as high as the panel."""
        rectangles = [self.rectangle(window) for window in self.windows("--class", "wrapper-2.0")]
        return [rectangle for rectangle in rectangles if rectangle and rectangle.height > test_desktops.PANEL_HEIGHT + 9]

    def test_opens_the_folder_of_a_recording(self):
        before = self.panel_picture()
        with self.two_recordings_wait():
            self.wait_for(lambda: self.panel_picture() != before, 20, "the panel draws the icon")
            plugin = self.wait_for(lambda: self.windows("--class", "wrapper-2.0"), 20, "the panel's icons")[0]
            icon = self.rectangle(plugin)
            self.right_click((icon.middle, icon.y + icon.height / 2))
            self.wait_for(self.menus, 20, "the menu")
            self.check_the_last_entry_opens_its_folder()


if __name__ == "__main__":
    display.world.main()
