"""A virtual display with a window manager and a tray, with input and screenshots."""

import os
import re
import subprocess
import time

import pictures
import processes
import world

WIDTH, HEIGHT = 1280, 800

# The space that the bubble kit leaves around the bubble's body: for the shadow on every side, and for the arrow.
SHADOW = 12
ARROW = 10


class Rectangle:
    def __init__(self, x, y, width, height):
        self.x, self.y, self.width, self.height = x, y, width, height

    @property
    def right(self):
        return self.x + self.width

    @property
    def bottom(self):
        return self.y + self.height

    @property
    def middle(self):
        return self.x + self.width / 2

    def overlaps(self, other):
        return (self.x < other.right and other.x < self.right
                and self.y < other.bottom and other.y < self.bottom)

    def __repr__(self):
        return f"{self.width}x{self.height}+{self.x}+{self.y}"


class Bubble:
    """A bubble on the screen, as its window shows it."""

    def __init__(self, window, rectangle):
        self.window = window
        self.body = Rectangle(rectangle.x + SHADOW, rectangle.y + SHADOW + ARROW,
                              rectangle.width - 2 * SHADOW, rectangle.height - 2 * (SHADOW + ARROW))
        self.arrow_tip = rectangle.y + SHADOW

    # The positions of the buttons, relative to their corners.
    def open_button(self):
        return self.body.right - 20, self.body.bottom - 28

    def folder_button(self):
        return self.body.right - 120, self.body.bottom - 28

    def close_button(self):
        return self.body.right - 12, self.body.y + 12


class DisplayWorld(world.World):
    """A world that has a display. Without `with_tray` no tray takes the status icon at first."""

    with_tray = True
    tray_edge = "top"

    def setUp(self):
        super().setUp()
        # The environment of the desktop's own programs; a test may take the display away from the converter only.
        self.desktop = self.outside = self.environment
        self.start_display()

    def start_server(self):
        """Starts an X server without a screen, and returns its display's name."""
        self._server = self.start_program("Xvfb", "-displayfd", "1", "-screen", "0", f"{WIDTH}x{HEIGHT}x24",
                                          "-noreset", "-nolisten", "tcp", stdout=subprocess.PIPE)
        self.addCleanup(self._server.stdout.close)
        return ":" + self._server.stdout.readline().decode().strip()

    def start_display(self):
        self.environment["DISPLAY"] = self.start_server()
        self.start_window_manager()
        processes.wait_until(lambda: "window id" in self.ask("xprop", "-root", "_NET_SUPPORTING_WM_CHECK"), 30,
                             "the window manager")
        if self.with_tray:
            self.start_tray()

    def start_window_manager(self):
        self.start_program("openbox", "--sm-disable")

    def end_display(self):
        self._server.kill()
        self._server.wait()

    def start_tray(self):
        return self.start_shown(("--class", "trayer"), "trayer", "--edge", self.tray_edge, "--align", "right",
                                "--widthtype", "request", "--height", "28")

    def start_shown(self, criteria, *command):
        """Starts a program and waits for its window. Now and then a window never appears that is made while the window
        manager is coming up: then the program is started again."""
        for _ in range(6):
            program = self.start_program(*command)
            try:
                processes.wait_until(lambda: self.windows(*criteria), 8, "its window")
                return program
            except AssertionError:
                program.kill()
                program.wait()
        raise AssertionError(f"no window of {command[0]} appears")

    def start_program(self, *command, stdout=subprocess.DEVNULL):
        process = subprocess.Popen(command, env=self.desktop, stdin=subprocess.DEVNULL, stdout=stdout,
                                   stderr=subprocess.DEVNULL)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def ask(self, *command, environment=None):
        return subprocess.run(command, env=environment or self.desktop, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                              text=True, check=False).stdout

    def windows(self, *criteria):
        return self.ask("xdotool", "search", "--onlyvisible", *criteria).split()

    def rectangle(self, window):
        """Place and size of a window on the screen; None if it has disappeared."""
        text = self.ask("xwininfo", "-id", window)
        found = [re.search(rf"{key}:\s+(-?\d+)", text)
                 for key in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
        return Rectangle(*(int(match.group(1)) for match in found)) if all(found) else None

    def _own_windows(self):
        for window in self.windows("--class", "record-converter"):
            rectangle = self.rectangle(window)
            if rectangle:
                yield window, rectangle

    def bubbles(self):
        """The bubbles on the screen, from top to bottom."""
        found = [Bubble(window, rectangle) for window, rectangle in self._own_windows() if rectangle.width > 200]
        return sorted(found, key=lambda bubble: bubble.body.y)

    def icon(self):
        """The status icon's frame in the tray; None if it has none."""
        found = [rectangle for _, rectangle in self._own_windows() if 8 <= rectangle.width <= 64]
        return found[0] if found else None

    def wait_for_bubbles(self, count, height, seconds=30):
        """Waits for `count` bubbles of at least this height that do not move; returns them."""
        def at_rest():
            first = [bubble for bubble in self.bubbles() if bubble.body.height >= height]
            second = [bubble for bubble in self.bubbles() if bubble.body.height >= height]
            same = [str(bubble.body) for bubble in first] == [str(bubble.body) for bubble in second]
            return first if same and len(first) == count else None

        return self.wait_for(at_rest, seconds, f"{count} bubbles on the screen")

    def picture(self):
        """An image of the screen now."""
        pixels = subprocess.run(["import", "-silent", "-window", "root", "-depth", "8", "rgb:-"], env=self.outside,
                                stdout=subprocess.PIPE, check=True).stdout
        return pictures.Picture(WIDTH, pixels)

    def take_picture(self, path):
        self.ask("import", "-silent", "-window", "root", path)

    def keep_picture(self):
        """Saves the image for inspection, in the folder that RECORD_CONVERTER_PICTURES names."""
        folder = os.environ.get("RECORD_CONVERTER_PICTURES")
        if folder:
            self.take_picture(os.path.join(folder, self.id().removeprefix("__main__.") + ".png"))

    def wait_for_rest(self):
        """Two identical images of the screen, a moment apart; returns the later one."""
        last = self.picture()
        while True:
            time.sleep(0.5)
            now = self.picture()
            if now.changed_since(last) is None:
                return now
            last = now

    def click(self, place):
        x, y = (str(int(value)) for value in place)
        self.ask("xdotool", "mousemove", x, y)
        self.ask("xdotool", "click", "1")
