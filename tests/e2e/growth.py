"""What a conversion leaves in memory when its bubble has gone: not a block. Not part of the test run; scripts/leaks starts
it under valgrind, which knows every block."""

import os
import re
import subprocess
import unittest

import world

ROUNDS, CONVERSIONS = 3, 20


class Growth(world.World):
    def _convert(self, converter):
        sources = [self.scripted_recording(f"talk-{number}") for number in range(CONVERSIONS)]
        for number, source in enumerate(sources):
            self.line.started(1_000_000 + number, source)
            self.line.quit(1_000_000 + number)
        self.wait_for(lambda: self.line.heard.clear() or not any(map(os.path.exists, sources)), 300,
                      "the recordings are converted")
        self.wait_at_rest(converter.pid)
        for number in range(CONVERSIONS):
            os.remove(self.path(f"talk-{number}.mp4"))

    def _held(self, converter):
        """(bytes, blocks)"""
        told = subprocess.run(["vgdb", f"--vgdb-prefix={self.root}/vgdb", f"--pid={converter.pid}", "leak_check",
                               "summary", "reachable", "any"], check=True, capture_output=True, text=True).stdout
        kinds = re.findall(r"(?:lost|reachable): ([0-9,]+) bytes in ([0-9,]+) blocks", told)
        self.assertEqual(len(kinds), 4, told)
        return tuple(sum(int(kind[i].replace(",", "")) for kind in kinds) for i in range(2))

    def test_conversions_leave_no_block_behind(self):
        self.environment["LD_LIBRARY_PATH"] = os.path.join(world.TEST_LIBRARIES, "foreign")
        self.environment["FOREIGN_MEDIA_CONVERTER"] = "copy"
        meeting = self.meeting()
        converter = self.launch_for(meeting, self.scripted_recording("host"))
        held = []
        for _ in range(ROUNDS):
            self._convert(converter)
            held.append(self._held(converter))
        print("growth: " + ", ".join(f"{size} bytes in {blocks} blocks after {(i + 1) * CONVERSIONS}"
                                     for i, (size, blocks) in enumerate(held)))
        # Blocks that stay may change their size, but their number must not grow.
        self.assertEqual({blocks for _, blocks in held}, {held[0][1]})
        self.line.quit(meeting.pid)
        self.assertEqual(self.wait_ended(converter, 300), 0)


if __name__ == "__main__":
    unittest.main()
