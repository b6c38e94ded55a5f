"""What compiler and linker protect the packaged programs with, read from the programs themselves.

The packages are built without the hardening that Debian's own flags bring, so all of it is the project's.
"""

import glob
import os
import platform
import re
import subprocess
import tempfile
import unittest

PACKAGES = os.environ.get("RECORD_CONVERTER_PACKAGES", "")
BINARIES = {"bin/convert-recording", "bin/meeting-client", "bin/record-converter", "lib/libmediaconverter.so",
            "libexec/mediaconverter-worker", "PlugIns/ktrtrace.bundle"}
# Built where the release has the library for it.
OPTIONAL = {"lib/liblayersurfaces.so"}


def read(tool, *arguments):
    return subprocess.run([tool, *arguments], check=True, stdout=subprocess.PIPE, text=True,
                          env={**os.environ, "LC_ALL": "C"}).stdout


class Hardening(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.place = place.name
        for name in ("record-converter", "record-converter-trace"):
            package, = glob.glob(os.path.join(PACKAGES, name + "_*.deb"))
            subprocess.run(["dpkg-deb", "--extract", package, place.name], check=True)
        self.application = os.path.join(place.name, "usr", "lib", "record-converter")
        self.worker = os.path.join(self.application, "libexec", "mediaconverter-worker")

    def _each(self):
        found = {os.path.relpath(path, self.application) for folder in ("bin", "lib", "libexec", "PlugIns")
                 for path in glob.glob(os.path.join(self.application, folder, "*"))}
        self.assertEqual(found - OPTIONAL, BINARIES)
        for name in sorted(found):
            with self.subTest(name):
                yield os.path.join(self.application, name)

    def _code(self):
        return read("objdump", "-d", "--no-show-raw-insn", self.worker)

    def test_everything_is_position_independent(self):
        for path in self._each():
            self.assertRegex(read("readelf", "-hW", path), r"Type:\s+DYN")

    def test_what_the_linker_resolves_is_resolved_at_the_start_and_then_read_only(self):
        for path in self._each():
            self.assertIn("GNU_RELRO", read("readelf", "-lW", path))
            self.assertRegex(read("readelf", "-dW", path), r"\(FLAGS_1\).*\bNOW\b")

    def test_no_stack_is_executable(self):
        for path in self._each():
            self.assertRegex(read("readelf", "-lW", path), r"GNU_STACK\s+(0x\w+\s+){5}RW\s")

    def test_the_programs_guard_their_stack(self):
        for path in self._each():
            self.assertIn("__stack_chk_fail", read("readelf", "--dyn-syms", "-W", path))

    def test_the_worker_calls_the_checked_forms_of_library_functions(self):
        self.assertRegex(read("readelf", "--dyn-syms", "-W", self.worker), r"__(mem|str|sn?|vsn?|v?f)\w*_chk")

    def test_the_worker_guards_jumps(self):
        if platform.machine() == "x86_64":
            # Every function that may be the target of an indirect jump starts with this instruction.
            self.assertGreater(len(re.findall(r"\bendbr64\b", self._code())), 100)
        else:
            self.assertGreater(len(re.findall(r"\b(bti|paciasp)\b", self._code())), 100)

    def test_large_frames_touch_every_page_of_the_stack(self):
        # Few functions have such a frame, but the debug symbols contain the compiler's options.
        symbols = os.path.join(self.place, "symbols")
        package, = glob.glob(os.path.join(PACKAGES, "record-converter-dbgsym_*.deb"))
        subprocess.run(["dpkg-deb", "--extract", package, symbols], check=True)
        calls = set()
        for path in glob.glob(os.path.join(symbols, "usr/lib/debug/**/*.debug"), recursive=True, include_hidden=True):
            calls.update(re.findall(r"GNU C\+\+.*", read("readelf", "-zWp", ".debug_str", path)))
        self.assertTrue(calls)
        self.assertEqual([call for call in calls if " -fstack-clash-protection" not in call], [])


if __name__ == "__main__":
    unittest.main()
