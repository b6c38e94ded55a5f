"""The examples of docs/meeting-clients.md do what they say."""

import os
import re
import subprocess
import sys

import bus
import recordings
import test_install
import world

PAGE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "docs", "meeting-clients.md")


class Examples(world.World):
    def setUp(self):
        super().setUp()
        with open(PAGE, encoding="utf-8") as file:
            blocks = re.findall(r"^```(\w+)\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
        self.examples = dict(blocks)
        self.assertEqual(len(self.examples), len(blocks), "one example a language")
        self.environment["PATH"] = os.path.join(self.application, "bin") + ":" + self.environment["PATH"]

    def example(self, language, name):
        """Writes the example down; a reader takes in 30 lines at a glance."""
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


if __name__ == "__main__":
    world.main()
