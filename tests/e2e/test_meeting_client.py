"""The command-line meeting client, on a bus where no converter runs."""

import json
import os
import signal
import subprocess

from gi.repository import GLib

import bus
import processes
import recordings
import world


class MeetingClient(world.World):
    def test_says_that_no_acknowledgement_comes(self):
        result = self.client("stopped", "--pid", "4711", "--wait", "0.3")
        self.assertEqual(result.returncode, 3)
        self.assertIn("no acknowledgement", result.stderr)

    def test_posts_the_three_notifications_with_their_types(self):
        for command in (["started", "--path", "talk.mkv"], ["stopped"], ["quit"]):
            self.assertEqual(self.client(*command, "--pid", "4711", "--wait", "0").returncode, 0)
        self.line.wait(lambda: len(self.line.heard) == 3, 10, "three notifications")
        self.assertEqual([heard.name for heard in self.line.heard], [bus.STARTED, bus.STOPPED, bus.QUIT])
        self.assertEqual(self.line.heard[0].info, {bus.PID: 4711, bus.FILE: self.path("talk.mkv")})
        self.assertEqual(self.line.heard[0].types, {bus.PID: "i", bus.FILE: "s"})
        self.assertEqual(self.line.heard[1].info, {bus.PID: 4711})

    def test_sends_a_path_that_is_not_utf8_as_bytes(self):
        path = os.fsencode(self.folder) + b"/\xff\xfe talk.mkv"
        subprocess.run([self.program("meeting-client"), "started", "--pid", "1", "--path", path, "--wait", "0"],
                       env=self.environment, check=True)
        self.line.wait(lambda: self.line.heard, 10, "a notification")
        self.assertEqual(self.line.heard[0].types[bus.FILE], "ay")
        self.assertEqual(bytes(self.line.heard[0].info[bus.FILE]), path)

    def test_takes_an_acknowledgement_addressed_to_its_process_only(self):
        client = subprocess.Popen([self.program("meeting-client"), "quit", "--pid", "4711"], env=self.environment,
                                  stdout=subprocess.PIPE, text=True)
        self.addCleanup(client.stdout.close)
        self.line.wait(lambda: self.line.heard, 10, "the quit notification")
        for to in (4712, 4711):
            self.line.post(bus.ACK, {bus.ACK_NAME: GLib.Variant("s", bus.QUIT),
                                     bus.ACK_FROM: GLib.Variant("i", to + 100), bus.ACK_TO: GLib.Variant("i", to)})
        self.assertEqual(client.wait(10), 0)
        self.assertEqual(client.stdout.read(), "acknowledged by converter 4811\n")

    def test_watch_prints_types_as_json(self):
        watch = self._watch("--json", "--count", "1")
        self.line.post("name", {"a": GLib.Variant("x", -5), "b": GLib.Variant("t", 2**64 - 1),
                                "c": GLib.Variant("b", True), "d": GLib.Variant("ay", b"\xff")}, "object")
        output, _ = watch.communicate(timeout=10)
        self.assertEqual(json.loads(output), {"name": "name", "object": "object", "userInfo": {
            "a": {"type": "x", "value": -5}, "b": {"type": "t", "value": "18446744073709551615"},
            "c": {"type": "b", "value": True}, "d": {"type": "ay", "value": [255]}}})
        self.assertEqual(watch.returncode, 0)

    def test_watch_keeps_a_notification_in_one_line(self):
        watch = self._watch("--count", "2")
        self.line.post("one", {"path": GLib.Variant("s", "/a\nb\"c")})
        self.line.post("two")
        output, _ = watch.communicate(timeout=10)
        self.assertEqual(output, 'one path=s:"/a\\nb\\"c"\ntwo\n')

    def test_watch_tells_when_its_count_is_not_reached(self):
        watch = self._watch("--count", "1", "--timeout", "0.2")
        self.assertEqual(watch.wait(10), 5)
        self.assertEqual(self.client("watch", "--timeout", "0.2").returncode, 0)

    def test_refuses_a_wrong_command_line(self):
        for arguments in ([], ["bogus"], ["quit"], ["started", "--pid", "1"], ["quit", "--pid", "x"]):
            self.assertEqual(self.client(*arguments).returncode, 2, arguments)

    def test_helps(self):
        self.assertRegex(self.client("--version").stdout, r"^meeting-client \d+\.\d+\.\d+\n$")
        for arguments in (["--help"], ["record", "--help"], ["watch", "--help"]):
            result = self.client(*arguments)
            self.assertEqual((result.returncode, result.stderr), (0, ""))
            self.assertIn("Usage:", result.stdout)

    def test_record_makes_a_recording_in_real_time(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "1", "--converter", "/bin/true",
                             "--wait", "0.2")
        self.assertEqual(result.returncode, 3, "nobody has answered")
        found = recordings.probe(self.path("talk.mkv"))
        self.assertEqual(sorted(stream["codec_name"] for stream in found["streams"]), ["aac", "h264"])
        self.assertGreater(float(found["format"]["duration"]), 0.9)

    def test_record_passes_the_launch_options(self):
        converter = self.path("converter")
        with open(converter, "w", encoding="utf-8") as script:
            script.write("#!/bin/sh\nfor argument; do printf '%s\\n' \"$argument\"; done >>arguments\n")
        os.chmod(converter, 0o755)
        result = self.client("record", "--out", "talk.mkv", "--seconds", "0.2", "--wait", "0.2", "--keep", "1",
                             "--locale", "9", "--pname", "my meeting", "--converter", converter)
        arguments = processes.wait_until(lambda: os.path.exists(self.path("arguments")) and
                                         self._lines("arguments"), 10, "the converter is launched")
        pid = result.stdout.split("(process ")[1].split(")")[0]
        self.assertEqual(arguments[:10], ["-pid", pid, "-pname", "my meeting", "-locale", "9", "-path",
                                          self.path("talk.mkv"), "-keepsIntermediateFile", "1"])

    def test_record_does_not_touch_an_existing_file(self):
        self.recording("talk.mkv")
        before = os.stat(self.path("talk.mkv"))
        result = self.client("record", "--out", "talk.mkv", "--converter", "/bin/true")
        self.assertEqual(result.returncode, 1)
        self.assertEqual(os.stat(self.path("talk.mkv")).st_mtime_ns, before.st_mtime_ns)

    def test_record_says_that_the_converter_can_not_be_started(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "0.2", "--converter", self.path("none"))
        self.assertEqual(result.returncode, 1)
        self.assertIn("can't be started", result.stdout)

    def test_crash_is_a_real_death_in_the_middle_of_a_file(self):
        result = self.client("record", "--out", "talk.mkv", "--seconds", "1", "--converter", "/bin/true",
                             "--wait", "0.2", "--crash")
        self.assertEqual(result.returncode, -signal.SIGKILL)
        found = recordings.probe(self.path("talk.mkv"))
        self.assertNotIn("duration", found["format"], "the file has no index: it was broken off")
        self.assertGreater(int(found["streams"][0]["nb_read_packets"]), 10)

    def _watch(self, *arguments):
        watch = subprocess.Popen([self.program("meeting-client"), "watch", *arguments], env=self.environment,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(watch.stdout.close)
        self.addCleanup(watch.stderr.close)
        self.assertEqual(watch.stderr.readline(), "meeting-client: watching\n")
        return watch

    def _lines(self, name):
        with open(self.path(name), encoding="utf-8") as file:
            return file.read().splitlines()


class MeetingClientWithoutBus(world.World):
    with_bus = False

    def test_says_that_there_is_no_bus(self):
        for arguments in (["quit", "--pid", "1"], ["watch"]):
            result = self.client(*arguments)
            self.assertEqual(result.returncode, 4)
            self.assertIn("no session bus", result.stderr)


if __name__ == "__main__":
    world.main()
