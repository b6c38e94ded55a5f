"""The states in which a power cut can leave folders on a file system that promises no more than POSIX does.

A file's content is durable once the file has been synced, a name once its folder has been. Until then a file may be empty,
and of the changes of a folder's names some have arrived: of `ordered` folders those up to some moment, of others any.
FolderLog.cpp writes the log.
"""

import contextlib
import os
import shutil

ORDERED = "state"


class Recorded:
    """A folder whose changes are logged: those of programs with `environment`, and of this process by `remove`."""

    def __init__(self, folder):
        self.folder = os.path.join(folder, "mounted")
        self._room = os.path.join(folder, "log")
        os.mkdir(self.folder)
        os.mkdir(self._room)
        self.environment = {"POWER_ROOT": self.folder, "POWER_FOLDERS": self._room}

    def _lines(self):
        path = os.path.join(self._room, "log")
        if not os.path.exists(path):
            return []
        with open(path, encoding="utf-8") as file:
            return [line.split("\t") for line in file.read().splitlines()]

    def position(self):
        return len(self._lines())

    def _add(self, *lines):
        with open(os.path.join(self._room, "log"), "a", encoding="utf-8") as file:
            file.write("".join("\t".join(line) + "\n" for line in lines))

    def sync(self):
        """Makes everything that exists durable."""
        number = self.position()
        for folder, _, _ in os.walk(self.folder):
            own = _id(folder)
            for name in os.listdir(folder):
                path = os.path.join(folder, name)
                if os.path.isfile(path):
                    copy = f"copy-{number}-{_id(path)}"
                    shutil.copyfile(path, os.path.join(self._room, copy))
                    self._add(("new", _id(path)), ("file", _id(path), copy))
                self._add(("names", own, name, _id(path)))
            self._add(("folder", own))
        return self.position()

    def remove(self, path):
        os.unlink(path)
        self._add(("names", _id(os.path.dirname(path)), os.path.basename(path), "-"))

    def end(self, begin):
        return Folders(self._lines(), begin, self.folder, self._room)

    def close(self):
        pass


def _id(path):
    return str(os.lstat(path).st_ino)


class Folders:
    """A state is (number, lost): the power fails when `number` lines have been logged; `lost` are those changes of names
    since the last sync of their folder that have not arrived."""

    def __init__(self, lines, begin, root, room):
        self.entries = lines
        self.begin = begin
        self._room = room
        self._root = _id(root)
        self._ordered = {_id(folder) for folder, _, _ in os.walk(os.path.join(root, ORDERED))}

    def prefixes(self):
        """For each moment, the state with all changes so far, and the one with only the synced ones."""
        numbers = range(self.begin, len(self.entries) + 1)
        return [(number, ()) for number in numbers] + [(number, tuple(self._unsynced(number))) for number in numbers]

    def _unsynced(self, number):
        waiting = []
        for index, (what, folder, *_) in enumerate(self.entries[:number]):
            if what == "folder":
                waiting = [each for each in waiting if self.entries[each][1] != folder]
            elif what == "names":
                waiting.append(index)
        return waiting

    def random_state(self, random):
        number = random.randint(self.begin, len(self.entries))
        share = random.choice((0.1, 0.5, 0.9))
        moments = {}
        lost = []
        for index in self._unsynced(number):
            folder = self.entries[index][1]
            if folder in self._ordered:
                isLost = index >= moments.setdefault(folder, random.randint(0, number))
            else:
                isLost = random.random() < share
            if isLost:
                lost.append(index)
        return number, tuple(lost)

    @contextlib.contextmanager
    def shown(self, state, folder):
        """Turns `folder`, which is empty, into what a state has kept."""
        number, lost = state
        names = {}
        content = {}
        for index, (what, own, *rest) in enumerate(self.entries[:number]):
            if what == "new":
                content[own] = None
            elif what == "file":
                content[own] = os.path.join(self._room, rest[0])
            elif what == "names" and index not in lost:
                self._change(names, [own, *rest])
        self._fill(folder, names, content, self._root)
        try:
            yield folder
        finally:
            for name in os.listdir(folder):
                shutil.rmtree(os.path.join(folder, name))

    @staticmethod
    def _change(names, change):
        for at in range(0, len(change), 3):
            own, name, file = change[at:at + 3]
            if file == "-":
                names.setdefault(own, {}).pop(name, None)
            else:
                names.setdefault(own, {})[name] = file

    def _fill(self, folder, names, content, own):
        for name, file in names.get(own, {}).items():
            path = os.path.join(folder, name)
            if file not in content:
                os.mkdir(path)
                self._fill(path, names, content, file)
            elif content[file] is None:
                with open(path, "wb"):
                    pass
            else:
                os.link(content[file], path)
