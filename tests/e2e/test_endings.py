"""Ends of the converter caused from outside."""

import os
import signal
import subprocess
import time

import bus
import display
import processes
import recordings
import trace
import world

# Seconds after which a notification has reached the thread that handles it.
_ARRIVED = 0.5


class _Ending(world.World):
    def _in_the_middle_of_a_conversion(self):
        meeting = self.meeting()
        self.source = recordings.make_slow(self.path("slow.avi"))
        with open(self.source, "rb") as file:
            self.content = file.read()
        converter = self.launch_for(meeting, self.source)
        meeting.die()
        worker = processes.Watched(processes.wait_until(self.worker, 20, "a worker"))
        self.addCleanup(worker.close)
        return converter, worker

    def _check_source_intact_and_nothing_else(self):
        self.assertEqual(self.files(), ["slow.avi"])
        with open(self.source, "rb") as file:
            self.assertEqual(file.read(), self.content)


class Questions(world.World):
    with_bus = False

    def test_help_and_version_are_answered_at_once_and_without_a_session(self):
        for question, beginning in (("--help", "Usage: record-converter "), ("--version", "record-converter 0.")):
            result = subprocess.run([self.program("record-converter"), question], env={}, stdin=subprocess.DEVNULL,
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=20, check=False)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertTrue(result.stdout.startswith(beginning), result.stdout)


class Endings(_Ending):
    def _ends_within_two_seconds(self, how):
        converter, worker = self._in_the_middle_of_a_conversion()
        begun = time.monotonic()
        self.terminate(converter, how)
        self.assertLess(time.monotonic() - begun, 2.0)
        self.assertTrue(worker.ends_within(1), "the worker dies with its parent")
        self._check_source_intact_and_nothing_else()

    def test_sigterm_abandons_the_conversion(self):
        self._ends_within_two_seconds(signal.SIGTERM)

    def test_sigint_abandons_the_conversion(self):
        self._ends_within_two_seconds(signal.SIGINT)

    def test_sighup_abandons_the_conversion(self):
        self._ends_within_two_seconds(signal.SIGHUP)

    def test_sigkill_takes_the_worker_along(self):
        converter, worker = self._in_the_middle_of_a_conversion()
        converter.kill()
        self.assertTrue(worker.ends_within(2), "the worker dies with its parent")
        self._check_source_intact_and_nothing_else()

    def test_a_worker_that_dies_is_a_failed_conversion(self):
        converter, worker = self._in_the_middle_of_a_conversion()
        os.kill(worker.pid, signal.SIGKILL)
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertRegex(self.log_text(), r"convert error [1-9]")
        self._check_source_intact_and_nothing_else()

    def test_idle_it_ends_at_once_and_cleanly(self):
        for how in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
            converter = self.launch()
            self.line.wait_confirmed(0)
            self.line.heard.clear()
            self.line.wait(self.line.converter_runs, 10, "the name on the bus")
            begun = time.monotonic()
            self.assertEqual(self.terminate(converter, how), 0)
            self.assertLess(time.monotonic() - begun, 2.0)
            self.line.wait(lambda: not self.line.converter_runs(), 10, "the name is free again")

    def test_a_recording_that_comes_with_the_quit_is_served_or_not_answered(self):
        # Fails without a bubble, so that the quit follows at once.
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = "error 0"
        for _ in range(6):
            first, late = self.meeting(), self.meeting()
            converter = self.launch_for(first, self.scripted_recording("first"))
            first.die()
            time.sleep(0.3)
            # When it continues, the check's tick and the notification are both waiting.
            converter.send_signal(signal.SIGSTOP)
            self.line.started(late.pid, self.scripted_recording("late"))
            time.sleep(1.5)
            converter.send_signal(signal.SIGCONT)
            self.line.wait(lambda: converter.poll() is not None or self.line.acknowledgements(late.pid), 20,
                           "an answer or the end")
            if self.line.acknowledgements(late.pid):
                time.sleep(2.5)
                self.assertIsNone(converter.poll(), "it has answered, and quits beside the meeting")
            late.die()
            self.wait_ended(converter, 20)

    def test_the_end_of_the_starters_session_is_not_its_end(self):
        # The client's process group and session die with it; the converter that it launched has its own.
        result = self.client("record", "--out", "talk.mkv", "--seconds", "1", "--crash", start_new_session=True)
        self.assertEqual(result.returncode, -signal.SIGKILL)
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))


