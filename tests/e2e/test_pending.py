"""Recordings are not forgotten whose converter was killed, terminated or crashed before their result was known."""

import os
import subprocess

import bus
import processes
import recordings
import world


class _Pending(world.World):
    def pending(self):
        """The names of the entries in the state folder."""
        folder = os.path.join(self.environment["XDG_STATE_HOME"], "record-converter", "pending")
        files = os.listdir(folder) if os.path.isdir(folder) else []
        # Newer content that has not been synced is in a hidden file beside its entry.
        return sorted({name.lstrip(".").removesuffix(".new") for name in files})

    def kill(self, converter):
        converter.kill()
        converter.wait()
        self.line.wait(lambda: not self.line.converter_runs(), 20, "the name is free")

    def slow_conversion_under_way(self):
        meeting = self.meeting()
        source = recordings.make_slow(self.path("slow.avi"))
        converter = self.launch_for(meeting, source)
        meeting.die()
        processes.wait_until(self.worker, 20, "a worker")
        return converter, source

    def kill_the_next_start_in_the_middle(self):
        processes.wait_until(lambda: not self.worker(), 20, "the last worker is gone")
        converter = self.launch()
        processes.wait_until(self.worker, 20, "a worker")
        self.kill(converter)


class KilledConverter(_Pending):
    def test_the_next_start_converts_what_it_left_and_forgets_it(self):
        meeting = self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        converter = self.launch_for(meeting, one)
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, two)
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        self.kill(converter)
        self.assertEqual(len(self.pending()), 2)
        meeting.die()
        converter = self.launch()
        self.wait_converted(one, self.path("one.mp4"))
        self.wait_converted(two, self.path("two.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "two.mp4"])
        self.assertEqual(self.pending(), [])

    def test_the_next_start_waits_for_a_meeting_that_lives(self):
        meeting = self.meeting()
        source = self.recording()
        self.kill(self.launch_for(meeting, source))
        converter = self.launch()
        self.wait_watched(converter, meeting)
        self.assertEqual(self.files(), ["talk.mkv"])
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, self.recording("next.mkv"))
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.wait_converted(self.path("next.mkv"), self.path("next.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.pending(), [])

    def test_a_client_that_launches_another_gets_both_recordings(self):
        meeting = self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        self.kill(self.launch_for(meeting, one))
        converter = self.launch_for(meeting, two)
        meeting.die()
        self.wait_converted(one, self.path("one.mp4"))
        self.wait_converted(two, self.path("two.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "two.mp4"])

    def test_the_recording_is_kept_and_told_of_in_its_language(self):
        server = self.line.play_notification_server()
        meeting = self.meeting()
        self.kill(self._launched_in_german(meeting))
        meeting.die()
        converter = self.launch()
        self.wait_for(lambda: len(server.shown) > 1, 40, "two notifications")
        server.close_all()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["talk.mkv", "talk.mp4"])
        self.assertIn("gespeichert", server.shown[1].text)

    def _launched_in_german(self, meeting):
        converter = self.launch("-pid", str(meeting.pid), "-path", self.recording(), "-locale", "9",
                                "-keepsIntermediateFile", "1")
        self.line.wait_confirmed(meeting.pid)
        return converter

    def test_what_crashes_the_converter_twice_is_left_for_the_hand(self):
        converter, source = self.slow_conversion_under_way()
        self.kill(converter)
        self.kill_the_next_start_in_the_middle()
        converter = self.launch()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertIn("convert-recording --pending", self.log_text())
        self.assertEqual(self.files(), ["slow.avi"])
        self.assertEqual(len(self.pending()), 1)
        result = subprocess.run([self.program("convert-recording"), "--pending"], env=self.environment,
                                stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=120, check=False)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn(source, result.stdout)
        self.assertEqual(self.files(), ["slow.mp4"])
        self.assertEqual(self.pending(), [])


class TerminatedConverter(_Pending):
    def test_names_what_is_left_and_the_next_start_converts_it(self):
        converter, source = self.slow_conversion_under_way()
        for _ in range(3):
            self.terminate(converter)
            self.assertIn(f"left for the next start of the record converter: {source}", self.log_text())
            processes.wait_until(lambda: not self.worker(), 20, "the worker is gone")
            converter = self.launch()
            processes.wait_until(self.worker, 20, "a worker")
        self.wait_converted(source, self.path("slow.mp4"), 120)


class OneMeetingManyLaunches(_Pending):
    def test_each_launch_hands_its_file_over(self):
        meeting = self.meeting()
        one = self.recording("one.mkv")
        converter = self.launch_for(meeting, one)
        for name in ("two.mkv", "three.mkv"):
            self.recording(name)
            late = self.launch("-pid", str(meeting.pid), "-path", name, folder=self.folder)
            self.assertEqual(self.wait_ended(late, 20), 0)
        meeting.die()
        for name in ("one", "two", "three"):
            self.wait_converted(self.path(name + ".mkv"), self.path(name + ".mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "three.mp4", "two.mp4"])
        self.assertNotIn("convert error", self.log_text())

    def test_the_file_being_written_by_another_name_changes_nothing(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        for path in ("talk.mkv", "./talk.mkv", source):
            late = self.launch("-pid", str(meeting.pid), "-path", path, folder=self.folder)
            self.assertEqual(self.wait_ended(late, 20), 0)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["talk.mp4"])
        self.assertNotIn("convert error", self.log_text())
        self.assertEqual(self.pending(), [])

    def test_a_launch_that_keeps_its_file_keeps_that_one_alone(self):
        first, second = self.meeting(), self.meeting()
        converter = self.launch_for(first, self.recording("one.mkv"))
        late = self.launch("-pid", str(second.pid), "-path", self.recording("two.mkv"), "-keepsIntermediateFile", "1")
        self.assertEqual(self.wait_ended(late, 20), 0)
        second.die()
        first.die()
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "two.mkv", "two.mp4"])


if __name__ == "__main__":
    world.main()
