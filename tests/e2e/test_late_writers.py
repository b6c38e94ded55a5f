"""Recordings that change during their conversion, and workers that fail to do their work."""

import os
import subprocess
import sys

import recordings
import world

_FLUSHER = """
import sys, time
path, source = sys.argv[1:]
content = open(source, "rb").read()
with open(path, "ab") as file:
    print("open", flush=True)
    time.sleep(3)
    file.write(content[len(content) // 2:])
"""


class LateWriters(world.World):
    def test_a_helper_of_the_dead_client_may_finish_the_file(self):
        whole = recordings.make(os.path.join(self.root, "whole.mkv"))
        with open(whole, "rb") as file, open(self.path("talk.mkv"), "wb") as half:
            half.write(file.read(os.path.getsize(whole) // 2))
        helper = subprocess.Popen([sys.executable, "-c", _FLUSHER, self.path("talk.mkv"), whole],
                                  stdout=subprocess.PIPE)
        self.addCleanup(helper.wait)
        self.addCleanup(helper.stdout.close)
        helper.stdout.readline()
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.path("talk.mkv"))
        meeting.die()
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.assertEqual(self.wait_ended(converter), 0)
        recordings.check_mp4(self, self.path("talk.mp4"))
        self.assertEqual(self.files(), ["talk.mp4"])
        self.assertIn(f"written by process {helper.pid} (", self.log_text())

    def test_the_converter_can_be_ended_while_it_waits(self):
        meeting = self.meeting()
        with open(self.recording(), "ab"):
            converter = self.launch_for(meeting, self.path("talk.mkv"))
            meeting.die()
            self.wait_for(lambda: "the conversion waits" in self.log_text(), 20, "the conversion waits")
            self.terminate(converter)
        self.assertEqual(self.files(), ["talk.mkv"])


class MisbehavingWorkers(world.World):
    def _convert_with(self, worker):
        program = os.path.join(self.own_application_folder(), "libexec", "mediaconverter-worker")
        os.remove(program)
        with open(program, "w", encoding="utf-8") as file:
            file.write("#!/bin/sh\n" + worker + "\n")
        os.chmod(program, 0o755)
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.recording())
        meeting.die()
        return converter

    def test_one_that_stops_in_the_middle_of_a_message_does_not_hold_the_application(self):
        converter = self._convert_with(f"touch '{self.root}/started'; printf half >&5; exec sleep 300")
        self.wait_for(lambda: os.path.exists(os.path.join(self.root, "started")), 20, "the worker runs")
        self.terminate(converter)
        self.assertEqual(self.files(), ["talk.mkv"])

    def test_one_that_calls_a_text_its_result_is_not_believed(self):
        converter = self._convert_with("echo 'your recording' >&4; printf '\\004\\000\\000\\000' >&5; "
                                       "head -c 508 /dev/zero >&5")
        self.assertEqual(self.wait_ended(converter), 0)
        self.assertEqual(self.files(), ["talk.mkv"])
        self.assertIn("convert error 62", self.log_text())


if __name__ == "__main__":
    world.main()
