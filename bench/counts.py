"""Counts the instructions of the fixed scenario and compares them with the accepted count.

    counts.py SCENARIO-PROGRAM ACCEPTED-FILE [--accept]

The count is that of eleven meetings minus that of one, so the cost of loader, start-up and fakes is excluded.
Exit status 1 when it has grown by more than a tenth. --accept writes the new count.
"""

import json
import re
import subprocess
import sys

MOST_GROWTH = 1.10


def instructions(program, meetings):
    result = subprocess.run(
        ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, str(meetings)],
        stderr=subprocess.PIPE, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", result.stderr).group(1))


def main():
    program, accepted_file = sys.argv[1], sys.argv[2]
    count = (instructions(program, 11) - instructions(program, 1)) // 10
    if "--accept" in sys.argv:
        with open(accepted_file, "w", encoding="utf-8") as file:
            json.dump({"instructionsAMeeting": count}, file, indent=2)
            file.write("\n")
        print(f"counts: accepted {count} instructions a meeting")
        return 0
    with open(accepted_file, encoding="utf-8") as file:
        accepted = json.load(file)["instructionsAMeeting"]
    print(f"counts: {count} instructions a meeting, {accepted} accepted, ratio {count / accepted:.3f}")
    if count > accepted * MOST_GROWTH:
        print("counts: more than a tenth above; find out why, or accept it: scripts/bench --counts --accept")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
