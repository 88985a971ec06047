"""Trees of file-system objects in memory: read from a folder, resolved as the kernel resolves paths, compared."""

import array
import fcntl
import os
import stat

GET_FLAGS, SET_FLAGS = 0x80086601, 0x40086602
IMMUTABLE, APPEND_ONLY = 0x10, 0x20
EPERM, ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG = 1, 2, 20, 62, 63
MOST_LINKS, LONGEST_NAME = 40, 255
NOW = None  # The time of the operation.


class Refusal(Exception):
    """A path that cannot be resolved; carries the POSIX code."""

    def __init__(self, code):
        super().__init__(code)
        self.code = code


class Undetermined(Exception):
    """The outcome depends on an order that is not promised."""


def flags_of(path, value=None):
    """The immutable and append-only flags of a file or folder; sets them first when there is a value."""
    descriptor = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_NOFOLLOW)
    try:
        word = array.array("L", [0])
        fcntl.ioctl(descriptor, GET_FLAGS, word)
        if value is not None:
            word[0] = word[0] & ~(IMMUTABLE | APPEND_ONLY) | value
            fcntl.ioctl(descriptor, SET_FLAGS, word)
        return word[0] & (IMMUTABLE | APPEND_ONLY)
    finally:
        os.close(descriptor)


class Node:
    """One object. A field that may have several values afterwards is a set of them; an object that may
    be gone afterwards is not `certain`."""

    def __init__(self, kind, mode, uid=0, gid=0, target=None, device=0):
        self.kind, self.mode, self.uid, self.gid, self.target = kind, mode, uid, gid, target
        self.device, self.identity, self.size, self.mtime = device, None, None, NOW
        self.immutable = self.append_only = False
        self.entries = {} if kind == stat.S_IFDIR else None
        self.certain = True

    is_folder = property(lambda self: self.entries is not None)
    is_link = property(lambda self: self.kind == stat.S_IFLNK)
    takes_flags = property(lambda self: self.kind in (stat.S_IFREG, stat.S_IFDIR))
    is_fixed = property(lambda self: bool(self.immutable or self.append_only))

    def below(self):
        for name, child in sorted((self.entries or {}).items()):
            yield self, name, child
            yield from child.below()


def read(path, known=None):
    known = {} if known is None else known
    status = os.lstat(path)
    identity = (status.st_dev, status.st_ino)
    if identity in known:
        return known[identity]
    node = known[identity] = Node(stat.S_IFMT(status.st_mode), stat.S_IMODE(status.st_mode), status.st_uid,
                                  status.st_gid, device=status.st_dev)
    node.identity, node.size, node.mtime = identity, status.st_size, status.st_mtime_ns
    if node.is_link:
        node.target = os.readlink(path)
    if node.takes_flags:
        flags = flags_of(path)
        node.immutable, node.append_only = bool(flags & IMMUTABLE), bool(flags & APPEND_ONLY)
    if node.is_folder:
        node.entries = {name: read(path + b"/" + name, known) for name in os.listdir(path)}
    return node


class World:
    """Everything below one folder, which has a path without links. Nothing else exists."""

    def __init__(self, place):
        self.place, self.top = place, read(place)

    def find(self, path, follow=True, passed=lambda link: None):
        """The nodes from the top to the object, and its name; the last node is None where nothing is."""
        if not path:
            raise Refusal(ENOENT)
        rest, chain, links, name = path.split(b"/")[::-1], [], 0, b""
        if path.startswith(b"/"):
            rest, chain = self._start(path)
        while rest:
            name = rest.pop()
            if not chain[-1].is_folder:
                raise Refusal(ENOTDIR)
            if name in (b"", b"."):
                continue
            if name == b"..":
                chain = chain[:-1] or [Node(stat.S_IFDIR, 0)]
                continue
            if len(name) > LONGEST_NAME:
                raise Refusal(ENAMETOOLONG)
            node = chain[-1].entries.get(name)
            if node is None:
                if any(rest):
                    raise Refusal(ENOENT)
                return [*chain, None], name
            if not node.certain:
                raise Undetermined
            if node.is_link and (rest or follow):
                links += 1
                passed(node)
                if links > MOST_LINKS:
                    raise Refusal(ELOOP)
                if node.target.startswith(b"/"):
                    more, chain = self._start(node.target)
                else:
                    more = node.target.split(b"/")[::-1]
                rest += more
                continue
            chain.append(node)
        return chain, name

    def _start(self, path):
        if path != self.place and not path.startswith(self.place + b"/"):
            raise Refusal(ENOENT)
        return path[len(self.place) + 1:].split(b"/")[::-1], [self.top]

    def object(self, path, follow=True, passed=lambda link: None):
        node = self.find(path, follow, passed)[0][-1]
        if node is None:
            raise Refusal(ENOENT)
        return node

    def real_path(self, path):
        chain, _ = self.find(path)
        names = [next(name for name, child in parent.entries.items() if child is node)
                 for parent, node in zip(chain, chain[1:])]
        return b"/".join([self.place, *names])

    def location(self, path):
        """The folder, the name and the object (None where nothing is), the last link not followed."""
        if path.endswith(b"/"):
            try:
                self.object(path)
            except Refusal as refusal:
                if refusal.code != ENOENT:
                    raise
        parent, _, name = path.rstrip(b"/").rpartition(b"/")
        folder = self.object(parent + b"/")
        node = folder.entries.get(name)
        if node is not None and not node.certain:
            raise Undetermined
        return folder, name, node


def _fits(wanted, found):
    return found in wanted if isinstance(wanted, frozenset) else wanted == found


def differences(wanted, found, started, path=b"."):
    for field in ("kind", "mode", "uid", "gid", "target", "immutable", "append_only"):
        if not _fits(getattr(wanted, field), getattr(found, field)):
            yield path, field, getattr(wanted, field), getattr(found, field)
    if wanted.identity is not None and wanted.identity != found.identity:
        yield path, "identity", wanted.identity, found.identity
    if wanted.mtime is NOW and found.mtime < started or wanted.mtime not in (NOW, found.mtime, ...):
        yield path, "time", wanted.mtime, found.mtime
    if not wanted.is_folder or not found.is_folder:
        return
    for name in sorted(wanted.entries.keys() | found.entries.keys()):
        child, real, at = wanted.entries.get(name), found.entries.get(name), path + b"/" + name
        if child is None:
            yield at, "object", "nothing", "one"
        elif real is not None:
            yield from differences(child, real, started, at)
        elif child.certain:
            yield at, "object", "one", "nothing"
