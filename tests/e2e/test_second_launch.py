"""Two launches result in one converter, and no recording is lost between them."""

import os
import signal

import bus
import processes
import recordings
import world


class SecondLaunch(world.World):
    def test_hands_its_recording_to_the_running_converter(self):
        first, second = self.meeting(), self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        converter = self.launch_for(first, one)
        late = self.launch("-pid", str(second.pid), "-path", two)
        self.assertEqual(self.wait_ended(late, 20), 0)
        confirmation = self.line.wait_confirmed(second.pid)
        self.assertEqual(confirmation.info[bus.ACK_FROM], converter.pid)
        self.assertEqual(len(self.line.acknowledgements(second.pid, bus.STARTED)), 1)
        second.die()
        self.wait_converted(two, self.path("two.mp4"))
        first.die()
        self.wait_converted(one, self.path("one.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "two.mp4"])

    def test_for_the_same_recording_converts_it_once(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source, "-keepsIntermediateFile", "1")
        for _ in range(2):
            late = self.launch("-pid", str(meeting.pid), "-path", source)
            self.assertEqual(self.wait_ended(late, 20), 0)
        meeting.die()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["talk.mkv", "talk.mp4"])

    def test_without_arguments_changes_nothing(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        late = self.launch()
        self.assertEqual(self.wait_ended(late, 20), 0)
        # It has left the bus before this process has read what it posted last.
        self.line.wait(lambda: len(self.line.confirmations(0)) > 1, 20, "confirmation of the second launch")
        self.assertEqual([n.info[bus.ACK_FROM] for n in self.line.confirmations(0)], [converter.pid, converter.pid])
        self.assertEqual([n for n in self.line.heard if n.name == bus.STARTED], [])
        self.assertIsNone(converter.poll())

    def test_many_launches_at_the_same_moment_leave_one_converter(self):
        meetings = [self.meeting() for _ in range(4)]
        sources = [self.recording(f"{index}.mkv") for index in range(4)]
        launched = [self.launch("-pid", str(meeting.pid), "-path", source)
                    for meeting, source in zip(meetings, sources)]
        for meeting in meetings:
            self.line.wait_confirmed(meeting.pid)
        converter = [process for process in launched if process.pid == self.line.converter_pid()][0]
        for process in launched:
            if process is not converter:
                self.assertEqual(self.wait_ended(process, 20), 0)
        for meeting in meetings:
            meeting.die()
        for index, source in enumerate(sources):
            self.wait_converted(source, self.path(f"{index}.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), [f"{index}.mp4" for index in range(4)])

    def test_takes_over_from_a_converter_that_is_quitting(self):
        old = self.launch()
        self.line.wait_confirmed(0)
        # Stopped with the request to end already received: the second launch finds the name taken.
        old.send_signal(signal.SIGSTOP)
        old.send_signal(signal.SIGTERM)
        meeting = self.meeting()
        source = self.recording()
        new = self.launch("-pid", str(meeting.pid), "-path", source)
        self.line.wait(lambda: [n for n in self.line.heard if n.name == bus.STARTED], 20, "the hand-over")
        old.send_signal(signal.SIGCONT)
        self.wait_ended(old, 20)
        self.line.wait(lambda: self.line.converter_runs() and self.line.converter_pid() == new.pid, 20,
                       "the second launch takes over")
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(new), 0)

    def test_takes_over_from_a_converter_that_is_killed(self):
        old = self.launch()
        self.line.wait_confirmed(0)
        old.send_signal(signal.SIGSTOP)
        meeting = self.meeting()
        source = self.recording()
        new = self.launch("-pid", str(meeting.pid), "-path", source)
        self.line.wait(lambda: [n for n in self.line.heard if n.name == bus.STARTED], 20, "the hand-over")
        old.kill()
        self.line.wait_confirmed(meeting.pid)
        self.assertEqual(self.line.converter_pid(), new.pid)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))

    def test_during_a_conversion_waits_its_turn(self):
        first, second = self.meeting(), self.meeting()
        slow = recordings.make_slow(self.path("slow.avi"))
        quick = self.recording("quick.mkv")
        self.launch_for(first, slow)
        first.die()
        processes.wait_until(self.worker, 20, "a worker")
        late = self.launch("-pid", str(second.pid), "-path", quick)
        self.assertEqual(self.wait_ended(late, 20), 0)
        self.assertTrue(os.path.exists(slow), "the slow conversion is still under way")
        second.die()
        self.wait_converted(slow, self.path("slow.mp4"), 120)
        self.wait_converted(quick, self.path("quick.mp4"))


if __name__ == "__main__":
    world.main()
