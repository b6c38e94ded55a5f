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
        # Once, and not again by the media converter itself.
        self.assertRegex(result.stderr.decode(), r"^/\S*/missing\.mkv: [^\n]+ \(error 10\)\n$")
        self.assertEqual(self.files(), ["talk.mp4"])

    def test_leaves_a_file_alone_that_somebody_writes(self):
        with open(self.recording(), "ab"):
            result = self.convert("talk.mkv")
            self.assertEqual(result.returncode, 3)
            self.assertIn(f"process {os.getpid()} is still writing it", result.stderr.decode())
            self.assertEqual(self.files(), ["talk.mkv"])
            # After half a minute without new data; data that arrives later keeps a name of its own.
            self.assertEqual(self.convert("--force", "talk.mkv").returncode, 0)
        self.assertEqual(self.files(), ["talk (damaged).mkv", "talk.mp4"])

    def _make(self, name, *options):
        subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "testsrc2=duration=1", "-c:v",
                        "libx264", "-preset", "ultrafast", *options, self.path(name)], check=True)

    def test_leaves_an_mp4_alone(self):
        self._make("flat.mp4")
        self._make("front.mp4", "-movflags", "faststart")
        with open(self.path("flat.mp4"), "rb") as file:
            before = file.read()
        result = self.convert("flat.mp4", "front.mp4")
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertIn("flat.mp4: it is an MP4 already and was left alone", result.stdout.decode())
        self.assertEqual(self.files(), ["flat.mp4", "front.mp4"])
        with open(self.path("flat.mp4"), "rb") as file:
            self.assertEqual(file.read(), before)
        self.assertEqual(json.loads(self.convert("--json", "flat.mp4").stdout)["status"], "already-mp4")

    def test_converts_a_fragmented_mp4_and_one_of_another_name(self):
        self._make("fragmented.mp4", "-movflags", "frag_keyframe+empty_moov")
        self._make("talk.mp4.tmp", "-f", "mp4")
        self._make("old.mov")
        self.assertEqual(self.convert("fragmented.mp4", "talk.mp4.tmp", "old.mov").returncode, 0)
        self.assertEqual(self.files(), ["fragmented(1).mp4", "old.mp4", "talk.mp4"])

    def test_gives_the_mp4_to_the_owner_of_the_recording(self):
        if os.getuid() != 0:
            self.skipTest("needs to give files away")
        os.chown(self.recording(), 1234, 5678)
        os.chmod(self.path("talk.mkv"), 0o640)
        self.assertEqual(self.convert("talk.mkv").returncode, 0)
        status = os.stat(self.path("talk.mp4"))
        self.assertEqual((status.st_uid, status.st_gid, status.st_mode & 0o777), (1234, 5678, 0o640))

    def test_converts_what_has_the_longest_name(self):
        name = "n" * 252 + ".ts"
        os.rename(self.recording(), self.path(name))
        result = self.convert(name)
        self.assertEqual((result.returncode, result.stderr), (0, b""))
        self.assertEqual(self.files(), ["n" * 251 + ".mp4"])
        self.assertIn(" -> " + self.path("n" * 251 + ".mp4"), result.stdout.decode())

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
