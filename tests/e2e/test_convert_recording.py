"""Leftover recordings, converted by hand."""

import json
import os
import subprocess

import recordings
import world


class ConvertRecording(world.World):
    with_bus = False

    def convert(self, *arguments):
        return subprocess.run([self.program("convert-recording"), *arguments], env=self.environment, cwd=self.folder,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=90, check=False)

    def test_converts_each_file_and_removes_it(self):
        self.recording("one.mkv")
        self.recording("two.mkv")
        result = self.convert("one.mkv", "two.mkv")
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(result.stdout.decode().splitlines(),
                         [f"{self.path(name)}.mkv -> {self.path(name)}.mp4" for name in ("one", "two")])
        self.assertEqual(self.files(), ["one.mp4", "two.mp4"])
        recordings.check_mp4(self, self.path("two.mp4"))

    def test_keeps_what_is_to_be_kept(self):
        self.recording()
        self.assertEqual(self.convert("--keep", "talk.mkv").returncode, 0)
        self.assertEqual(self.files(), ["talk.mkv", "talk.mp4"])

    def test_says_what_is_wrong_and_goes_on(self):
        self.recording()
        result = self.convert("missing.mkv", "talk.mkv")
        self.assertEqual(result.returncode, 1)
        # Once, and not a second time by the media converter itself.
        self.assertRegex(result.stderr.decode(), r"^/\S*/missing\.mkv: [^\n]+ \(error 10\)\n$")
        self.assertEqual(self.files(), ["talk.mp4"])

    def test_leaves_a_file_alone_that_somebody_writes(self):
        with open(self.recording(), "ab"):
            result = self.convert("talk.mkv")
            self.assertEqual(result.returncode, 3)
            self.assertIn(f"process {os.getpid()} is still writing it", result.stderr.decode())
            self.assertEqual(self.files(), ["talk.mkv"])
            # After half a minute in which nothing has come; what comes later has a name of its own.
            self.assertEqual(self.convert("--force", "talk.mkv").returncode, 0)
        self.assertEqual(self.files(), ["talk (damaged).mkv", "talk.mp4"])

    def test_a_reader_does_not_matter(self):
        with open(self.recording(), "rb"):
            self.assertEqual(self.convert("talk.mkv").returncode, 0)

    def test_speaks_json(self):
        odd = os.fsencode(self.folder) + b"/\xff \"a\"\n.mkv"
        recordings.make(odd)
        result = self.convert("--json", odd, "missing.mkv")
        self.assertEqual(result.returncode, 1)
        converted, failed = (json.loads(line) for line in result.stdout.decode().splitlines())
        self.assertEqual(os.fsencode(converted["source"]), odd)
        self.assertEqual(os.fsencode(converted["destination"]), odd.replace(b".mkv", b".mp4"))
        self.assertEqual((converted["status"], failed["status"], failed["error"]), ("converted", "failed", 10))

    def test_shows_a_bar_on_a_terminal(self):
        self.recording()
        result = subprocess.run(["script", "-qec", f"{self.program('convert-recording')} talk.mkv", "/dev/null"],
                                env=self.environment, cwd=self.folder, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, check=True)
        self.assertIn(b"] 100 %", result.stdout)

    def test_says_a_failure_once_on_a_terminal(self):
        result = subprocess.run(["script", "-qec", f"{self.program('convert-recording')} missing.mkv", "/dev/null"],
                                env=self.environment, cwd=self.folder, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stdout.count(b"missing.mkv"), 1, result.stdout)

    def test_tells_what_the_media_converter_notes(self):
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "sine=duration=1", "-c:a", "pcm_s16le",
                        self.path("sound.mkv")], check=True)
        result = self.convert("--json", "sound.mkv")
        self.assertRegex(result.stderr.decode(), r"^mediaconverter: /\S*/sound\.mkv: audio stream 0 [^\n]+\n$")
        self.assertEqual(json.loads(result.stdout)["status"], "converted")

    def test_refuses_a_wrong_command_line(self):
        for arguments in ([], ["--bogus", "x"]):
            self.assertEqual(self.convert(*arguments).returncode, 2)
        self.assertEqual(self.convert("--help").returncode, 0)
        self.assertRegex(self.convert("--version").stdout.decode(), r"^convert-recording \d+\.\d+\.\d+\n$")


if __name__ == "__main__":
    world.main()
