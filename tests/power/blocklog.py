"""The log of a disk's writes, and the states in which a power cut can leave that disk.

The format is that of the kernel's dm-log-writes target (Documentation/admin-guide/device-mapper/log-writes.rst), as
qemu's `blklogwrites` driver writes it.
"""

import os
import struct

_MAGIC = 0x6a736677736872
_SUPER = struct.Struct("<QQQI")
_ENTRY = struct.Struct("<QQQQ")
_FLUSH = 1
_FUA = 2
_DISCARD = 4

# File systems rely on a disk that writes this much completely or not at all. Bytes.
_BLOCK = 4096


class Entry:
    """`writes` holds (offset, bytes) of at most one block each; everything before an `is_barrier` is durable."""

    __slots__ = ("writes", "is_barrier", "is_durable")

    def __init__(self, writes, is_barrier, is_durable):
        self.writes = writes
        self.is_barrier = is_barrier
        self.is_durable = is_durable


def count(path):
    """Entries that are in the log now."""
    with open(path, "rb") as file:
        head = file.read(_SUPER.size)
    return _SUPER.unpack(head)[2] if len(head) == _SUPER.size else 0


def read(path):
    """All entries of a log that is no longer written."""
    with open(path, "rb") as file:
        magic, _, number, size = _SUPER.unpack(file.read(_SUPER.size))
        if magic != _MAGIC:
            raise ValueError(f"{path} is no log of writes")
        entries = []
        at = size
        for _ in range(number):
            file.seek(at)
            sector, sectors, flags, _ = _ENTRY.unpack(file.read(_ENTRY.size))
            at += size
            writes = []
            if sectors and not flags & _DISCARD:
                file.seek(at)
                data = file.read(sectors * size)
                writes = list(_in_blocks(sector * size, data))
                at += len(data)
            entries.append(Entry(writes, bool(flags & _FLUSH), bool(flags & _FUA)))
    return entries


def _in_blocks(offset, data):
    at = 0
    while at < len(data):
        length = min(_BLOCK - (offset + at) % _BLOCK, len(data) - at)
        yield offset + at, data[at:at + length]
        at += length


def extents(path):
    """(offset, bytes) of all blocks of a file that are not zeros."""
    found = []
    with open(path, "rb") as file:
        at = 0
        size = os.fstat(file.fileno()).st_size
        while at < size:
            try:
                at = os.lseek(file.fileno(), at, os.SEEK_DATA)
            except OSError:
                break
            end = os.lseek(file.fileno(), at, os.SEEK_HOLE)
            while at < end:
                data = os.pread(file.fileno(), min(_BLOCK, end - at), at)
                if data.count(0) != len(data):
                    found.append((at, data))
                at += len(data)
    return found


class Disk:
    """The states of one disk, from its content `before` the log on. A state is (number, lost): the power fails when
    `number` entries have been written; `lost` are those blocks of the ones since the last flush that never arrive."""

    def __init__(self, size, before, entries, begin):
        self.size = size
        self.entries = entries
        self.begin = begin
        self._flushed = [0] * (len(entries) + 1)
        for index, entry in enumerate(entries):
            self._flushed[index + 1] = index + 1 if entry.is_barrier else self._flushed[index]
        self._durable = bytearray(size)
        self._touched = set()
        self._durable_until = 0
        for offset, data in before:
            self._make_durable(offset, data)

    def prefixes(self):
        return [(number, ()) for number in range(self.begin, len(self.entries) + 1)]

    def unflushed(self, number):
        """(entry, block) of everything that may get lost."""
        return [(entry, block) for entry in range(self._flushed[number], number)
                for block in range(len(self.entries[entry].writes)) if not self.entries[entry].is_durable]

    def random_state(self, random):
        """A moment at which something is on its way, and what of that gets lost. Where blocks overlap, the loss of the
        later one is the same as its arriving first."""
        while True:
            number = random.randint(self.begin, len(self.entries))
            candidates = self.unflushed(number)
            if candidates:
                share = random.choice((0.1, 0.5, 0.9, 1.0))
                if random.random() < 0.3:
                    # Whole writes, not parts of them.
                    gone = {entry for entry, _ in candidates if random.random() < share}
                    return number, tuple(each for each in candidates if each[0] in gone)
                return number, tuple(each for each in candidates if random.random() < share)

    def write(self, state, path):
        """Turns the file at `path` into the disk in that state. Fastest if states come in order of number."""
        number, lost = state
        begin = self._flushed[number]
        if begin < self._durable_until:
            raise ValueError("states have to come in order")
        for entry in self.entries[self._durable_until:begin]:
            for offset, data in entry.writes:
                self._make_durable(offset, data)
        self._durable_until = begin
        gone = set(lost)
        with open(path, "wb") as file:
            file.truncate(self.size)
            for block in self._touched:
                os.pwrite(file.fileno(), memoryview(self._durable)[block * _BLOCK:(block + 1) * _BLOCK], block * _BLOCK)
            for index in range(begin, number):
                for block, (offset, data) in enumerate(self.entries[index].writes):
                    if (index, block) not in gone:
                        os.pwrite(file.fileno(), data, offset)

    def _make_durable(self, offset, data):
        self._durable[offset:offset + len(data)] = data
        self._touched.add(offset // _BLOCK)
