"""Power cuts: whole meetings on a disk whose writes are recorded; the disk is mounted in the states in which the power
can leave it, and each must hold what was promised. The same on folders, as a file system that promises no more than POSIX
may leave them.

scripts/power-cuts runs it at length, and with each sync left out in turn:
  RECORD_CONVERTER_POWER_STATES     states per file system and scenario; half of them after some number of whole
                                    writes, the rest with losses
  RECORD_CONVERTER_POWER_SCENARIOS  names of scenarios
  RECORD_CONVERTER_POWER_SKIP       the sync to leave out; states are then looked at until one is at fault
"""

import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

import bus
import processes
import recordings
import world

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "power"))
import disk  # noqa: E402
import folders  # noqa: E402
import judge  # noqa: E402

MISSING = disk.missing()
BUILD = os.environ.get("RECORD_CONVERTER_BUILD", "")
CONVERT_ONE = os.path.join(BUILD, "tests", "mediaconverter", "convert-one")
TOOLS = os.path.join(BUILD, "tests", "power")
STATES = int(os.environ.get("RECORD_CONVERTER_POWER_STATES", "40"))
SCENARIOS = os.environ.get("RECORD_CONVERTER_POWER_SCENARIOS", "meeting damaged").split()
SKIP = os.environ.get("RECORD_CONVERTER_POWER_SKIP", "")

# This many times more states of folders, which are checked without a disk.
_FOLDERS = 5

# Far more than any of the three needs. Bytes.
_ROOM = 1 << 30

# After this time without a sync none is expected any more; much shorter than the kernel keeps dirty pages. Seconds.
_REST = 0.3


