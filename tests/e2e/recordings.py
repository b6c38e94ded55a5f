"""Recordings to convert, and checks of the results."""

import json
import os
import shutil
import subprocess
import tempfile

_cache = None


def _sample():
    """A short recording, created once per test process."""
    global _cache
    if _cache is None:
        _cache = os.path.join(tempfile.mkdtemp(prefix="record-converter-sample-"), "sample.mkv")
        subprocess.run(
            ["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25:duration=2",
             "-f", "lavfi", "-i", "sine=frequency=440:sample_rate=48000:duration=2",
             "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "aac", _cache], check=True)
    return _cache


def forget_sample():
    global _cache
    if _cache is not None:
        shutil.rmtree(os.path.dirname(_cache))
        _cache = None


def make(path):
    """Creates a recording with one video and one audio track, 2 s long, at `path` (text or bytes); returns it."""
    shutil.copyfile(_sample(), path)
    return path


def make_slow(path, seconds=20):
    """Creates a recording at `path` that must be re-encoded: its conversion takes seconds. Returns the path."""
    subprocess.run(
        ["ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=size=1280x720:rate=30:duration={seconds}",
         "-c:v", "wmv2", "-b:v", "4M", path], check=True)
    return path


def probe(path):
    output = subprocess.run(
        ["ffprobe", "-v", "error", "-of", "json", "-show_format", "-show_streams", "-count_packets", path],
        check=True, stdout=subprocess.PIPE).stdout
    return json.loads(output)


def check_mp4(test, path, seconds=2.0, tolerance=0.3):
    """The file is an MP4 with one H.264 and one AAC track that hold about `seconds` of packets, decodable to the end."""
    found = probe(path)
    test.assertIn("mp4", found["format"]["format_name"])
    test.assertEqual(sorted(stream["codec_name"] for stream in found["streams"]), ["aac", "h264"])
    test.assertAlmostEqual(float(found["format"]["duration"]), seconds, delta=tolerance)
    for stream in found["streams"]:
        test.assertGreater(int(stream["nb_read_packets"]), 0, stream["codec_name"])
    decode = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-xerror", "-i", path, "-f", "null", "-"],
                            stderr=subprocess.PIPE, check=False)
    test.assertEqual((decode.returncode, decode.stderr), (0, b""), "every frame decodes")
