"""A separate world for one test: home, settings, bus, application folder; nothing is left when it ends."""

import glob
import os
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

import bus
import processes
import recordings

APPLICATION_FOLDER = os.environ.get("RECORD_CONVERTER_FOLDER", "")
TEST_LIBRARIES = os.environ.get("RECORD_CONVERTER_TEST_LIBRARIES", "")

# A checker under which the converter runs; {root} in it is the test's own folder, where the checker writes its reports.
WRAPPER = os.environ.get("RECORD_CONVERTER_WRAPPER", "")

# The kit shows a result for 15 s; ticks, fading and a slow machine add to that.
BUBBLE_DEADLINE = 60

# Seconds.
LONGER_THAN_A_BUBBLE = 18

# The result of a test must not depend on the desktop from which it is started.
_FOREIGN = ("DISPLAY", "WAYLAND_DISPLAY", "XAUTHORITY", "DBUS_SESSION_BUS_ADDRESS", "QT_QPA_PLATFORM",
            "LD_LIBRARY_PATH", "LANGUAGE")

# On the machine's own system bus a login manager might report the tester's session as idle, and bubbles would wait.
_NO_SYSTEM_BUS = "unix:path=/nonexistent"


class World(unittest.TestCase):
    """Base of the scenarios. `self.folder` is the folder for recordings; `self.line` is a connection to the bus."""

    with_bus = True

    def setUp(self):
        processes.adopt_orphans()
        self.root = tempfile.mkdtemp(prefix="record-converter-e2e-")
        self.addCleanup(shutil.rmtree, self.root)
        self.addCleanup(self._nothing_reported)
        self.addCleanup(self._nothing_left)
        self.folder = os.path.join(self.root, "recordings")
        self.environment = {key: value for key, value in os.environ.items()
                            if key not in _FOREIGN and not key.startswith("XDG_")}
        for key, name in (("HOME", "home"), ("XDG_CONFIG_HOME", "config"), ("XDG_RUNTIME_DIR", "run"),
                          ("XDG_STATE_HOME", "state"), ("XDG_CACHE_HOME", "cache"), ("XDG_DATA_HOME", "data"),
                          ("TMPDIR", "tmp"), ("", "recordings")):
            path = os.path.join(self.root, name)
            os.mkdir(path, 0o700)
            if key:
                self.environment[key] = path
        self.environment["LC_ALL"] = "C.UTF-8"
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = _NO_SYSTEM_BUS
        self.reports = os.path.join(self.root, "report")
        for sanitizer in ("ASAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS"):
            options = [option for option in (self.environment.get(sanitizer), f"log_path={self.reports}") if option]
            self.environment[sanitizer] = ":".join(options)
        self.application = APPLICATION_FOLDER
        self.converters = []
        self.line = None
        if self.with_bus:
            self.bus = bus.PrivateBus(self.root)
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.bus.address
            self.line = bus.Line(self.bus.address)
            self.addCleanup(self.line.close)

    def _nothing_left(self):
        try:
            if not self._strays("/bin/record-converter"):
                # It dies with its converter, but on a busy machine not at the same instant.
                processes.wait_until(lambda: not self._strays("mediaconverter-worker"), 20,
                                     "a worker has outlived its converter")
        finally:
            processes.end_all()
            for converter in self.converters:
                converter.close()
            if self.with_bus:
                self.bus.stop()

    def _strays(self, name):
        return [line for line in map(processes.command_line, processes.descendants()) if name in line]

    def _nothing_reported(self):
        """A sanitizer's finding in any of the programs fails the test, however that program ended."""
        found = []
        for name in glob.glob(self.reports + "*"):
            with open(name, encoding="utf-8", errors="replace") as file:
                # Lines with this prefix are a checker's remarks about itself.
                found += [line for line in file if not line.startswith("--")]
        self.assertFalse(found, "".join(found))
        for word in ("Sanitizer:", "runtime error:"):
            self.assertNotIn(word, self.log_text())

    def own_application_folder(self):
        """From here on the test uses its own copy of the application folder."""
        self.application = os.path.join(self.root, "opt", "record-converter")
        shutil.copytree(APPLICATION_FOLDER, self.application, symlinks=True)
        return self.application

    def path(self, name):
        return os.path.join(self.folder, name)

    def program(self, name):
        return os.path.join(self.application, "bin", name)

    def recording(self, name="talk.mkv"):
        return recordings.make(self.path(name))

    def scripted_recording(self, name):
        """The path of a file that only a scripted media converter accepts: it contains its own path."""
        path = self.path(name + ".rec")
        with open(path, "w", encoding="utf-8") as file:
            file.write(path)
        return path

    def launch(self, *arguments, folder=None):
        """Starts the converter, in the given working folder; its standard error goes to `self.log`."""
        self.log = os.path.join(self.root, "converter.log")
        with open(self.log, "ab") as log:
            command = [*shlex.split(WRAPPER.format(root=self.root)), self.program("record-converter"), *arguments]
            process = subprocess.Popen(command, env=self.environment, cwd=folder,
                                       stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True)
        self.addCleanup(process.wait)
        self.addCleanup(process.kill)
        return process

    def launch_for(self, meeting, path=None, *more):
        """Starts the converter as `meeting` would, and waits until it is ready."""
        arguments = ["-pid", str(meeting.pid), "-pname", "test", "-locale", "1"]
        if path is not None:
            arguments += ["-path", path]
        process = self.launch(*arguments, *more)
        self.line.wait_confirmed(meeting.pid)
        self.wait_watched(process, meeting)
        return process

    def wait_watched(self, converter, meeting):
        """Waits until `converter` watches the meeting's process, or has handed it to another and ended. It comes right
        behind the confirmation, which is not yet a promise to notice a death. Under valgrind none is noticed at all."""
        if meeting.is_alive() and not WRAPPER:
            processes.wait_until(lambda: converter.poll() is not None or processes.watches(converter.pid, meeting.pid),
                                 20, "the converter watches the meeting")

    def wait_at_rest(self, pid):
        """Waits until no thread of the process has used the processor for longer than a bubble is shown."""
        used = None
        while used != (used := processes.processor_time(pid)):
            deadline = time.monotonic() + LONGER_THAN_A_BUBBLE
            while time.monotonic() < deadline:
                self.line.turn()
                self.line.heard.clear()
                time.sleep(0.01)

    def running_converter(self):
        """The converter that a meeting client has launched."""
        watched = processes.Watched(self.line.converter_pid())
        self.converters.append(watched)
        return watched

    def worker(self):
        """The process id of a conversion in progress; None if there is none."""
        found = [pid for pid in processes.descendants()
                 if "mediaconverter-worker" in processes.command_line(pid)]
        return found[0] if found else None

    def meeting(self):
        meeting = processes.Meeting()
        self.addCleanup(meeting.die)
        return meeting

    def client(self, *arguments, **options):
        """Runs meeting-client to its end."""
        return subprocess.run([self.program("meeting-client"), *arguments], env=self.environment, cwd=self.folder,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                              timeout=90, check=False, **options)

    def wait_for(self, condition, seconds, what):
        if self.line is not None:
            return self.line.wait(condition, seconds, what)
        return processes.wait_until(condition, seconds, what)

    def wait_converted(self, source, target, seconds=40):
        """Waits until the recording has become the MP4."""
        self.wait_for(lambda: os.path.exists(target) and not os.path.exists(source), seconds,
                      f"{source} becomes {target}; there are {sorted(os.listdir(self.folder))}; {self.log_text()}")

    def wait_ended(self, process, seconds=BUBBLE_DEADLINE):
        """Waits until the converter has ended by itself; returns its exit status."""
        self.wait_for(lambda: process.poll() is not None, seconds, f"the converter ends; {self.log_text()}")
        return process.returncode

    def terminate(self, process, how=signal.SIGTERM):
        process.send_signal(how)
        return self.wait_ended(process, 20)

    def log_text(self):
        if not hasattr(self, "log"):
            return ""
        with open(self.log, encoding="utf-8", errors="replace") as file:
            return file.read()

    def files(self):
        """The content of the recordings folder, including hidden files."""
        return sorted(os.listdir(self.folder))


def main():
    # A shell makes its background jobs ignore SIGINT, which every program here would inherit.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    signal.signal(signal.SIGHUP, signal.SIG_DFL)
    try:
        unittest.main()
    finally:
        recordings.forget_sample()