class CrossingNotifications(trace.TracedWorld):
    """The main thread is stopped while a notification arrives, and handles it when it continues."""

    def setUp(self):
        super().setUp()
        self.install_inside()
        # Fails without a bubble, so that the quit follows at once.
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = "error 0"

    def _start(self, name):
        """A meeting and the path that it announces."""
        meeting = self.meeting()
        path = self.scripted_recording(name)
        self.line.started(meeting.pid, path)
        return meeting, path

    def test_after_the_decision_to_quit_it_is_not_answered(self):
        first = self.meeting()
        converter = self.launch_for(first, self.scripted_recording("first"))
        self.trace.stop_at("-[AppDelegate quitApp]")
        first.die()
        self.line.wait(lambda: self.trace.holds("-[AppDelegate quitApp]"), 20, "the decision to quit")
        late, _ = self._start("late")
        time.sleep(_ARRIVED)
        self.trace.go_on()
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.line.turn()
        self.assertEqual(self.line.acknowledgements(late.pid), [], "it has answered, and quits beside the meeting")

    def test_a_quit_check_that_began_too_early_does_not_end_it(self):
        first, second = self.meeting(), self.meeting()
        second_path = self.scripted_recording("second")
        converter = self.launch_for(first, self.scripted_recording("first"))
        self.line.started(second.pid, second_path)
        self.line.wait_acknowledged(second.pid, bus.STARTED)
        one, two = (f"didStartConvertingRecordItem:]: src_pid = {meeting.pid}" for meeting in (first, second))
        scheduling = f"Scheduling Jobs, src_pid = {second.pid}"
        self.trace.stop_at(one, scheduling)
        first.die()
        self._wait_traced(one)
        second.die()
        self._wait_traced(scheduling)
        # The runner finds no job and no meeting while the second recording is on its way to it.
        self.trace.stop_at(scheduling, two)
        self._wait_traced("recordConvertingJobRunnerDidRunOutOfJobs")
        self.trace.stop_at(two)
        self._wait_traced(two)
        check = "check all task finish 1, check report handled: 1"
        self.line.wait(lambda: self.trace.count(check) > 1 or converter.poll() is not None, 20, "two quit checks")
        self.assertIsNone(converter.poll(), "it quits in the middle of a conversion")
        self.trace.go_on()
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.assertTrue(self.trace.holds(f"src_path = {second_path}, error = 0"))
        self.assertNotIn("left for the next start", self.log_text())

    def _wait_traced(self, text):
        self.line.wait(lambda: self.trace.holds(text), 20, text)

    def test_after_the_signal_to_end_it_is_not_answered(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        self.trace.stop_at("onExternalNotification")
        early, path = self._start("early")
        self.line.wait(lambda: self.trace.holds("onExternalNotification"), 20, "a notification is being handled")
        converter.send_signal(signal.SIGTERM)
        late, late_path = self._start("late")
        time.sleep(_ARRIVED)
        self.trace.go_on()
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.line.turn()
        self.assertEqual(len(self.line.acknowledgements(early.pid)), 1, "what was taken is answered")
        self.assertIn("next start of the record converter: " + path, self.log_text())
        self.assertEqual(self.line.acknowledgements(late.pid), [], "it has answered what it does not do any more")
        self.assertNotIn(late_path, self.log_text())


    def test_the_last_acknowledgement_is_on_the_bus_before_the_end(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        watched = processes.Watched(converter.pid)
        self.addCleanup(watched.close)
        acknowledging = "-[KTRAppInlet ackNotification:]"
        self.trace.stop_at(acknowledging)
        meeting, _ = self._start("talk")
        self._wait_traced(acknowledging)
        converter.send_signal(signal.SIGTERM)
        self.bus.daemon.send_signal(signal.SIGSTOP)
        try:
            self.trace.go_on()
            is_early = watched.ends_within(0.5)
        finally:
            self.bus.daemon.send_signal(signal.SIGCONT)
        self.assertFalse(is_early, "it ends although the bus has not read its acknowledgement")
        self.assertEqual(self.wait_ended(converter, 20), 0)
        self.line.turn()
        self.assertEqual(len(self.line.acknowledgements(meeting.pid)), 1)


class LostDisplay(display.DisplayWorld, _Ending):
    with_tray = False

    def test_the_conversion_begins_again_off_screen(self):
        """The toolkit ends a program whose display has gone."""
        converter, worker = self._in_the_middle_of_a_conversion()
        self.end_display()
        self.assertTrue(worker.ends_within(20), "the worker dies with its conversion")
        self.wait_converted(self.source, self.path("slow.mp4"), 120)
        self.assertEqual(self.files(), ["slow.mp4"])
        self.assertIn("starting again off-screen", self.log_text())
        self.assertEqual(self.wait_ended(converter), 0)

    def test_with_nothing_to_do_it_goes_with_the_display(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        self.end_display()
        self.assertEqual(self.wait_ended(converter, 20), 1)
        self.assertNotIn("starting again", self.log_text())

    def test_a_meeting_is_served_to_its_end(self):
        meeting = self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        converter = self.launch_for(meeting, one)
        first = self.line.owner(bus.CONVERTER)
        self.end_display()
        # The first one watches the meeting too, until it ends.
        self.wait_for(lambda: self.line.owner(bus.CONVERTER) not in (None, first), 20, "the second start")
        self.assertIn("starting again off-screen", self.log_text())
        self.wait_for(lambda: processes.watches(converter.pid, meeting.pid), 20, "it watches the meeting again")
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, two)
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        meeting.die()
        self.wait_converted(one, self.path("one.mp4"))
        self.wait_converted(two, self.path("two.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_a_meeting_that_has_recorded_nothing_yet_is_served(self):
        meeting = self.meeting()
        converter = self.launch_for(meeting)
        self.end_display()
        self.wait_for(lambda: "starting again off-screen" in self.log_text(), 20, "the second start")
        self.wait_for(lambda: processes.watches(converter.pid, meeting.pid), 20, "it watches the meeting again")
        self.line.started(meeting.pid, self.recording())
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        meeting.die()
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)


if __name__ == "__main__":
    world.main()
