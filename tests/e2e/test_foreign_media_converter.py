"""Any library with the same interface can replace the media converter."""

import os

import bus
import processes
import world


class ForeignMediaConverter(world.World):
    def _meeting_with(self, how, name="talk.mkv"):
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = how
        meeting = self.meeting()
        with open(self.path(name), "wb") as file:
            file.write(b"as it came")
        converter = self.launch_for(meeting, self.path(name))
        meeting.die()
        return converter

    def _check_copied(self, converter):
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        with open(self.path("talk.mp4"), "rb") as file:
            self.assertEqual(file.read(), b"as it came")

    def test_that_converts_on_the_calling_thread(self):
        self._check_copied(self._meeting_with("copy"))

    def test_that_calls_back_from_another_thread(self):
        self._check_copied(self._meeting_with("thread"))

    def test_that_ends_each_job_twice_is_not_released_in_the_next_one(self):
        late = self.meeting()
        converter = self._meeting_with("twice")
        path = self.path("late.mkv")
        with open(path, "wb") as file:
            file.write(b"late")
        self.line.started(late.pid, path)
        self.line.wait_acknowledged(late.pid, bus.STARTED)
        late.die()
        self.wait_converted(path, self.path("late.mp4"))
        self._check_copied(converter)

    def test_that_fails_with_code_7(self):
        converter = self._meeting_with("error 7")
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertIn("convert error 7", self.log_text())
        self.assertEqual(self.files(), ["talk.mkv"])

    def test_that_fails_with_code_0_shows_nothing(self):
        converter = self._meeting_with("error 0")
        # No result bubble delays it, so it ends at the quit check's second tick at the latest.
        self.assertEqual(self.wait_ended(converter, 12), 0)
        self.assertNotIn("convert error", self.log_text())
        self.assertEqual(self.files(), ["talk.mkv"])

    def test_that_can_not_be_created_leaves_the_job_waiting_for_ever(self):
        converter = self._meeting_with("none")
        late = self.meeting()
        with open(self.path("late.mkv"), "wb") as file:
            file.write(b"late")
        self.line.started(late.pid, self.path("late.mkv"))
        self.line.quit(late.pid)
        self.line.wait_acknowledged(late.pid, bus.QUIT)
        watched = processes.Watched(converter.pid)
        self.converters.append(watched)
        self.assertFalse(watched.ends_within(4), "the quit check has not begun")
        self.assertEqual(self.files(), ["late.mkv", "talk.mkv"])
        self.assertEqual(self.terminate(converter), 0)


if __name__ == "__main__":
    world.main()
