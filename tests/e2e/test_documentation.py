"""The examples of docs/meeting-clients.md and the commands of docs/diagnostics.md do what they say."""

import json
import os
import re
import signal
import subprocess
import sys

import bus
import recordings
import test_install
import world

DOCS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs")


def blocks(page):
    """(language, text) of each block of the page."""
    with open(os.path.join(DOCS, page), encoding="utf-8") as file:
        return re.findall(r"^```(\w+)\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)


class Examples(world.World):
    def setUp(self):
        super().setUp()
        found = blocks("meeting-clients.md")
        self.examples = dict(found)
        self.assertEqual(len(self.examples), len(found), "one example a language")
        self.environment["PATH"] = os.path.join(self.application, "bin") + ":" + self.environment["PATH"]

    def example(self, language, name):
        """Writes the example to a file; 30 lines are easy to survey."""
        self.assertLess(self.examples[language].count("\n"), 30, language)
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(self.examples[language])
        os.chmod(self.path(name), 0o755)
        return self.path(name)

    def run_example(self, *command):
        subprocess.run(command, env=self.environment, cwd=self.folder, check=True, timeout=90)

    def test_shell(self):
        sample = recordings.make(os.path.join(self.root, "sample.mkv"))
        self.run_example(self.example("sh", "record-as-meeting"), "talk.mkv", "cp", sample, "talk.mkv")
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))
        self.line.wait(lambda: [n for n in self.line.heard if n.name == bus.QUIT], 10, "its quit notification")
        self.line.wait(lambda: [n for n in self.line.heard if n.name == bus.ACK][1:], 10, "both answers")

    def test_python(self):
        self.launch()
        self.line.wait_confirmed(0)
        self.recording("one.mkv")
        self.recording("two.mkv")
        self.run_example(sys.executable, self.example("python", "as-meeting.py"), "one.mkv", "two.mkv")
        self.wait_converted(self.path("one.mkv"), self.path("one.mp4"))
        self.wait_converted(self.path("two.mkv"), self.path("two.mp4"))

    def test_cpp(self):
        prefix = os.path.join(self.root, "prefix")
        test_install.install(prefix)
        self.example("cmake", "CMakeLists.txt")
        self.example("cpp", "main.cpp")
        self.run_example("cmake", "-S", ".", "-B", "build", f"-DCMAKE_PREFIX_PATH={prefix}")
        self.run_example("cmake", "--build", "build")
        self.launch()
        self.line.wait_confirmed(0)
        self.recording()
        self.run_example(self.path("build/as-meeting"), "talk.mkv")
        self.wait_converted(self.path("talk.mkv"), self.path("talk.mp4"))

    def test_the_shortest_client(self):
        meeting = self.meeting()
        source = self.recording()
        self.launch("-pid", str(meeting.pid), "-path", source)
        self.line.wait_confirmed(meeting.pid)
        meeting.die()
        self.wait_converted(source, self.path("talk.mp4"))


