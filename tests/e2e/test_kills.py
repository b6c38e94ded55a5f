"""Kills at random moments of meetings with several recordings: nothing that was announced is lost or converted twice.

RECORD_CONVERTER_KILLS says how often; tests/e2e/kill-1000 runs it at length.
"""

import os
import random
import signal
import time

import bus
import processes
import recordings
import world

ROUNDS = int(os.environ.get("RECORD_CONVERTER_KILLS", "12"))
NAMES = ("one", "two", "three")


class Kills(world.World):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("RECORD_CONVERTER_SEED", random.randrange(1 << 30)))
        self.random = random.Random(self.seed)
        self.state = os.path.join(self.environment["XDG_STATE_HOME"], "record-converter", "pending")

    def test_no_announced_recording_is_lost_or_converted_twice(self):
        for number in range(ROUNDS):
            with self.subTest(seed=self.seed, round=number):
                self._round()

    def _pending(self):
        """The text of each entry."""
        entries = []
        for name in os.listdir(self.state) if os.path.isdir(self.state) else ():
            try:
                with open(os.path.join(self.state, name), encoding="ascii") as file:
                    entries.append(file.read())
            except FileNotFoundError:
                pass
        return entries

    def _round(self):
        for name in self.files():
            os.remove(self.path(name))
        sources = [self.recording(name + ".mkv") for name in NAMES]
        self.line.heard.clear()
        self.log_begin = len(self.log_text())
        meeting = self.meeting()
        victim = self.random.choice(("converter", "converter", "worker", "client"))
        moment = time.monotonic() + self.random.choice((self.random.uniform(0, 0.1), self.random.uniform(0, 1.2)))
        converter = self.launch("-pid", str(meeting.pid), "-path", sources[0])
        steps = self._steps(meeting, sources)
        while time.monotonic() < moment:
            next(steps, None)
            self.line.turn()
            time.sleep(self.random.uniform(0, 0.02))
        self._kill(victim, converter, meeting)
        if victim == "worker":
            for _ in steps:
                pass
        announced = self._announced(meeting, sources)
        meeting.die()
        if victim == "converter":
            converter = self.launch()
        self._wait_done(converter)
        self.terminate(converter)
        self._check(sources, announced)

    def _steps(self, meeting, sources):
        while not self.line.confirmations(meeting.pid):
            self.line.turn()
            time.sleep(0.002)
            yield
        for source in sources[1:]:
            self.line.stopped(meeting.pid)
            yield
            self.line.started(meeting.pid, source)
            yield
        self.line.quit(meeting.pid)
        yield

    def _kill(self, victim, converter, meeting):
        if victim == "client":
            meeting.die()
            return
        pid = converter.pid if victim == "converter" else self.worker()
        if pid is not None:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        if victim == "converter":
            converter.wait()
            self.line.wait(lambda: not self.line.converter_runs(), 20, "the name is free")

    def _announced(self, meeting, sources):
        """The recordings that the converter has acknowledged."""
        self.line.turn()
        count = len(self.line.acknowledgements(meeting.pid, bus.STARTED))
        return sources[:count + 1] if self.line.confirmations(meeting.pid) else []

    def _wait_done(self, converter):
        def is_done():
            entries = self._pending()
            return not self.worker() and all("\nstate=left\n" in entry for entry in entries)
        # A converter that is still starting has not picked anything up yet.
        self.line.wait(lambda: self.line.converter_runs() or converter.poll() is not None, 20, "the converter runs")
        self.line.wait(is_done, 60, f"nothing waits any more; {self._pending()}; {self.log_text()}")

    def _check(self, sources, announced):
        pending = "".join(self._pending())
        allowed = {name + suffix for name in NAMES for suffix in (".mkv", ".mp4")}
        self.assertLessEqual(set(self.files()), allowed, "no second MP4, nothing half")
        for source in sources:
            target = source.replace(".mkv", ".mp4")
            if os.path.exists(target):
                recordings.check_mp4(self, target)
            else:
                self.assertTrue(os.path.exists(source), f"{source} is lost; {self.log_text()}")
            if source in announced and not os.path.exists(target):
                log = self.log_text()[self.log_begin:]
                # A killed worker is a failed conversion, of which the user is told.
                self.assertTrue(source in pending or "convert error" in log, f"{source} is forgotten; {log}")
        processes.reap()


if __name__ == "__main__":
    world.main()
