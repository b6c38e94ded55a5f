"""Disks in files: one whose writes are recorded, and one that is mounted in any state."""

import ctypes
import fcntl
import os
import shutil
import struct
import subprocess
import time

import blocklog

# Megabytes: about the minimum of each, so that a state is written and mounted quickly.
SIZES = {"ext4": 32, "xfs": 300, "btrfs": 128}

_FORMAT = {
    "ext4": ["mkfs.ext4", "-q", "-b", "4096", "-m", "0", "-J", "size=4"],
    "xfs": ["mkfs.xfs", "-q", "-f"],
    "btrfs": ["mkfs.btrfs", "-q", "-f", "-M", "-m", "single", "-d", "single"],
}
# Two file systems with one identifier cannot be mounted without this option; and a file system that turns itself
# read-only after a fault is not in order.
_OPTIONS = {"ext4": "errors=remount-ro", "xfs": "nouuid", "btrfs": ""}

_LOOP_CTL_GET_FREE = 0x4C82
_LOOP_CONFIGURE = 0x4C0A
_LOOP_CLR_FD = 0x4C01
_CLONE_NEWNS = 0x00020000
_MS_RDONLY = 1
_MS_REC_PRIVATE = 0x4000 | 0x40000
_libc = ctypes.CDLL(None, use_errno=True)


def _call(name, *arguments):
    if getattr(_libc, name)(*arguments) != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{name}: {os.strerror(number)}")


def missing():
    """Why disks cannot be recorded here; None if they can. From here on, mounts are visible nowhere else."""
    for program in ("qemu-storage-daemon", "mkfs.ext4", "mkfs.xfs", "mkfs.btrfs"):
        if shutil.which(program) is None:
            return f"{program} is missing; scripts/setup installs it"
    for device in ("/dev/fuse", "/dev/loop-control"):
        if not os.access(device, os.R_OK | os.W_OK):
            return f"{device} is missing or not permitted"
    try:
        _call("unshare", _CLONE_NEWNS)
        _call("mount", b"none", b"/", None, _MS_REC_PRIVATE, None)
    except OSError as error:
        return f"mounting is not permitted: {error.strerror}"
    return None


def kinds():
    """Those that this kernel can mount."""
    with open("/proc/filesystems", encoding="ascii") as file:
        known = {line.split()[-1] for line in file}
    return [kind for kind in SIZES if kind in known]


def make(kind, path):
    with open(path, "wb") as file:
        file.truncate(SIZES[kind] << 20)
    subprocess.run([*_FORMAT[kind], path], check=True, stdout=subprocess.DEVNULL)


def attach(path):
    """(device, descriptor) of a loop device with that file; it is free again once `detach` has been called."""
    file = os.open(path, os.O_RDWR | os.O_CLOEXEC)
    try:
        with open("/dev/loop-control", "rb") as control:
            for _ in range(100):
                device = f"/dev/loop{fcntl.ioctl(control, _LOOP_CTL_GET_FREE)}"
                loop = os.open(device, os.O_RDWR | os.O_CLOEXEC)
                try:
                    # struct loop_config of linux/loop.h: descriptor, block size, then fields that may stay zero.
                    fcntl.ioctl(loop, _LOOP_CONFIGURE, struct.pack("<II", file, 0) + bytes(232 + 64))
                    return device, loop
                except OSError:
                    # Another process was faster.
                    os.close(loop)
    finally:
        os.close(file)
    raise OSError("no loop device is free")


def detach(loop):
    fcntl.ioctl(loop, _LOOP_CLR_FD)
    os.close(loop)


class Mounted:
    """A file that holds a file system, mounted. Journals are replayed, even if nothing may be written."""

    def __init__(self, kind, image, folder, may_write=False):
        self.folder = folder
        self._device, self._loop = attach(image)
        try:
            _call("mount", self._device.encode(), folder.encode(), kind.encode(), 0 if may_write else _MS_RDONLY,
                  _OPTIONS[kind].encode())
        except OSError:
            detach(self._loop)
            raise

    def __enter__(self):
        return self.folder

    def __exit__(self, *_):
        for _ in range(200):
            try:
                _call("umount2", self.folder.encode(), 0)
                break
            except OSError as error:
                busy = error
                time.sleep(0.01)
        else:
            raise busy
        detach(self._loop)


class _States:
    """The states of a disk, each mounted when it is examined, in the order of their numbers."""

    def __init__(self, kind, states, image):
        self._kind = kind
        self._states = states
        self._image = image
        self.begin = states.begin
        self.entries = states.entries
        self.prefixes = states.prefixes
        self.random_state = states.random_state

    def shown(self, state, folder):
        self._states.write(state, self._image)
        return Mounted(self._kind, self._image, folder)


class Recorded:
    """A new disk, mounted at `mounted` in `folder`, whose writes are recorded from the first mount on."""

    def __init__(self, kind, folder):
        self.kind = kind
        # The environment with which programs are recorded.
        self.environment = {}
        self._room = folder
        self.log = os.path.join(folder, "log")
        self._image = os.path.join(folder, "image")
        exported = os.path.join(folder, "exported")
        self.folder = os.path.join(folder, "mounted")
        os.mkdir(self.folder)
        make(kind, self._image)
        self.before = blocklog.extents(self._image)
        for path in (self.log, exported):
            with open(path, "wb"):
                pass
        self._daemon = subprocess.Popen(
            ["qemu-storage-daemon",
             "--blockdev", f"driver=file,node-name=image,filename={self._image}",
             "--blockdev", f"driver=file,node-name=log,filename={self.log}",
             "--blockdev", "driver=blklogwrites,node-name=logged,file=image,log=log,log-sector-size=512,"
                           "log-super-update-interval=1",
             "--export", f"type=fuse,id=export,node-name=logged,mountpoint={exported},writable=on"])
        deadline = time.monotonic() + 20
        while os.stat(exported).st_size == 0:
            if self._daemon.poll() is not None or time.monotonic() > deadline:
                self._daemon.kill()
                raise OSError("qemu-storage-daemon does not export the disk")
            time.sleep(0.01)
        self._mounted = Mounted(kind, exported, self.folder, may_write=True)

    def position(self):
        """Number of entries in the log now."""
        return blocklog.count(self.log)

    def sync(self):
        """Everything is on the disk when this returns; returns the position then."""
        descriptor = os.open(self.folder, os.O_RDONLY)
        _call("syncfs", descriptor)
        os.close(descriptor)
        return self.position()

    def end(self, begin):
        """Ends the recording and returns the disk's states from the position `begin` on."""
        # Writes caused by unmounting do not belong to a disk in use.
        end = self.position()
        self.close()
        return _States(self.kind, blocklog.Disk(SIZES[self.kind] << 20, self.before, blocklog.read(self.log)[:end], begin),
                       os.path.join(self._room, "state-image"))

    def close(self):
        if self._daemon.poll() is None:
            self._mounted.__exit__()
            self._daemon.terminate()
        self._daemon.wait()
