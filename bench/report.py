"""Runs the measurements and writes report.json and report.md.

    report.py BUILD-FOLDER REPORT-FOLDER [GROUP...]

Groups: core, guard, system, size, media (where it has been built). Exit status 1 when a figure is over its limit.
"""

import json
import os
import platform
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

MEBIBYTE = 1024 * 1024


def run_json(command):
    print("bench:", " ".join(str(part) for part in command), flush=True)
    result = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    return json.loads(result.stdout)


def on_private_bus(command):
    return ["dbus-run-session", "--", *command]


def core(build):
    found = run_json([build / "bench/core-bench"])
    figures = found["figures"]
    seconds = found["waitingItemSeconds"]
    figures.append(plain("trace call without a plug-in, allocations", found["traceAllocations"], "", 0))
    figures.append(plain("a waiting item", found["waitingItemBytes"], "B", 1024))
    figures.append(plain("a waiting item's time, 10,000 against 1,000 waiting", seconds["10000"] / seconds["1000"], "×", 3))
    return figures


def guard(build):
    found = run_json([build / "bench/guard-bench"])
    return found["figures"] + [
        plain(f"{found['guarded']} guarded processes, not reported once", found["guarded"] - found["reportedOnce"], "", 0),
        plain("descriptors left after them", found["descriptorsLeft"], "", 0),
    ]


def make_clip(file, seconds):
    subprocess.run(
        ["ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=size=640x360:rate=30", "-f", "lavfi", "-i",
         "sine=sample_rate=48000", "-t", str(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-c:a", "aac", file],
        check=True)


def system(build):
    with tempfile.TemporaryDirectory() as folder:
        clips = [Path(folder) / "one.mkv", Path(folder) / "two.mkv"]
        for clip, seconds in zip(clips, (30, 45)):
            make_clip(clip, seconds)
        found = run_json(on_private_bus([build / "bench/system-bench", build / "record-converter", build / "bench", *clips]))
    figures = found["figures"]
    for figure in figures:
        if figure["name"] == "private memory, idle":
            # The limit is not a ratio: the bare program's memory plus 6 MiB.
            figure["limit"] = (figure["reference"] + 6 * 1024) / figure["reference"]
    return figures + [
        # A leak of 1 KiB per conversion would show as 300.
        plain("memory written, grown from 300 to 600 conversions", found["growthKiB"], "KiB", 64),
        plain("burst: lost or out of order", found["burstLost"] + (not found["burstInOrder"]), "", 0),
        plain(f"wake-ups in {found['idleSeconds']:.0f} idle seconds", found["idleWakeUps"], "", 0),
        plain(f"CPU in {found['idleSeconds']:.0f} idle seconds", found["idleCpuSeconds"], "s", 0),
    ]


def size(build):
    with tempfile.TemporaryDirectory() as folder:
        copy = Path(folder) / "record-converter"
        shutil.copytree(build / "record-converter", copy)
        total = 0
        for file in copy.rglob("*"):
            if file.is_file():
                if file.parent.name in ("bin", "lib", "libexec", "PlugIns"):
                    subprocess.run(["strip", file], check=False)
                total += file.stat().st_size
    return [plain("executables, libraries and resources, stripped", total / MEBIBYTE, "MiB", 3)]


def media(build):
    program, plain_build = build / "bench/media/media-bench", build.with_name("release-plain")
    options = ["--plain", plain_build] if plain_build.exists() else []
    return run_json([program, *options])["figures"] if program.exists() else []


def plain(name, value, unit, limit):
    return {"name": name, "value": value, "unit": unit, "limit": limit}


def is_within(figure):
    return figure.get("ratio", figure.get("value")) <= figure["limit"]


def row(figure):
    verdict = "yes" if is_within(figure) else "**no**"
    if "ratio" not in figure:
        return f"| {figure['name']} | {figure['value']:.4g} {figure['unit']} | | | {figure['limit']:.4g} | {verdict} |"
    unit = figure["unit"]
    ours = f"{figure['ours']:.4g} {unit} ({figure['oursLeast']:.3g} to {figure['oursMost']:.3g})"
    reference = f"{figure['reference']:.4g} {unit} ({figure['referenceLeast']:.3g} to {figure['referenceMost']:.3g})"
    return f"| {figure['name']} | {ours} | {reference} | {figure['ratio']:.2f} | {figure['limit']:.2f} | {verdict} |"


def version(*command):
    result = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    return result.stdout.splitlines()[0] if result.stdout else "unknown"


def machine():
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        model = next((line.split(":", 1)[1].strip() for line in lines if line.startswith("model name")), "unknown")
    return {
        "processor": f"{model}, {os.cpu_count()} cores",
        "kernel": platform.release(),
        "system": version("cat", "/etc/debian_version"),
        "compiler": version("c++", "--version"),
        "qt": version("qmake6", "-query", "QT_VERSION"),
        "ffmpeg": version("ffmpeg", "-version"),
    }


def main():
    build, folder = Path(sys.argv[1]), Path(sys.argv[2])
    groups = {"core": core, "guard": guard, "system": system, "size": size, "media": media}
    chosen = sys.argv[3:] or list(groups)
    for name in set(chosen) - set(groups):
        sys.exit(f"bench: there is no group {name}; there are {', '.join(groups)}")
    report = {"machine": machine(), "groups": {name: groups[name](build) for name in chosen}}

    folder.mkdir(parents=True, exist_ok=True)
    (folder / "report.json").write_text(json.dumps(report, indent=2) + "\n", encoding="utf-8")
    lines = ["# Measured", ""]
    lines += [f"- {key}: {value}" for key, value in report["machine"].items()]
    lines += ["", "Medians, with the least and the most in brackets; ours and the reference in turns.", ""]
    for name, figures in report["groups"].items():
        lines += [f"## {name}", "", "| what | ours | reference | ratio | at most | within |", "|---|---|---|---|---|---|"]
        lines += [row(figure) for figure in figures] + [""]
    (folder / "report.md").write_text("\n".join(lines), encoding="utf-8")
    print("\n".join(lines))
    return 0 if all(is_within(figure) for figures in report["groups"].values() for figure in figures) else 1


if __name__ == "__main__":
    sys.exit(main())