class PowerCuts(world.World):
    def setUp(self):
        super().setUp()
        self.seed = int(os.environ.get("RECORD_CONVERTER_SEED", random.randrange(1 << 30)))
        self.random = random.Random(self.seed)
        memory = "/dev/shm" if shutil.disk_usage("/dev/shm").free > _ROOM else None
        self.room = tempfile.mkdtemp(prefix="record-converter-power-", dir=memory)
        self.addCleanup(shutil.rmtree, self.room)
        self.state_folder = os.path.join(self.room, "state")
        os.mkdir(self.state_folder)
        self.reader = judge.Reader(os.path.join(TOOLS, "pending-list"))
        self.addCleanup(self.reader.close)
        self.syncs = os.path.join(self.root, "syncs")
        # A skipped sync does not reach the log.
        libraries = ("skipped-sync.so", "folder-log.so")
        self.environment |= {"LD_PRELOAD": ":".join(os.path.join(TOOLS, name) for name in libraries),
                             "POWER_SKIP": SKIP, "POWER_SYNCS": self.syncs}

    def test_on_ext4(self):
        self._examine_disk("ext4")

    def test_on_xfs(self):
        self._examine_disk("xfs")

    def test_on_btrfs(self):
        self._examine_disk("btrfs")

    def test_with_no_more_than_posix_promises(self):
        self._examine("posix", [*SCENARIOS, "elsewhere"])

    # The recorded scenarios.

    def _meeting(self):
        """Three recordings of one process, a fourth of another that keeps it; converted once both have ended."""
        one, two, three, four = (self._announceable(name) for name in ("one", "two", "three", "four"))
        meeting, other = self.meeting(), self.meeting()
        converter = self.launch_for(meeting, self._path(one))
        self._note_announced(one)
        for recording in (two, three):
            self.line.stopped(meeting.pid)
            self.line.started(meeting.pid, self._path(recording))
            self.line.wait_acknowledged(meeting.pid, bus.STARTED, 1 if recording is two else 2)
            self._note_announced(recording)
        late = self.launch("-pid", str(other.pid), "-path", self._path(four), "-keepsIntermediateFile", "1")
        self.assertEqual(self.wait_ended(late, 20), 0)
        self._note_announced(four)
        self.line.quit(meeting.pid)
        other.die()
        self._wait_done(kept=[four])
        self.terminate(converter)

    def _killed(self):
        """Two recordings whose converter is killed at some moment of their conversion, and the next start."""
        one, two = (self._announceable(name) for name in ("one", "two"))
        meeting = self.meeting()
        converter = self.launch_for(meeting, self._path(one))
        self._note_announced(one)
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, self._path(two))
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        self._note_announced(two)
        meeting.die()
        time.sleep(self.random.uniform(0, 0.2))
        converter.kill()
        converter.wait()
        self.line.wait(lambda: not self.line.converter_runs(), 20, "the name is free")
        converter = self.launch()
        self._wait_done()
        self.terminate(converter)

    def _damaged(self):
        """A recording with a hole, converted by hand: its data keeps a second name."""
        path = self._with_hole()
        self._announceable("talk", is_damaged=True)
        environment = self.environment | {"POWER_MP4": "talk.mp4"}
        result = subprocess.run([self.program("convert-recording"), path], env=environment, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(self.files(), ["talk (damaged).mkv", "talk.mp4"])
        self._wait_synced()

    def _elsewhere(self):
        """A recording with a hole whose MP4 goes to another folder, so that one sync alone covers its own."""
        path = self._with_hole()
        target = os.path.join(self.disk.folder, "elsewhere")
        os.mkdir(target)
        self._announceable("talk", is_damaged=True, mp4_folder=target)
        library = os.path.join(self.application, "lib", "libmediaconverter.so")
        result = subprocess.run([CONVERT_ONE, library, path, os.path.join(target, "talk.mp4")],
                                env=self.environment | {"POWER_MP4": "talk.mp4"}, stdin=subprocess.DEVNULL,
                                capture_output=True, text=True, timeout=60, check=False)
        self.assertIn("progress 100\n", result.stdout)
        # What an application does that was told so.
        self.disk.remove(path)

    def _with_hole(self):
        path = self.recording("talk.mkv")
        with open(path, "r+b") as file:
            file.seek(os.fstat(file.fileno()).st_size // 2)
            file.write(bytes(3000))
        return path

    def _announceable(self, name, is_damaged=False, mp4_folder=None):
        path = self.path(name + ".mkv")
        if not os.path.exists(path):
            self.recording(name + ".mkv")
        recording = judge.Recording(path, is_damaged, mp4_folder)
        self.recordings.append(recording)
        self.begin = self.disk.sync()
        return recording

    def _path(self, recording):
        return self.path(recording.name)

    def _note_announced(self, recording):
        known = self.folder_syncs
        self.wait_for(lambda: self._count_folder_syncs() > known, 20, "the state folder is synced")
        self._wait_synced()
        self.folder_syncs = self._count_folder_syncs()
        recording.announced = self.disk.position()

    def _sync_lines(self):
        if not os.path.exists(self.syncs):
            return []
        with open(self.syncs, encoding="ascii") as file:
            return [line.split() for line in file.read().splitlines()]

    def _count_folder_syncs(self):
        return sum(line[0] != "begin" and line[2:] == ["pending-folder"] for line in self._sync_lines())

    def _wait_synced(self):
        """Waits until no sync is in progress or expected."""
        seen = None
        while seen != (seen := self._sync_lines()) or self._is_syncing(seen):
            time.sleep(_REST)

    @staticmethod
    def _is_syncing(lines):
        under_way = [pid for what, pid, *_ in lines if what == "begin"]
        for what, pid, *_ in lines:
            if what == "end":
                under_way.remove(pid)
        # A killed process does not log the end of its sync.
        return any(os.path.exists(f"/proc/{pid}") for pid in under_way)

    def _wait_done(self, kept=()):
        pending = os.path.join(self.environment["XDG_STATE_HOME"], "record-converter", "pending")
        expected = sorted([recording.mp4_name for recording in self.recordings] + [each.name for each in kept])
        self.line.wait(lambda: self.files() == expected and not os.listdir(pending), 60,
                       f"all is converted; {self.files()}; {self.log_text()}")
        self._wait_synced()

    def _record(self, kind, scenario):
        room = os.path.join(self.room, scenario)
        os.mkdir(room)
        self.disk = folders.Recorded(room) if kind == "posix" else disk.Recorded(kind, room)
        self.addCleanup(self.disk.close)
        self.environment |= self.disk.environment
        self.recordings = []
        self.folder_syncs = self._count_folder_syncs()
        for name in ("recordings", "state"):
            os.mkdir(os.path.join(self.disk.folder, name))
        self.folder = os.path.join(self.disk.folder, "recordings")
        self.environment["XDG_STATE_HOME"] = os.path.join(self.disk.folder, "state")
        getattr(self, "_" + scenario)()
        for recording in self.recordings:
            path = recording.mp4_path
            if not recording.is_damaged:
                self.assertEqual(_packets(path), _packets_of(recording), f"{path} holds what its source does")
            with open(path, "rb") as file:
                recording.mp4 = file.read()
        processes.wait_until(lambda: not self.worker(), 20, "no worker is left")
        return self.disk.end(self.begin)

    # The checks.

    def _examine_disk(self, kind):
        if MISSING:
            self.skipTest(MISSING)
        if kind not in disk.kinds():
            self.skipTest(f"this kernel has no {kind}")
        self._examine(kind, SCENARIOS)

    def _examine(self, kind, scenarios):
        for scenario in scenarios:
            with self.subTest(scenario=scenario, seed=self.seed):
                recorded = self._record(kind, scenario)
                begin = time.monotonic()
                states = self._states(recorded, STATES * (_FOLDERS if kind == "posix" else 1))
                faults = self._look_at(kind, recorded, states)
                print(f"{kind}, {scenario}: {len(states)} states of {len(recorded.entries) - recorded.begin} writes, "
                      f"{len(faults)} at fault, {self._skipped()}{time.monotonic() - begin:.0f} s", flush=True)
                self.assertEqual(faults[:5], [])

    def _skipped(self):
        if not SKIP:
            return ""
        count = sum(line[0] == "skipped" for line in self._sync_lines())
        return f"{SKIP} left out {count} times, "

    def _states(self, recorded, count):
        prefixes = recorded.prefixes()
        # The last one is always among them.
        prefixes = {*self.random.sample(prefixes, min(len(prefixes), count // 2)), prefixes[-1]}
        losses = {recorded.random_state(self.random) for _ in range(count - len(prefixes))}
        return sorted(prefixes | losses)

    def _look_at(self, kind, recorded, states):
        found = judge.Judge(self.recordings, self.reader, self.disk.folder)
        faults = []
        for state in states:
            try:
                with recorded.shown(state, self.state_folder):
                    for fault in found.faults(self.state_folder, state[0]):
                        faults.append(f"{kind}: after {state[0]} writes, {len(state[1])} lost: {fault}")
            except OSError as error:
                faults.append(f"{kind}: after {state[0]} writes, {len(state[1])} lost: {error}")
            if SKIP and faults:
                break
        return faults


def _packets(path):
    """A digest of the packets of each track."""
    output = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", path, "-map", "0:v", "-map", "0:a", "-c",
                             "copy", "-f", "streamhash", "-hash", "md5", "-"], check=True, stdout=subprocess.PIPE)
    return output.stdout


def _packets_of(recording):
    with tempfile.NamedTemporaryFile(suffix=os.path.splitext(recording.name)[1]) as file:
        file.write(recording.content)
        file.flush()
        return _packets(file.name)


if __name__ == "__main__":
    world.main()