class ManualPages(world.World):
    def examples(self, page):
        with open(os.path.join(DOCS, "..", "resources", "man", page + ".1.scd"), encoding="utf-8") as file:
            section = file.read().split("# EXAMPLES\n", 1)[1].split("\n# ", 1)[0]
        return [line.strip().replace("\\", "") for line in section.splitlines() if line.startswith("\t")]

    def start(self, command, **options):
        self.environment["PATH"] = os.path.join(self.application, "bin") + ":" + self.environment["PATH"]
        return subprocess.Popen(["bash", "-c", "exec " + command], env=self.environment, cwd=self.folder,
                                stdin=subprocess.DEVNULL, text=True, **options)

    def test_convert_recording(self):
        command, = self.examples("convert-recording")
        recorded = os.path.join(self.environment["HOME"], "Recordings")
        os.mkdir(recorded)
        for name in ("one.mkv", "two.mkv"):
            recordings.make(os.path.join(recorded, name))
        self.assertEqual(self.start(command).wait(90), 0)
        self.assertEqual(sorted(os.listdir(recorded)), ["one.mp4", "two.mp4"])

    def test_meeting_client(self):
        record, watch = self.examples("meeting-client")
        watching = self.start(watch, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(watching.stdout.close)
        self.addCleanup(watching.stderr.close)
        watching.stderr.readline()  # it listens now
        self.assertEqual(self.start(record).wait(90), -signal.SIGKILL)
        self.wait_converted(self.path("meeting.mkv"), self.path("meeting.mp4"))
        watching.terminate()
        watching.wait()
        names = [json.loads(line)["name"] for line in watching.stdout]
        self.assertIn(bus.SPAWN, names)


class Packaging(world.World):
    with_bus = False

    def test_the_commands(self):
        source = os.path.join(DOCS, "..")
        scripts = [text for language, text in blocks("packaging.md") if language == "sh"]
        other_releases, packages, build = scripts
        # Other tests run these scripts; here they must at least exist.
        for script in re.findall(r"^scripts/\S+", other_releases + packages, re.MULTILINE):
            self.assertTrue(os.access(os.path.join(source, script), os.X_OK), script)
        configure, _, install = build.splitlines()

        def run(script):
            # The build of this test stands for the one that the page describes.
            script = script.replace("build/release", test_install.BUILD)
            subprocess.run(["bash", "-euc", script], env=self.environment, cwd=self.folder, check=True, timeout=150,
                           stdout=subprocess.DEVNULL)

        # Configured separately from the build, because only the options matter here.
        run(configure.replace("-S .", f"-S '{source}'").replace("-B build/release", "-B configured"))
        self.assertTrue(os.path.exists(self.path("configured/build.ninja")))
        run(install)
        for path in ("bin/record-converter", "lib/record-converter/bin/record-converter",
                     "include/recordmeeting/KTRMeetingRecordNotifications.h"):
            self.assertTrue(os.path.exists(self.path("stage/usr/" + path)), path)
        self.assertEqual(os.listdir(self.path("stage/usr/lib/record-converter/PlugIns")), [])

    def test_the_build_dependencies_are_those_of_the_source_package(self):
        with open(os.path.join(DOCS, "..", "debian", "control"), encoding="utf-8") as file:
            field = re.search(r"^Build-Depends:\n((?: .*\n)+)", file.read(), re.MULTILINE).group(1)
        control = {re.match(r" ([\w.+-]+)", line).group(1) for line in field.splitlines()}
        with open(os.path.join(DOCS, "packaging.md"), encoding="utf-8") as file:
            line = re.search(r"^Build-Depends, .*?^```\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL).group(1)
        # Every Debian that builds packages has the compiler. The page lists the optional parts separately.
        optional = {"scdoc", "liblayershellqtinterface-dev", "libwayland-dev"}
        self.assertEqual(set(line.replace(",", " ").split()) - {"g++"}, control - {"debhelper-compat"} - optional)

    def test_without_scdoc_configuring_says_that_there_will_be_no_manuals(self):
        said = subprocess.run(["cmake", "-S", os.path.join(DOCS, ".."), "-B", self.path("configured"), "-G", "Ninja",
                               "-DBUILD_TESTING=OFF", "-DSCDOC=OFF"],
                              check=True, stdout=subprocess.PIPE, text=True, timeout=150).stdout
        self.assertIn("-- scdoc is not there: the manual pages are left out\n", said)


class Diagnostics(world.World):
    def _run(self, script):
        return subprocess.run(["bash", "-euc", script], env=self.environment, cwd=self.folder, check=True, timeout=90,
                              stdout=subprocess.PIPE, text=True).stdout

    def _told(self, text):
        """A trace without what differs between runs, repeated ticks, and all progress but the first and last."""
        told = []
        for line in text.splitlines():
            if re.search(r"cvt_progress = (?!0\.00%|100\.00%)", line):
                continue
            line = re.sub(r"^[\d:.]{12} ", "", line)
            line = re.sub(r"(?<=pid = )\d+|(?<=p_id = )\d+|(?<=exit pid )\d+", "N", line)
            line = re.sub(r"(?<=[ ,])/\S*(?=/talk|/bin/)", "…", line).rstrip()
            if not told or line != told[-1]:
                told.append(line)
        return told

    def test_the_page(self):
        prefix = os.path.join(self.environment["HOME"], ".local")
        test_install.install(prefix)
        del self.environment["XDG_STATE_HOME"]
        self.environment["PATH"] = os.path.join(prefix, "bin") + ":" + self.environment["PATH"]
        scripts = [text for language, text in blocks("diagnostics.md") if language == "sh"]
        waiting, install, record, read, remove = scripts

        pending = os.path.join(prefix, "state", "record-converter", "pending")
        os.makedirs(pending)
        with open(os.path.join(pending, "entry"), "w", encoding="utf-8") as file:
            file.write("an entry\n")
        self.assertIn("an entry", self._run(waiting))
        os.remove(os.path.join(pending, "entry"))
        self._run(install.replace("build/release", test_install.BUILD))
        self._run(record)
        self.wait_for(lambda: not self.line.converter_runs(), world.BUBBLE_DEADLINE, "the converter ends")
        *shown, verdict = self._run(read).splitlines()
        self.assertEqual(verdict, "nothing went wrong")
        traced = self._told("\n".join(shown))
        documented = self._told("".join(text for language, text in blocks("diagnostics.md") if language == "trace"))
        # The machine's speed decides when the client's process ends; the other lines have a fixed order on each thread.
        for lines in (traced, documented):
            lines.remove("info main NoteExitKQueueCallback: observe process exit pid N")
        for thread in ("main", "ktrmp4recording"):
            self.assertEqual([line for line in traced if f" {thread} " in line],
                             [line for line in documented if f" {thread} " in line])
        self._run(remove)
        self.assertFalse(os.path.exists(os.path.join(prefix, "state", "record-converter")))


if __name__ == "__main__":
    world.main()
