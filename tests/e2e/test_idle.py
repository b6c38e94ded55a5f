"""Between its tasks the converter sleeps: no thread of it wakes up."""

import os
import re
import shutil
import subprocess
import time

import bus
import desktop
import display
import trace


class Sleeping(trace.TracedWorld):
    # A drawing thread of the toolkit would end half a minute after an image: a quarter after the bubble has closed.
    SECONDS = 60

    def setUp(self):
        super().setUp()
        # By the time it sleeps, the services of a real session have been requested and released.
        folder = os.path.join(self.root, "system")
        os.mkdir(folder)
        system_bus = bus.PrivateBus(folder)
        self.addCleanup(system_bus.stop)
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = system_bus.address
        self.services = [desktop.LoginManager(system_bus.address), desktop.Portal(self.bus.address),
                         desktop.ServiceManager(self.bus.address)]
        for service in self.services:
            self.addCleanup(service.close)

    def _sleeping_after_its_bubbles(self):
        """A converter that has shown a result, and still knows a meeting in progress."""
        self.install_inside()
        gone, going_on = self.meeting(), self.meeting()
        converter = self.launch_for(gone, self.recording())
        self.line.started(going_on.pid, self.path("later.mkv"))
        gone.die()
        self.line.wait(lambda: self.trace.holds("remove bubble from bubbleArray"), 60, "the bubble has closed")
        # Freed memory is returned one second after the last bubble, on a busy machine later.
        self.line.wait(lambda: self._wake_ups_in(converter.pid, 4) == 0, 40, "the process comes to rest")
        self.assertEqual([len(service.calls) for service in self.services], [1, 1, 1])
        return converter

    def _read(self, pid, task, name):
        try:
            with open(f"/proc/{pid}/task/{task}/{name}", encoding="ascii", errors="replace") as file:
                return file.read()
        except FileNotFoundError:
            return ""

    def _wake_ups(self, pid):
        total = 0
        for task in os.listdir(f"/proc/{pid}/task"):
            total += sum(int(count) for count in re.findall(r"ctxt_switches:\s+(\d+)",
                                                            self._read(pid, task, "status")))
        return total

    def _wake_ups_in(self, pid, seconds):
        before = self._wake_ups(pid)
        time.sleep(seconds)
        return self._wake_ups(pid) - before

    def check_no_wake_ups(self):
        converter = self._sleeping_after_its_bubbles()
        lines = len(self.trace.lines())
        self.assertEqual(self._wake_ups_in(converter.pid, self.SECONDS), 0)
        self.assertEqual(len(self.trace.lines()), lines)

    def check_no_system_calls(self):
        self.assertIsNotNone(shutil.which("strace"))
        converter = self._sleeping_after_its_bubbles()
        log = os.path.join(self.root, "strace")
        strace = subprocess.Popen(["strace", "-f", "-qq", "-o", log, "-p", str(converter.pid)],
                                  stderr=subprocess.PIPE)
        self.addCleanup(strace.stderr.close)
        time.sleep(self.SECONDS)
        strace.terminate()
        self.assertEqual(strace.wait(10) in (0, 143, -15), True, strace.stderr.read())
        with open(log, encoding="utf-8", errors="replace") as file:
            calls = file.read().splitlines()
        # A sleeping thread shows the one call it sleeps in, which the end of the watch interrupts.
        self.assertTrue(calls, "every thread is seen sleeping")
        self.assertEqual([call for call in calls if not call.endswith(("<detached ...>", "<unfinished ...>"))], [])


class Idle(Sleeping):
    def test_makes_no_wake_ups(self):
        self.check_no_wake_ups()

    def test_makes_no_system_calls(self):
        self.check_no_system_calls()


class IdleOnADisplay(Sleeping, display.DisplayWorld):
    """With a window manager, a tray, and bubbles that were really drawn."""

    def test_makes_no_wake_ups(self):
        self.check_no_wake_ups()

    def test_makes_no_system_calls(self):
        self.check_no_system_calls()


if __name__ == "__main__":
    trace.world.main()
