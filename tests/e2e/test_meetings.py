"""Meetings from their start to the MP4."""

import os
import re

from gi.repository import GLib

import bus
import recordings
import world


class Meetings(world.World):
    def test_launched_by_a_meeting_that_dies_in_the_middle(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "2", "--crash")
        self.assertIn("confirms its start", result.stdout)
        converter = self.running_converter()
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        recordings.check_mp4(self, self.path("talk.mp4"), seconds=2.3, tolerance=0.8)
        self.assertTrue(converter.ends_within(world.BUBBLE_DEADLINE), "the converter quits by itself")
        self.assertEqual(self.files(), ["talk.mp4"])

    def test_two_recordings_then_quit(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "1", "--recordings", "2")
        self.assertEqual(result.returncode, 0, result.stdout)
        converter = self.running_converter()
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.wait_converted(self.path("talk-2.mkv"), self.path("talk-2.mp4"))
        self.assertTrue(converter.ends_within(world.BUBBLE_DEADLINE), "the converter quits by itself")
        self.assertEqual(self.files(), ["talk-2.mp4", "talk.mp4"])
        answers = [n.info[bus.ACK_NAME] for n in self.line.heard if n.name == bus.ACK]
        self.assertEqual(answers, [bus.STOPPED, bus.STARTED, bus.STOPPED, bus.QUIT])

    def test_death_without_a_word(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        recordings.check_mp4(self, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)

    def test_the_icon_and_the_taskbar_say_how_far_a_long_conversion_is(self):
        meeting = self.meeting()
        slow, two = recordings.make_slow(self.path("slow.avi"), 60), self.recording("two.mkv")
        updates = self.line.record_signals("com.canonical.Unity.LauncherEntry", "Update")
        converter = self.launch_for(meeting, slow)
        self.assertEqual(self.line.tool_tip(converter.pid), "")
        self.line.stopped(meeting.pid)
        self.line.started(meeting.pid, two)
        self.line.wait_acknowledged(meeting.pid, bus.STARTED)
        meeting.die()
        self.line.wait(lambda: re.fullmatch(r"slow\.avi: [1-9]\d?%\ntwo\.mkv", self.line.tool_tip(converter.pid)), 30,
                       "the icon says it")
        application, details = self.line.wait(lambda: updates, 60, "the taskbar shows it")[0]
        self.assertEqual(application, "application://org.recordconverter.RecordConverter.desktop")
        self.assertTrue(details["progress-visible"])
        self.assertTrue(0 < details["progress"] < 1, details)
        self.terminate(converter)

    def test_nothing_is_converted_before_the_meeting_is_over(self):
        meeting = self.meeting()
        source = self.recording()
        self.launch_for(meeting, source)
        self.line.stopped(meeting.pid)
        self.line.wait_acknowledged(meeting.pid, bus.STOPPED)
        # The acknowledgement of a later notification means that the stop has been handled.
        self.line.stopped(meeting.pid)
        self.line.wait_acknowledged(meeting.pid, bus.STOPPED, times=2)
        self.assertEqual(self.files(), ["talk.mkv"])
        self.line.quit(meeting.pid)
        self.line.wait_acknowledged(meeting.pid, bus.QUIT)
        self.wait_converted(source, self.path("talk.mp4"))

    def test_two_meetings_at_once(self):
        first, second = self.meeting(), self.meeting()
        one, two, three = self.recording("one.mkv"), self.recording("two.mkv"), self.recording("three.mkv")
        converter = self.launch_for(first, one)
        self.line.started(second.pid, two)
        self.line.wait_acknowledged(second.pid, bus.STARTED)
        first.die()
        self.wait_converted(one, self.path("one.mp4"))
        self.assertTrue(os.path.exists(two), "the other meeting still goes on")
        self.line.stopped(second.pid)
        self.line.started(second.pid, three)
        self.line.quit(second.pid)
        self.wait_converted(two, self.path("two.mp4"))
        self.wait_converted(three, self.path("three.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "three.mp4", "two.mp4"])

    def test_a_start_while_another_file_is_being_written_is_refused(self):
        meeting = self.meeting()
        one, two = self.recording("one.mkv"), self.recording("two.mkv")
        converter = self.launch_for(meeting, one)
        self.line.started(meeting.pid, two)
        self.line.quit(meeting.pid)
        self.wait_converted(one, self.path("one.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["one.mp4", "two.mkv"])

    def test_an_existing_file_is_never_replaced(self):
        meeting = self.meeting()
        source = self.recording()
        with open(self.path("talk.mp4"), "wb") as file:
            file.write(b"mine")
        os.mkdir(self.path("talk(1).mp4"))
        self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, self.path("talk(2).mp4"))
        with open(self.path("talk.mp4"), "rb") as file:
            self.assertEqual(file.read(), b"mine")

    def test_odd_names(self):
        meeting = self.meeting()
        names = ["a b%20c.mkv", "übung – 会議.mkv", "-x.mkv", "new\nline.mkv", "talk.mp4.tmp", "no extension"]
        self.launch_for(meeting)
        for name in names:
            self.line.started(meeting.pid, self.recording(name))
            self.line.stopped(meeting.pid)
        self.line.wait_acknowledged(meeting.pid, bus.STOPPED, times=len(names))
        meeting.die()
        for name, result in zip(names, ["a b%20c.mp4", "übung – 会議.mp4", "-x.mp4", "new\nline.mp4", "talk.mp4",
                                        "no extension.mp4"]):
            self.wait_converted(self.path(name), self.path(result))
            recordings.check_mp4(self, "file:" + self.path(result))

    def test_a_name_that_is_not_utf8(self):
        meeting = self.meeting()
        folder = os.fsencode(self.folder)
        source = recordings.make(folder + b"/\xff\xfe.mkv")
        self.launch_for(meeting)
        self.line.started(meeting.pid, source)
        self.line.quit(meeting.pid)
        self.wait_converted(source, folder + b"/\xff\xfe.mp4")

    def test_the_launch_takes_a_name_that_is_not_utf8(self):
        meeting = self.meeting()
        folder = os.fsencode(self.folder)
        source = recordings.make(folder + b"/\xff\xfe.mkv")
        self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, folder + b"/\xff\xfe.mp4")

    def test_leaves_nothing_but_its_setting(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        left = []
        for name in ("home", "config", "run", "state", "cache", "data", "tmp", "recordings"):
            for folder, _, files in os.walk(os.path.join(self.root, name)):
                left += [os.path.relpath(os.path.join(folder, file), self.root) for file in files]
        self.assertEqual(sorted(left), ["config/record-converter/record-converter.conf", "recordings/talk.mp4"])


class Acknowledgements(world.World):
    def test_the_id_goes_back_with_the_type_that_came(self):
        self.launch()
        self.line.wait_confirmed(0)
        values = [GLib.Variant(kind, 77) for kind in "iuxtnqy"] + [GLib.Variant("d", 77.0), GLib.Variant("s", "77")]
        for value in values:
            self.line.post(bus.QUIT, {bus.PID: value})
        answers = self.line.wait(lambda: [n for n in self.line.heard if n.name == bus.ACK][len(values) - 1:] and
                                 [n for n in self.line.heard if n.name == bus.ACK], 20, "all answers")
        self.assertEqual([(n.types[bus.ACK_TO], n.info[bus.ACK_TO]) for n in answers],
                         [(value.get_type_string(), value.unpack()) for value in values])
        self.assertEqual({(n.types[bus.ACK_FROM], n.types[bus.ACK_NAME], len(n.info)) for n in answers},
                         {("i", "s", 3)})

    def test_any_object_is_heard(self):
        converter = self.launch()
        self.line.wait_confirmed(0)
        self.line.post(bus.QUIT, {bus.PID: GLib.Variant("i", 5)}, "some object")
        answer = self.line.wait_acknowledged(5, bus.QUIT)[0]
        self.assertEqual((answer.object, answer.info[bus.ACK_FROM]), ("", converter.pid))

    def test_without_an_id_nothing_is_acknowledged(self):
        self.launch()
        self.line.wait_confirmed(0)
        self.line.post(bus.STOPPED)
        self.line.post(bus.STOPPED, {"other": GLib.Variant("i", 5)})
        self.line.quit(6)
        self.line.wait_acknowledged(6, bus.QUIT)
        self.assertEqual(len([n for n in self.line.heard if n.name == bus.ACK]), 1)

    def test_the_start_is_confirmed_even_to_nobody(self):
        converter = self.launch()
        confirmation = self.line.wait_confirmed(0)
        self.assertEqual(confirmation.info, {bus.ACK_FROM: converter.pid, bus.ACK_TO: 0})
        self.assertEqual(confirmation.types, {bus.ACK_FROM: "i", bus.ACK_TO: "i"})
        self.assertEqual(self.line.converter_pid(), converter.pid)


class KeepFlag(world.World):
    def _ends_with(self, value):
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.recording(), "-keepsIntermediateFile", value)
        meeting.die()
        self.assertEqual(self.wait_ended(converter), 0)
        recordings.check_mp4(self, self.path("talk.mp4"))
        return self.files()

    def test_1_keeps(self):
        self.assertEqual(self._ends_with("1"), ["talk.mkv", "talk.mp4"])

    def test_0_does_not_keep(self):
        self.assertEqual(self._ends_with("0"), ["talk.mp4"])

    def test_256_does_not_keep(self):
        self.assertEqual(self._ends_with("256"), ["talk.mp4"])

    def test_257_keeps(self):
        self.assertEqual(self._ends_with("257"), ["talk.mkv", "talk.mp4"])


if __name__ == "__main__":
    world.main()
