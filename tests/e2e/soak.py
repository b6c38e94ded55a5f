"""A long day in a few minutes: thousands of notifications from many senders over a real bus while hundreds of meeting
processes come and go. Not part of the test run; scripts/soak starts it."""

import os
import random
import unittest

from gi.repository import GLib

import bus
import processes
import world

NOTIFICATIONS = int(os.environ.get("SOAK_NOTIFICATIONS", "10000"))
PROCESSES = int(os.environ.get("SOAK_PROCESSES", "500"))
SENDERS = 20
ALIVE_AT_ONCE = 40
# Memory is compared with the value after the toolkit has drawn for the first time, and has had much to draw.
BEFORE = 1000
SEED = int(os.environ.get("SOAK_SEED", "1"))


def memory(pid):
    """Kilobytes in main memory."""
    with open(f"/proc/{pid}/status", encoding="utf-8") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("VmRSS:"))


def descriptors(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


class Client:
    """One meeting process, the notifications it still has to post, and the expected conversions."""

    def __init__(self, scenario, sender, number, budget):
        self.scenario, self.sender, self.number = scenario, sender, number
        self.meeting = processes.Meeting()
        self.pid = self.meeting.pid
        self.left = budget
        self.writing = None
        self.accepted = []
        self.said = {bus.STARTED: 0, bus.STOPPED: 0, bus.QUIT: 0}
        self.end_of_it = None

    def _say(self, name, path=None):
        info = {bus.PID: GLib.Variant("i", self.pid)}
        if path is not None:
            info[bus.FILE] = GLib.Variant("s", path)
        self.sender.post(name, info)
        self.said[name] += 1
        self.left -= 1

    def step(self):
        """Posts one random notification."""
        chance = random.random()
        if self.writing is None and chance < 0.85 or chance < 0.05:
            path = self.scenario.path(f"{self.number}-{self.said[bus.STARTED]}.rec")
            if self.writing is None:
                with open(path, "w", encoding="utf-8") as file:
                    file.write(path)
                self.writing = path
                self.accepted.append(path)
            self._say(bus.STARTED, path)
        else:
            self.writing = None
            self._say(bus.STOPPED)

    def end(self):
        """With a quit, without one, or both."""
        how = random.randrange(3)
        if how != 0:
            self._say(bus.QUIT)
        # A process that dies before the converter knows or watches it is never missed: wait until it does.
        self.scenario.wait_said(self)
        if how == 0:
            self.scenario.wait_watched(self.scenario.converter, self.meeting)
        if how != 1:
            self.meeting.die()
        self.end_of_it = ("died without a word", "quit", "quit and died")[how]


class Soak(world.World):
    def wait_said(self, client):
        total = sum(client.said.values())
        self.line.wait(lambda: self._acknowledged(client.pid) >= total, 60, f"everything is acknowledged to {client.pid}")

    def _acknowledged(self, pid):
        for notification in self.line.heard:
            if notification.name == bus.ACK:
                to = notification.info[bus.ACK_TO]
                self.acknowledged[to] = self.acknowledged.get(to, 0) + 1
        self.line.heard.clear()
        return self.acknowledged.get(pid, 0)

    def _at_rest(self, pid):
        """Memory and descriptors after the last bubble has closed."""
        self.wait_at_rest(pid)
        return memory(pid), descriptors(pid)

    def _wait_converted(self, ended, targets):
        """Conversions give way to other load on the machine: they may take long, but one must follow another."""
        missed = list(targets)
        while missed:
            try:
                self.wait_for(lambda: self.line.heard.clear() or any(map(os.path.exists, missed)), 60,
                              "one more is converted")
            except AssertionError:
                self.fail(self._tell(missed, ended))
            missed = [target for target in missed if not os.path.exists(target)]

    def _tell(self, missed, ended):
        names = [os.path.basename(target) for target in missed]
        whose = [f"{client.number} ({client.pid}) said {client.said}, then {client.end_of_it}"
                 for client in ended if any(name.startswith(f"{client.number}-") for name in names)]
        return "\n".join([f"{len(names)} are not converted: {names[:40]}", *whose[:20]])

    def test_a_long_day(self):
        random.seed(SEED)
        self.acknowledged = {}
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = "copy"
        host, lasting = self.meeting(), self.meeting()
        first = self.scripted_recording("host")
        self.converter = converter = self.launch_for(host, first)
        # One meeting outlasts all others, so that the converter still runs for the final checks.
        unfinished = self.scripted_recording("lasting")
        self.line.started(lasting.pid, unfinished)
        self.line.stopped(host.pid)
        accepted = [first]
        for number in range(BEFORE):
            accepted.append(self.scripted_recording(f"before-{number}"))
            self.line.started(host.pid, accepted[-1])
            self.line.stopped(host.pid)
        self.line.quit(host.pid)
        host.die()
        self.wait_for(lambda: self.line.heard.clear() or not [path for path in accepted if os.path.exists(path)], 120,
                      "the first recordings are converted")
        before = self._at_rest(converter.pid)

        senders = [bus.Line(self.bus.address) for _ in range(SENDERS)]
        for sender in senders:
            self.addCleanup(sender.close)
        alive, started, said = [], 0, 0
        ended = []
        while started < PROCESSES or alive:
            if started < PROCESSES and len(alive) < ALIVE_AT_ONCE and random.random() < 0.3:
                alive.append(Client(self, random.choice(senders), started, max(1, -(-NOTIFICATIONS // PROCESSES))))
                started += 1
            if not alive:
                continue
            client = random.choice(alive)
            if client.left > 0:
                client.step()
            else:
                client.end()
                alive.remove(client)
                ended.append(client)
            if random.random() < 0.02:
                # Notifications that no client should post: an unknown name, or a stop and quit of an unknown process.
                random.choice(senders).post(random.choice((bus.STARTED, "Other")))
                random.choice(senders).quit(0)
            for sender in senders:
                sender.turn()
                sender.heard.clear()
        for client in ended:
            client.meeting.die()
            accepted += client.accepted
            said += sum(client.said.values())
        # Notifications without user info count as process 0; its quit leaves the pool as it was.
        senders[0].quit(0)

        targets = {path.removesuffix(".rec") + ".mp4": path for path in accepted}
        self._wait_converted(ended, targets)
        self.wait_for(lambda: not [name for name in self.files() if name.endswith(".rec")
                                   and self.path(name) in targets.values()], 60, "every source is gone")
        self.assertEqual([name for name in self.files() if self.path(name) not in targets],
                         [os.path.basename(unfinished)], "nothing is converted twice or invented")
        for target, source in targets.items():
            with open(target, encoding="utf-8") as file:
                self.assertEqual(file.read(), source)
        peak = memory(converter.pid)
        after = self._at_rest(converter.pid)
        print(f"soak: {said} notifications, {len(ended)} processes, {len(targets)} recordings converted; memory at rest "
              f"{before[0]} kB after the first {BEFORE}, {peak} kB at the end of the work, {after[0]} kB when the last "
              f"bubble has gone; descriptors {before[1]}, then {after[1]}")
        self.assertLessEqual(after[0], before[0] * 1.1)
        self.assertLessEqual(after[1], before[1])
        lasting.die()
        self.line.wait(lambda: os.path.exists(self.path("lasting.mp4")), 60, "the last one is converted, too")
        self.assertEqual(self.wait_ended(converter, 600), 0)


if __name__ == "__main__":
    unittest.main()
