"""Where the comparison runs: file systems in memory and on a disk, and what operations work on there."""

import contextlib
import math
import os
import re
import subprocess
import tempfile
from typing import NamedTuple

from comparison.rows import CHANGE, COLD, CONSUME, DEVICE, MEMORY, ONE_CORE, OWN, READ, TREE, WARM

INNER_FOLDERS, FILES_EACH = 100, 10
OBJECTS_IN_OUTER = 1 + INNER_FOLDERS * (1 + FILES_EACH)
BLOCK, MEBIBYTE = 512, 1 << 20
IMAGE = 12 << 30  # bytes, sparse
INODES = 2_500_000
COLD_JOBS = 16


class Unmeasurable(Exception):
    """Why something is not measured."""


def run(*words, **how):
    return subprocess.run(words, check=True, stdout=subprocess.PIPE, text=True, **how).stdout.strip()


def make_files(path, count):
    os.mkdir(path)
    folder = os.open(path, os.O_RDONLY)
    for number in range(count):
        os.mknod(f"file{number}", dir_fd=folder)
    os.close(folder)


def make_tree(top, outer_folders):
    os.mkdir(top)
    for outer in range(outer_folders):
        os.mkdir(f"{top}/outer{outer}")
        for inner in range(INNER_FOLDERS):
            make_files(f"{top}/outer{outer}/inner{inner}", FILES_EACH)


def remove(path):
    if os.path.lexists(path):
        subprocess.run(["chattr", "-R", "-f", "-i", path], stderr=subprocess.DEVNULL)
        run("rm", "-rf", path)


class Sizes(NamedTuple):
    outer_folders: int
    divisor: int  # Of the numbers of files in flat folders.
    mebibytes: int  # Of a device.

    @property
    def objects(self):
        return self.outer_folders * OBJECTS_IN_OUTER


class Medium:
    """A folder with everything that rows work on, and beside it the image of a device."""

    def __init__(self, folder, images, sizes, remount=None):
        self.folder, self.sizes, self.remount = folder, sizes, remount
        self._image, self._device = f"{images}/device", None
        self._turns = {}

    def close(self):
        if self._device:
            run("losetup", "--detach", self._device)

    def prepared(self, row, program):
        """The values of a run, after making its folder if that does not exist or was consumed."""
        top = self._filled_device() if row.subject is DEVICE else self._folder(row)
        turn = self._turns[row.name] = self._turns.get(row.name, -1) + 1
        values = {name: pair[turn % 2] for name, pair in row.values.items()}
        values.update(top=top, device=os.path.basename(top), mebibytes=self.sizes.mebibytes,
                      blocks=self.sizes.mebibytes * MEBIBYTE // BLOCK)
        if program == OWN and row.before:
            run("sh", "-c", row.before.format(**values))
        return values

    def _folder(self, row):
        name = {READ: str(row.subject), CHANGE: re.sub(r"\W+", "-", row.name), CONSUME: "consumed"}[row.use]
        top = f"{self.folder}/{name}"
        if row.use is CONSUME:
            remove(top)
        if not os.path.exists(top):
            if row.subject is TREE:
                make_tree(top, self.sizes.outer_folders)
            else:
                make_files(top, row.subject // self.sizes.divisor)
        return top

    def _filled_device(self):
        with open(self._image, "r+b" if self._device else "wb") as file:
            for _ in range(self.sizes.mebibytes):
                file.write(b"\xa5" * MEBIBYTE)
            os.fsync(file.fileno())
        if not self._device:
            self._device = run("losetup", "--show", "--find", self._image)
        return self._device


def prefix_at(place_name):
    """The words that start a program there."""
    return ["taskset", "-c", "0"] if place_name == ONE_CORE else []


class Place:
    """A medium and how programs run there."""

    def __init__(self, name, medium):
        self.name, self.medium, self.prefix = name, medium, prefix_at(name)
        self.jobs = {ONE_CORE: 1, COLD: COLD_JOBS}.get(name, os.cpu_count())
        self.share = math.ceil(medium.sizes.outer_folders / self.jobs)

    def settle(self):
        """Nothing that was written before is still on its way to a disk; cold, nothing is in memory."""
        if self.name == COLD:
            self.medium.remount()
        else:
            run("sync", "--file-system", self.medium.folder)


@contextlib.contextmanager
def memory(sizes, _):
    if file_system("/dev/shm") != "tmpfs":
        raise Unmeasurable("no tmpfs at /dev/shm")
    with scratch_folder("/dev/shm") as folder, contextlib.closing(Medium(folder, folder, sizes)) as medium:
        yield medium


@contextlib.contextmanager
def disk(sizes, parent):
    """An ext4 file system with a journal in a loop device."""
    with contextlib.ExitStack() as stack:
        scratch = stack.enter_context(scratch_folder(parent))
        if file_system(scratch) in ("tmpfs", "ramfs"):
            raise Unmeasurable(f"{parent} is not on a disk")
        image, folder = f"{scratch}/image", f"{scratch}/mount"
        os.mkdir(folder)
        with open(image, "wb") as file:
            file.truncate(IMAGE)
        run("mkfs.ext4", "-q", "-N", str(INODES), image)
        try:
            device = run("losetup", "--show", "--find", "--direct-io=on", image)
        except subprocess.CalledProcessError:
            raise Unmeasurable(f"no loop device with direct I/O for {parent}") from None
        stack.callback(run, "losetup", "--detach", device)

        def mount():
            # Without the thread that would initialize inode tables meanwhile.
            run("mount", "-o", "noinit_itable", device, folder)

        def remount():
            run("umount", folder)
            with open("/proc/sys/vm/drop_caches", "w") as file:
                file.write("3")
            mount()

        mount()
        stack.callback(run, "umount", folder)
        yield stack.enter_context(contextlib.closing(Medium(folder, scratch, sizes, remount)))


def file_system(folder):
    return run("stat", "--file-system", "--format=%T", folder)


@contextlib.contextmanager
def scratch_folder(parent):
    folder = tempfile.mkdtemp(prefix="qrt-compare-", dir=parent)
    try:
        yield folder
    finally:
        remove(folder)


MEDIA = {memory: (MEMORY, ONE_CORE), disk: (WARM, COLD)}
