"""The trace plug-in that ships: a whole meeting in its file."""

import glob
import os
import re
import shutil
import stat
import subprocess

import bus
import world

PLUG_IN = os.path.join(os.environ.get("RECORD_CONVERTER_BUILD", ""), "plugins", "ktrtrace.bundle")
LINE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}[+-]\d\d:\d\d (?P<level>debug|info|warning|error) +"
                  r"(?P<process>\d+) (?P<thread>\S+) (?P<module>\w+): (?P<text>.*)")


class TracePlugIn(world.World):
    def setUp(self):
        super().setUp()
        self.own_application_folder()
        shutil.copy(PLUG_IN, os.path.join(self.application, "PlugIns"))
        self.traces = os.path.join(self.environment["XDG_STATE_HOME"], "record-converter")

    def lines(self, name="trace.log"):
        """Every line of the file, split into its parts; each must be complete."""
        try:
            with open(os.path.join(self.traces, name), encoding="utf-8") as file:
                raw = file.read().split("\n")
        except FileNotFoundError:
            return []
        found = [LINE.fullmatch(line) for line in raw[:-1]]
        self.assertNotIn(None, found, raw)
        return found

    def holds(self, text, name="trace.log"):
        return any(text in line["text"] for line in self.lines(name))

    def _meeting_that_dies(self, path):
        meeting = self.meeting()
        converter = self.launch_for(meeting, path)
        meeting.die()
        return converter

    def test_holds_a_whole_meeting(self):
        meeting = self.meeting()
        source = self.recording()
        converter = self.launch_for(meeting, source)
        self.line.stopped(meeting.pid)
        self.line.quit(meeting.pid)
        self.assertEqual(self.wait_ended(converter), 0)
        lines = self.lines()
        self.assertEqual({line["process"] for line in lines}, {str(converter.pid)})
        self.assertEqual({(line["level"], line["module"]) for line in lines[1:]}, {("info", "RecordConverter")})
        self.assertIn(f"the trace of {self.program('record-converter')} begins, level info", lines[0]["text"])
        # The trace contains the meeting in this order, on the right threads.
        expected = [("main", "[App setAppLocale:]: (1)"),
                    ("main", f"FIRST file in FIRST meeting, {source}"),
                    ("main", bus.STOPPED), ("main", bus.QUIT),
                    ("main", f"scheduleJob:]: src_pid = {meeting.pid}, src_path = {source}"),
                    ("ktrmp4recording", "cvt_progress = 100.00%"),
                    ("main", f"showConvertSucceedBubbleWithFilePath:] : {self.path('talk.mp4')}"),
                    ("main", "-[AppDelegate applicationWillTerminate:]: end")]
        at = 0
        for thread, text in expected:
            at = next((index for index in range(at, len(lines))
                       if lines[index]["thread"] == thread and text in lines[index]["text"]), None)
            self.assertIsNotNone(at, f"{thread}: {text}")
        self.assertEqual([line["thread"] for line in lines if "cvt_progress" in line["text"]].count("main"), 0)

    def test_the_level_is_respected(self):
        self.environment["KTRTRACE_LEVEL"] = "error"
        self._meeting_that_dies(self.path("missing.mkv"))
        self.line.wait(lambda: self.holds("error = 10"), 30, "the error in the trace")
        begin, error = self.lines()
        self.assertIn("begins, level error", begin["text"])
        self.assertEqual((error["level"], error["thread"]), ("error", "ktrmp4recording"))

    def test_level_off_leaves_nothing_behind(self):
        self.environment["KTRTRACE_LEVEL"] = "off"
        self.launch()
        self.line.wait_confirmed(0)
        self.assertFalse(os.path.exists(self.traces))

    def test_is_private(self):
        os.umask(0)
        self.addCleanup(os.umask, 0o022)
        self.launch()
        self.line.wait_confirmed(0)
        self.assertEqual(stat.S_IMODE(os.stat(self.traces).st_mode), 0o700)
        files = [path for path in glob.glob(self.traces + "/*") + glob.glob(self.traces + "/.*")]
        self.assertEqual({stat.S_IMODE(os.stat(path).st_mode) for path in files if os.path.isfile(path)}, {0o600})

    def test_a_second_launch_has_a_file_of_its_own(self):
        first = self.launch()
        self.line.wait_confirmed(0)
        second = self.launch("-pid", str(self.meeting().pid), "-locale", "9")
        self.assertEqual(self.wait_ended(second), 0)
        self.assertEqual({line["process"] for line in self.lines()}, {str(first.pid)})
        self.assertEqual({line["process"] for line in self.lines("trace-2.log")}, {str(second.pid)})
        self.assertTrue(self.holds("[App setAppLocale:]: (9)", "trace-2.log"))

    def test_a_folder_that_can_not_be_made_harms_nothing(self):
        self.environment["XDG_STATE_HOME"] = "/dev/null"
        source = self.recording()
        self._meeting_that_dies(source)
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertIn("ktrtrace: no trace in /dev/null/record-converter", self.log_text())

    def test_a_full_disk_harms_nothing(self):
        # A disk of 16 KiB, which the start-up nearly fills.
        os.mkdir(self.traces, 0o700)
        made = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16k,mode=700", "trace", self.traces],
                              stderr=subprocess.PIPE, check=False)
        if made.returncode != 0:
            self.skipTest(f"a small disk can't be mounted here: {made.stderr.decode().strip()}")
        self.addCleanup(subprocess.run, ["umount", "--lazy", self.traces], check=True)
        with open(os.path.join(self.traces, "filling"), "wb") as file:
            file.write(bytes(12288))  # the state folder would otherwise return its room in the end
        source = self.recording()
        converter = self._meeting_that_dies(source)
        self.wait_converted(source, self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertFalse(self.holds("applicationWillTerminate"), "the disk was not full")

    def test_stays_out_of_the_application_folder(self):
        self.assertFalse(os.path.exists(os.path.join(world.APPLICATION_FOLDER, "PlugIns", "ktrtrace.bundle")))


if __name__ == "__main__":
    world.main()
