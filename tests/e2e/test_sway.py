"""The outcome on a tiling Wayland compositor, which centres X11 windows and tiles its own, and gives either the keyboard:
with and without X11, with and without a notification server."""

import json
import os
import subprocess

import bubbleworld
import display
import pictures

SETTINGS = """xwayland {xwayland}
output {output} resolution {width}x{height} bg #406080 solid_color
seat seat0 hide_cursor 100
exec sh -c 'env >{environment}.new && mv {environment}.new {environment}'
"""
# A display for which there is no bubble to see has nothing that a click could reach either.
SERVER = """[global]
origin = top-right
offset = 8x8
"""
SAVED = "Your recording has been saved to your computer."


class SwayWorld(bubbleworld.BubbleWorld):
    """Without a screen: the compositor draws into memory."""

    with_tray = False
    with_x11 = True
    has_layer_surfaces = False
    backend, output = "headless", "HEADLESS-1"

    def start_display(self):
        if not self.has_layer_surfaces:
            self.leave_layer_surfaces_out()
        settings, environment = (os.path.join(self.root, name) for name in ("sway", "sway.environment"))
        with open(settings, "w", encoding="utf-8") as file:
            file.write(SETTINGS.format(xwayland="enable" if self.with_x11 else "disable", output=self.output,
                                       width=display.WIDTH, height=display.HEIGHT, environment=environment))
        self.environment.update({"WLR_BACKENDS": self.backend, "WLR_LIBINPUT_NO_DEVICES": "1", "WLR_RENDERER": "pixman"})
        # It refuses to run as root, and is content with a name space where it is called something else. Newer X servers
        # want a user that has a name.
        other = ["unshare", "--user", "--map-user=1", "--map-group=1"] if os.geteuid() == 0 else []
        self.start_program(*other, "sway", "-c", settings)
        self.wait_for(lambda: os.path.exists(environment), 30, "the compositor")
        with open(environment, encoding="utf-8") as file:
            told = dict(line.rstrip("\n").split("=", 1) for line in file if "=" in line)
        for key in ("WAYLAND_DISPLAY", "SWAYSOCK", "DISPLAY"):
            if key in told:
                self.environment[key] = told[key]

    def work_in_a_window(self):
        self.start_program("foot", "-e", "sleep", "1000")
        self.wait_for(lambda: [view for view in self.views() if view["focused"]], 20, "a window with the keyboard")

    def views(self):
        """Every window that the compositor manages."""
        def below(node):
            if node.get("pid") and not node["nodes"]:
                yield node
            for child in node["nodes"] + node["floating_nodes"]:
                yield from below(child)

        tree = self.ask("swaymsg", "-t", "get_tree")
        return list(below(json.loads(tree))) if tree else []

    def standing(self):
        """What the user sees of windows: name, place, and whether it has the keyboard."""
        return [(view["name"], str(view["rect"]), view["focused"]) for view in self.views()]

    def picture(self):
        image = subprocess.run(["grim", "-t", "ppm", "-"], env=self.desktop, stdout=subprocess.PIPE, check=True).stdout
        return pictures.Picture(display.WIDTH, image[-3 * display.WIDTH * display.HEIGHT:])

    def take_picture(self, path):
        self.ask("grim", path)

    def check_user_is_left_alone(self, act):
        """`act` changes no window of the user's; what it changes on the screen is in the top right corner."""
        self.work_in_a_window()
        before = self.wait_for_rest()
        standing = self.standing()
        result = act()
        changed = self.wait_for_rest().changed_since(before)
        self.keep_picture()
        self.assertEqual(self.standing(), standing)
        return result, changed

    def check_in_the_corner(self, changed):
        left, top, right, bottom = changed
        self.assertGreater(left, display.WIDTH / 2)
        self.assertLess(top, 40)
        self.assertLessEqual(right, display.WIDTH)
        self.assertLess(bottom, display.HEIGHT / 3)
        self.assertGreater(right - left, 200)

    def start_notification_server(self):
        settings = os.path.join(self.root, "dunstrc")
        with open(settings, "w", encoding="utf-8") as file:
            file.write(SERVER)
        self.start_program("dunst", "-conf", settings)
        self.wait_for(lambda: self.line.has_owner("org.freedesktop.Notifications"), 30, "the notification server")

    def check_told_by_the_server(self):
        self.start_notification_server()

        def show():
            converter = self.converts("talk.mkv")
            self.wait_for(lambda: self.log_text().count("bubble shown as a desktop notification") >= 1, 40, "it is told")
            self.wait_for(lambda: SAVED in self.ask("dunstctl", "history") or self.displayed() == "1", 20, "shown")
            return converter

        converter, changed = self.check_user_is_left_alone(show)
        self.check_in_the_corner(changed)
        self.ask("dunstctl", "action")
        self.wait_for(self.opened, 20, "xdg-open runs")
        self.assertEqual(self.opened(), [f"file://{self.folder}/talk.mp4"])
        self.assertEqual(self.wait_ended(converter, 20), 0)

    def displayed(self):
        return self.ask("dunstctl", "count", "displayed").strip()


class SwayWithXwayland(SwayWorld):
    def test_the_notification_server_shows_it(self):
        self.check_told_by_the_server()

    def test_without_a_server_it_stands_in_the_corner_without_the_keyboard(self):
        def show():
            converter = self.converts("talk.mkv")
            self.wait_for(lambda: "; the window manager is left out" in self.log_text(), 40, "it is shown")
            self.wait_for_bubbles(1, bubbleworld.SAVED)
            return converter

        converter, changed = self.check_user_is_left_alone(show)
        self.check_in_the_corner(changed)
        self.assertEqual(self.wait_ended(converter, 40), 0, "nobody answers, and it quits all the same")


class SwayAlone(SwayWorld):
    with_x11 = False

    def test_the_notification_server_shows_it(self):
        self.check_told_by_the_server()

    def test_without_a_server_the_log_says_it_and_the_application_quits(self):
        converter, changed = self.check_user_is_left_alone(lambda: self.converts("talk.mkv"))
        self.assertEqual(self.wait_ended(converter, 40), 0)
        self.assertIsNone(changed, "no window could be kept from taking the keyboard")
        self.assertEqual(self.log_text().count(SAVED), 1)


if __name__ == "__main__":
    display.world.main()
