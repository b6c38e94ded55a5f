"""What real runs trace is something that the model of the threads (tests/model/recordkeeping.pml) can do as well.

Three clients start at random moments, and quit or die; in half of the runs the converter is killed at some moment and
started again. RECORD_CONVERTER_RUNS says how many runs of each kind there are.
"""

import os
import random
import re
import subprocess
import time

import bus
import trace
import world

RUNS = int(os.environ.get("RECORD_CONVERTER_RUNS", "3"))
MODEL = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "model", "recordkeeping.pml")
CLIENTS = 3

# The events of the model, and the trace line of each; the group is the number in the recording's name.
_EVENTS = {
    "START": r"didReceiveJobFromProcess:writingTo:\]: Received Job, .*/(\d)\.rec",
    "SCHEDULE": r"KTRMeetingRecordConvertingJobRunner scheduleJob:\]: .*/(\d)\.rec",
    "STEP": r"KTRMeetingRecordConvertingJobRunner runNextJob\]()",
    "CONVERT": r"KTRMeetingRecordConvertingJobRunner convertItem:\]: .*/(\d)\.rec",
    "STOP": r"AppDelegate recordConvertingJobRunner:didStopConvertingRecordItem:\]: .*/(\d)\.rec",
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
        self._check_runs(is_killed=False)

    def test_the_model_can_do_what_runs_with_a_kill_do(self):
        self._check_runs(is_killed=True)

    def _check_runs(self, is_killed):
        for number in range(RUNS):
            with self.subTest(seed=self.seed, run=number):
                events = self._run(is_killed)
                self.assertEqual(events.count(("QUIT", 0)), 1, events)
                self.assertTrue(self._conforms(events), events)
        # The check is only worth something if it rejects impossible traces.
        for what, wrong in self._wrong(events):
            with self.subTest(seed=self.seed, wrong=what):
                self.assertFalse(self._conforms(wrong), wrong)

    def _run(self, is_killed):
        """The events of one run, each with its client."""
        if os.path.exists(self.trace.path):
            os.remove(self.trace.path)
        for name in self.files():
            os.remove(self.path(name))
        self.line.heard.clear()
        self.first_life = None
        self.started = set()
        self.has_quit = set()
        self.clients = [self.meeting() for _ in range(CLIENTS)]
        self.paths = [self.scripted_recording(str(number)) for number in range(CLIENTS)]
        self.converter = self.launch_for(self.clients[0], self.paths[0])
        steps = [(self.random.uniform(0, 0.1), self._start, number) for number in range(1, CLIENTS)]
        steps += [(self.random.uniform(0.1, 0.2), self.random.choice((self._quit, self._die)), number)
                  for number in range(CLIENTS)]
        if is_killed:
            steps.append((self.random.uniform(0, 0.22), self._kill_and_start_again, 0))
        for _, step, number in sorted(steps, key=lambda each: each[0]):
            step(number)
            for _ in range(self.random.randrange(3)):
                self.line.turn()
            time.sleep(self.random.choice((0, self.random.uniform(0, 0.01))))
        self.wait_for(lambda: self.server.close_all() or self.converter.poll() is not None, 30,
                      f"the converter ends; {self.trace.texts()}")
        for client in self.clients:
            client.die()
        return self._events()

    def _start(self, number):
        self.started.add(number)
        self.line.started(self.clients[number].pid, self.paths[number])

    def _quit(self, number):
        self.has_quit.add(number)
        self.line.quit(self.clients[number].pid)

    def _die(self, number):
        self.clients[number].die()

    def _kill_and_start_again(self, _number):
        self.converter.kill()
        self.converter.wait()
        self.first_life = len(self.trace.texts())
        self.line.wait(lambda: not self.line.converter_runs(), 20, "the name is free")
        unheard = [(step, number) for step, name, numbers in ((self._start, bus.STARTED, self.started),
                                                              (self._quit, bus.QUIT, self.has_quit))
                   for number in numbers if not self.line.acknowledgements(self.clients[number].pid, name)]
        self.converter = self.launch()
        self.line.wait_confirmed(0)
        # A client whose notification is not acknowledged tries again.
        for step, number in unheard:
            step(number)

    def _events(self):
        found = []
        for index, text in enumerate(self.trace.texts()):
            if index == self.first_life:
                found.append(("KILL", 0))
            for name, pattern in _EVENTS.items():
                if match := re.search(pattern, text):
                    found.append((name, int(match[1] or 0)))
        return found

    @staticmethod
    def _wrong(events):
        names = [name for name, _ in events]
        # The last ones, because a kill may undo the others.
        convert, start = (len(names) - 1 - names[::-1].index(name) for name in ("CONVERT", "START"))
        quits = names.index("QUIT")
        yield "converted without a conversion", events[:convert] + events[convert + 1:]
        yield "converted twice", events[:convert] + events[convert:convert + 1] + events[convert:]
        yield "quits before a recording has started", events[:start] + [("QUIT", 0)] + events[start:quits]
        yield "a job that is forgotten", [each for each in events if each[1] != CLIENTS - 1 or each[0] == "START"]
        if ("KILL", 0) in events:
            kill = names.index("KILL")
            yield "nothing is taken up again", events[:kill + 1] + [("QUIT", 0)]

    def _conforms(self, events):
        """Whether these events are possible in the model, in this order."""
        names = ", ".join(name for name, _ in events)
        clients = ", ".join(str(client) for _, client in events)
        kills = events.count(("KILL", 0))
        with open(os.path.join(self.root, "run.pml"), "w", encoding="utf-8") as file:
            file.write(f"#define CLIENTS {CLIENTS}\n#define KILLS {kills}\n#define EVENTS {len(events)}\n"
                       f"#define OBSERVED byte event[EVENTS] = {{{names}}}; byte who[EVENTS] = {{{clients}}};\n"
                       f'#include "{os.path.abspath(MODEL)}"\n')
        self._do("spin", "-a", "run.pml")
        self._do(os.environ.get("CC", "cc"), "-O1", "-w", "-DSAFETY", "-DCOLLAPSE", "-DVECTORSZ=2048", "-o", "verifier",
                 "pan.c")
        said = self._do("./verifier", "-E", "-m100000")
        self.assertIn("Full statespace search", said)
        if "errors: 0" in said:
            return False
        # The only assertion that must fail.
        self.assertIn("assertion violated (at<", said)
        return True

    def _do(self, *command):
        result = subprocess.run(command, cwd=self.root, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                timeout=120, check=False)
        self.assertEqual(result.returncode, 0, result.stdout)
        return result.stdout


if __name__ == "__main__":
    world.main()
