"""The lines that the application hands to its trace plug-in."""

import os
import shutil

import world

PLUG_IN = "ktrtrace.bundle"


class Line:
    """One line: its level, the thread ("main" or an id), the module and the text."""

    def __init__(self, raw):
        head, self.text = raw.split("|", 1)
        level, self.thread, self.module = head.split(" ", 2)
        self.level = int(level)


class Trace:
    """What a plug-in has written so far."""

    def __init__(self, path):
        self.path = path

    def lines(self):
        if not os.path.exists(self.path):
            return []
        with open(self.path, encoding="utf-8", errors="surrogateescape") as file:
            return [Line(line) for line in file.read().split("\n")[:-1]]

    def texts(self):
        return [line.text for line in self.lines()]

    def holds(self, text):
        return self.count(text) > 0

    def count(self, text):
        """In how many lines the text occurs."""
        return sum(text in line for line in self.texts())

    def stop_at(self, *texts):
        """A thread that traces a line with one of these texts stands still there until the next call without that
        text, or `go_on`."""
        with open(self.path + ".part", "w", encoding="utf-8") as file:
            file.writelines(text + "\n" for text in texts)
        os.rename(self.path + ".part", self.path + ".hold")

    def go_on(self):
        os.remove(self.path + ".hold")


def install(folder):
    """Puts the test's plug-in into `folder`."""
    return shutil.copy(os.path.join(world.TEST_LIBRARIES, "trace", PLUG_IN), os.path.join(folder, PLUG_IN))


class TracedWorld(world.World):
    """A world with an application folder of its own that traces into `self.trace`."""

    def setUp(self):
        super().setUp()
        self.own_application_folder()
        path = os.path.join(self.root, "trace")
        self.environment["RECORD_CONVERTER_TEST_TRACE"] = path
        self.trace = Trace(path)

    def install_inside(self):
        return install(os.path.join(self.application, "PlugIns"))

    def install_beside(self):
        return install(os.path.dirname(self.application))
