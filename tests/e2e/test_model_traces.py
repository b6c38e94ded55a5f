"""What real runs trace is something that the model of the threads (tests/model/recordkeeping.pml) can do as well.

Three clients start at random moments, and quit or die. RECORD_CONVERTER_RUNS says how many runs there are.
"""

import os
import random
import re
import subprocess

import trace
import world

RUNS = int(os.environ.get("RECORD_CONVERTER_RUNS", "4"))
MODEL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "model", "recordkeeping.pml")
CLIENTS = 3

# What the model calls an event, and the line that is traced at it; the group is the client's process.
_EVENTS = {
    "START": r"didReceiveJobFromProcess:writingTo:\]: Received Job, src_pid = (\d+)",
    "SCHEDULE": r"KTRMeetingRecordConvertingJobRunner scheduleJob:\]: src_pid = (\d+)",
    "STEP": r"KTRMeetingRecordConvertingJobRunner runNextJob\]()",
    "CONVERT": r"KTRMeetingRecordConvertingJobRunner convertItem:\]: src_pid = (\d+)",
    "STOP": r"AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:\]: src_pid = (\d+)",
    "RAN_OUT": r"AppDelegate recordConvertingJobRunnerDidRunOutOfJobs:\]()",
    "QUIT": r"AppDelegate applicationWillTerminate:\]: begin()",
}


class ModelTraces(trace.TracedWorld):
    def setUp(self):
        super().setUp()
        self.install_inside()
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = "copy"
        self.seed = int(os.environ.get("RECORD_CONVERTER_SEED", random.randrange(1 << 30)))
        self.random = random.Random(self.seed)
        self.server = self.line.play_notification_server()

    def test_the_model_can_do_what_real_runs_do(self):
        for number in range(RUNS):
            with self.subTest(seed=self.seed, run=number):
                events = self._run()
                self.assertEqual(events.count(("QUIT", 0)), 1, events)
                self.assertTrue(self._conforms(events), events)
        # The check is worth something only when it refuses what can't be.
        for what, wrong in self._wrong(events):
            with self.subTest(seed=self.seed, wrong=what):
                self.assertFalse(self._conforms(wrong), wrong)

    def _run(self):
        """The events of one run, each with its client."""
        if os.path.exists(self.trace.path):
            os.remove(self.trace.path)
        for name in self.files():
            os.remove(self.path(name))
        self.line.heard.clear()
        clients = [self.meeting() for _ in range(CLIENTS)]
        paths = [self.scripted_recording(str(client.pid)) for client in clients]
        converter = self.launch_for(clients[0], paths[0])
        steps = [(self.random.uniform(0, 0.1), self._start, (client, path))
                 for client, path in zip(clients[1:], paths[1:])]
        steps += [(self.random.uniform(0.1, 0.2), self.random.choice((self._quit, self._die)), (client,))
                  for client in clients]
        for _, step, arguments in sorted(steps, key=lambda each: each[0]):
            step(*arguments)
            for _ in range(self.random.randrange(3)):
                self.line.turn()
        self.wait_for(lambda: self.server.close_all() or converter.poll() is not None, 30,
                      f"the converter ends; {self.trace.texts()}")
        for client in clients:
            client.die()
        return self._events([client.pid for client in clients])

    def _start(self, client, path):
        self.line.started(client.pid, path)

    def _quit(self, client):
        self.line.quit(client.pid)

    def _die(self, client):
        client.die()

    def _events(self, clients):
        found = []
        for text in self.trace.texts():
            for name, pattern in _EVENTS.items():
                if match := re.search(pattern, text):
                    found.append((name, clients.index(int(match[1])) if match[1] else 0))
        return found

    @staticmethod
    def _wrong(events):
        names = [name for name, _ in events]
        convert = names.index("CONVERT")
        start = len(names) - 1 - names[::-1].index("START")
        quits = names.index("QUIT")
        yield "converted without a conversion", events[:convert] + events[convert + 1:]
        yield "converted twice", events[:convert] + events[convert:convert + 1] + events[convert:]
        yield "quits before a recording has started", events[:start] + [("QUIT", 0)] + events[start:quits]
        yield "a job that is forgotten", [each for each in events if each[1] != CLIENTS - 1 or each[0] == "START"]

    def _conforms(self, events):
        """Whether the model can do these events, in this order."""
        names = ", ".join(name for name, _ in events)
        clients = ", ".join(str(client) for _, client in events)
        with open(os.path.join(self.root, "run.pml"), "w", encoding="utf-8") as file:
            file.write(f"#define CLIENTS {CLIENTS}\n#define KILLS 0\n#define EVENTS {len(events)}\n"
                       f"#define OBSERVED byte event[EVENTS] = {{{names}}}; byte who[EVENTS] = {{{clients}}};\n"
                       f'#include "{os.path.abspath(MODEL)}"\n')
        self._do("spin", "-a", "run.pml")
        self._do(os.environ.get("CC", "cc"), "-O1", "-w", "-DSAFETY", "-DCOLLAPSE", "-DVECTORSZ=2048", "-o", "verifier",
                 "pan.c")
        said = self._do("./verifier", "-E", "-m100000")
        self.assertIn("Full statespace search", said)
        if "errors: 0" in said:
            return False
        # The one assertion that is to fail.
        self.assertIn("assertion violated (at<", said)
        return True

    def _do(self, *command):
        result = subprocess.run(command, cwd=self.root, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                timeout=120, check=False)
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout


if __name__ == "__main__":
    world.main()
