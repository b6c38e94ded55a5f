"""What must be true of a disk after a power cut, whenever it came."""

import os
import subprocess
import urllib.parse


class Recording:
    """One recording of a meeting. `announced`: from this position of the log on its entry is promised to be durable;
    None where none is. `is_damaged`: the MP4 can't hold all of it, so its data stays. `mp4_folder`: the MP4's, where that
    is not the recording's."""

    def __init__(self, path, is_damaged=False, mp4_folder=None):
        self.name = os.path.basename(path)
        self.mp4_name = os.path.splitext(self.name)[0] + ".mp4"
        self.mp4_path = os.path.join(mp4_folder or os.path.dirname(path), self.mp4_name)
        stem, suffix = os.path.splitext(self.name)
        self.second_name = f"{stem} (damaged){suffix}" if is_damaged else None
        self.is_damaged = is_damaged
        self.announced = None
        with open(path, "rb") as file:
            self.content = file.read()
        self.mp4 = None


class Reader:
    """The application's own reader of the state folder."""

    def __init__(self, program):
        self._process = subprocess.Popen([program], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def close(self):
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()

    def entries(self, folder):
        """Maps the path of each recording to the fields of its entry."""
        self._process.stdin.write(folder + "\n")
        self._process.stdin.flush()
        found = {}
        fields = {}
        for line in iter(self._process.stdout.readline, ".\n"):
            key, _, value = line.rstrip("\n").partition("=")
            fields[key] = value
            if key == "end":
                found[urllib.parse.unquote(fields["source"])] = fields
                fields = {}
        if self._process.poll() is not None:
            raise AssertionError("the reader of the state folder has ended")
        return found


def _content(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


class Judge:
    """`mounted` is where the disk was mounted while it was recorded: entries name their recordings there."""

    def __init__(self, recordings, reader, mounted):
        self._recordings = recordings
        self._reader = reader
        self._mounted = mounted

    def faults(self, folder, position):
        """The faults of the disk that is mounted at `folder`, in the state after `position` writes."""
        entries = self._reader.entries(os.path.join(folder, "state/record-converter/pending"))
        found = []
        for recording in self._recordings:
            found += self._faults_of(recording, folder, entries, position)
        return found

    def _faults_of(self, recording, folder, entries, position):
        where = os.path.join(folder, "recordings")
        source = _content(os.path.join(where, recording.name))
        mp4 = _content(os.path.join(folder, os.path.relpath(recording.mp4_path, self._mounted)))
        if source not in (None, recording.content):
            yield f"{recording.name} has changed"
        if mp4 not in (None, recording.mp4):
            yield f"{recording.mp4_name} is not whole"
        if source is None and mp4 is None:
            yield f"{recording.name} is lost"
        if recording.is_damaged and source is None:
            if _content(os.path.join(where, recording.second_name)) != recording.content:
                yield f"the data of {recording.name} is lost"
        if recording.announced is not None and position >= recording.announced:
            entry = entries.get(os.path.join(self._mounted, "recordings", recording.name))
            yield from self._faults_of_entry(recording, source, mp4, entry)

    def _faults_of_entry(self, recording, source, mp4, entry):
        if mp4 is None and entry is None:
            yield f"{recording.name} is forgotten"
        if mp4 is not None and entry is not None:
            if urllib.parse.unquote(entry["destination"]) != recording.mp4_path:
                yield (f"{recording.name} would be converted twice" if source is not None else
                       f"nobody would be told of {recording.mp4_name}")
