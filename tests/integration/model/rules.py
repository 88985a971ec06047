"""The file operations as their documentation has them, on a tree of objects in memory: the model of random_trees.

A rule takes the world, which it changes, and the arguments of its operation. It returns the possible outcomes (a domain
and a code, or an answer and its value), searches also the records by path. A `Refusal` is the only outcome.
"""

import array
import fcntl
import functools
import os
import pwd
import stat
import time

DONE, NOW = ("", 0), None  # NOW is the time of the operation.
POSIX, COCOA, ERROR = "NSPOSIXErrorDomain", "NSCocoaErrorDomain", "com.vantor.error.privileged-operation"
EPERM, ENOENT, EEXIST, ENOTDIR, EINVAL, ENOTSUP, ELOOP, ENAMETOOLONG, ENOTEMPTY = 1, 2, 17, 20, 22, 45, 62, 63, 66
WRITE_ERRORS = {ENOENT: 4, EPERM: 513, EEXIST: 516, ENAMETOOLONG: 514}
GET_FLAGS, SET_FLAGS, IMMUTABLE, APPEND_ONLY = 0x80086601, 0x40086602, 0x10, 0x20
MOST_LINKS, LONGEST_NAME, MOST_LEVELS, LONGEST_PATH = 40, 255, 499, 1024
TYPES = {stat.S_IFREG: "NSFileTypeRegular", stat.S_IFDIR: "NSFileTypeDirectory",
         stat.S_IFLNK: "NSFileTypeSymbolicLink", stat.S_IFSOCK: "NSFileTypeSocket"}


class Refusal(Exception):
    """Its one argument is a POSIX code."""
    posix = property(lambda self: (POSIX, self.args[0]))
    cocoa = property(lambda self: (COCOA, WRITE_ERRORS.get(self.args[0], 512)))


def refuse(code, when):
    if when:
        raise Refusal(code)


class Undetermined(Exception):
    """The outcome depends on an order that is not promised."""


def flags_of(path, value=None):
    """The immutable and append-only flags of a file or folder; sets them first when there is a value."""
    descriptor, word = os.open(path, os.O_RDONLY | os.O_NONBLOCK | os.O_NOFOLLOW), array.array("L", [0])
    try:
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

    def __init__(self, mode, target=None, status=None):
        self.kind, self.mode, self.target, self.certain = stat.S_IFMT(mode), stat.S_IMODE(mode), target, True
        self.uid = self.gid = self.device = 0
        self.identity = self.size = self.mtime = NOW
        self.immutable = self.append_only = False
        self.entries = {} if self.kind == stat.S_IFDIR else None
        if status:
            self.uid, self.gid, self.device, self.size = status.st_uid, status.st_gid, status.st_dev, status.st_size
            self.identity, self.mtime = (status.st_dev, status.st_ino), status.st_mtime_ns

    is_folder = property(lambda self: self.entries is not None)
    is_link = property(lambda self: self.kind == stat.S_IFLNK)
    takes_flags = property(lambda self: self.kind in (stat.S_IFREG, stat.S_IFDIR))
    is_fixed = property(lambda self: bool(self.immutable or self.append_only))

    def below(self):
        for child in (self.entries or {}).values():
            yield child
            yield from child.below()


def read(path, known):
    status = os.lstat(path)
    identity = (status.st_dev, status.st_ino)
    if identity in known:
        return known[identity]
    node = known[identity] = Node(status.st_mode, os.readlink(path) if stat.S_ISLNK(status.st_mode) else None, status)
    if node.takes_flags:
        flags = flags_of(path)
        node.immutable, node.append_only = bool(flags & IMMUTABLE), bool(flags & APPEND_ONLY)
    if node.is_folder:
        node.entries = {name: read(path + b"/" + name, known) for name in os.listdir(path)}
    return node


class World:
    """Everything below one folder, which has a path without links. Nothing else exists."""

    def __init__(self, place):
        self.place, self.top = place, read(place, {})

    def find(self, path, follow=True, passed=lambda link: None):
        """The nodes from the top to the object, as the kernel resolves paths; the last is None for a missing object."""
        refuse(ENOENT, when=not path)
        links = 0
        rest, chain = self._start(path) if path.startswith(b"/") else (path.split(b"/")[::-1], [])
        while rest:
            name = rest.pop()
            refuse(ENOTDIR, when=not chain[-1].is_folder)
            if name in (b"", b"."):
                continue
            if name == b"..":
                chain = chain[:-1] or [Node(stat.S_IFDIR)]
                continue
            refuse(ENAMETOOLONG, when=len(name) > LONGEST_NAME)
            node = chain[-1].entries.get(name)
            if node is None:
                refuse(ENOENT, when=any(rest))
                return [*chain, None]
            if not node.certain:
                raise Undetermined
            if not node.is_link or not (rest or follow):
                chain.append(node)
                continue
            links += 1
            passed(node)
            refuse(ELOOP, when=links > MOST_LINKS)
            more = node.target.split(b"/")[::-1]
            if node.target.startswith(b"/"):
                more, chain = self._start(node.target)
            rest += more
        return chain

    def _start(self, path):
        refuse(ENOENT, when=path != self.place and not path.startswith(self.place + b"/"))
        return path[len(self.place) + 1:].split(b"/")[::-1], [self.top]

    def object(self, path, follow=True, passed=lambda link: None):
        node = self.find(path, follow, passed)[-1]
        refuse(ENOENT, when=node is None)
        return node

    def get(self, path):
        try:
            return self.object(path)
        except Refusal:
            return None

    def named(self, path):
        """The object that an operation works on. A slash at the end of its path makes a file "not a folder"."""
        refuse(EINVAL, when=not path)
        try:
            return self.object(path)
        except Refusal as refusal:
            is_no_folder = path.endswith(b"/") and refusal.args[0] == ENOTDIR
            raise Refusal(ENOTDIR if is_no_folder else ENOENT) from None

    def real_path(self, path):
        chain = self.find(path)
        names = [next(name for name, child in parent.entries.items() if child is node)
                 for parent, node in zip(chain, chain[1:])]
        return b"/".join([self.place, *names])

    def location(self, path):
        """The folder, the name and the object (None when it is missing), the last link not followed."""
        if path.endswith(b"/"):
            try:
                self.object(path)
            except Refusal as refusal:
                if refusal.args[0] != ENOENT:
                    raise
        parent, _, name = path.rstrip(b"/").rpartition(b"/")
        folder = self.object(parent + b"/")
        node = folder.entries.get(name)
        if node is not None and not node.certain:
            raise Undetermined
        return folder, name, node


def differences(wanted, found, started, path=b"."):
    for field in ("kind", "mode", "uid", "gid", "target", "immutable", "append_only", "identity", "mtime"):
        mine, real = getattr(wanted, field), getattr(found, field)
        if field == "mtime" and mine is NOW:
            is_right = real >= started
        elif isinstance(mine, frozenset):
            is_right = real in mine
        else:
            is_right = mine in (real, ...) or field == "identity" and mine is NOW
        if not is_right:
            yield path, field, mine, real
    for name in (wanted.entries or {}).keys() | (found.entries or {}).keys():
        child, real = (node.entries.get(name) if node.is_folder else None for node in (wanted, found))
        if child and real:
            yield from differences(child, real, started, path + b"/" + name)
        elif not child or child.certain:
            yield path + b"/" + name, "wanted" if child else "not wanted"


def file_manager(rule):
    """Its errors are the file manager's."""
    @functools.wraps(rule)
    def rule_of_manager(*arguments):
        try:
            rule(*arguments)
        except Refusal as refusal:
            return {refusal.cocoa}
        return {DONE}
    return rule_of_manager


def check_itself(world, path):
    """Refuses a path that ends in "." or "..", after what resolving it refuses."""
    if path.endswith((b"/.", b"/..")):
        world.object(path.rpartition(b"/")[0] + b"/")
        raise Refusal(EINVAL if path.endswith(b"/.") else ENOTEMPTY)


def remove_one(world, path):
    refuse(EINVAL, when=not path)
    check_itself(world, path)
    folder, name, node = world.location(path)
    if path.endswith(b"/") or node is None:
        world.object(path, follow=False)
    refuse(ENOTDIR, when=path.endswith(b"/") and node.is_link)
    node.immutable = node.append_only = False
    if folder.is_fixed or node.entries:
        raise Refusal(EPERM if folder.is_fixed else ENOTEMPTY)
    del folder.entries[name]
    folder.mtime = NOW
    return DONE


def remove_all(world, path):
    refuse(EINVAL, when=not path)
    if world.get(path) is None:
        return DONE
    check_itself(world, path)
    return remove_entry(*world.location(path)[:2])


def remove_entry(folder, name):
    """Clears the immutable flags of everything first. What is append-only stays, with the folders above it; what
    else then stays depends on the order."""
    node = folder.entries[name]
    tree = [node, *node.below()]
    for item in tree:
        item.immutable = False
    if not folder.is_fixed and not any(item.append_only for item in tree):
        del folder.entries[name]
        folder.mtime = NOW
        return DONE
    mark_rest(node, folder.is_fixed)
    return Refusal(EPERM).cocoa


def mark_rest(node, is_kept):
    is_kept |= node.append_only
    for child in (node.entries or {}).values():
        is_kept |= mark_rest(child, node.append_only)
    node.certain &= is_kept
    node.mtime = ... if node.is_folder else node.mtime
    return is_kept


def delete_objects(world, recursive, stop, *paths):
    last = DONE
    for path in paths:
        try:
            outcome = remove_all(world, path) if recursive == "1" else remove_one(world, path)
        except Refusal as refusal:
            outcome = refusal.posix
        last = last if outcome == DONE else outcome
        if stop == "1" and last != DONE:
            break
    return {last}


def delete_contents(world, *paths):
    for path in paths:
        try:
            folder = world.named(path)
        except Refusal as refusal:
            if refusal.args[0] == ENOTDIR:
                raise
            continue
        refuse(ENOTDIR, when=not folder.is_folder)
        base, entries = world.real_path(path), dict(folder.entries)
        before = {node: node.immutable for node in folder.below()}
        outcomes = {remove_entry(folder, name) for name in entries if world.get(base + b"/" + name)} - {DONE}
        if outcomes:  # The entries after the first that fails are left alone.
            for name in entries.keys() - folder.entries.keys():
                mark_rest(entries[name], False)
            for node, immutable in before.items():
                node.immutable = frozenset({immutable, False})
            folder.entries, folder.mtime = entries, ...
            return outcomes
    return {DONE}


def create(world, path, code):
    modes = {"F": stat.S_IFREG | 0o644, "X": stat.S_IFREG | 0o755, "D": stat.S_IFDIR | 0o755}
    if not path or code not in modes or world.get(path):
        raise Refusal(EEXIST if path and code in modes else EINVAL)
    outcomes = file_manager(add)(world, path, Node(modes[code]), code == "D")
    return outcomes if code == "D" or outcomes == {DONE} else {(ERROR, 4)}


def add(world, path, new, slash_is_good=False):
    folder, name, node = world.location(path)
    refuse(ENOENT, when=path.endswith(b"/") and not slash_is_good)
    if len(name) > LONGEST_NAME or node:
        raise Refusal(EEXIST if node else ENAMETOOLONG)
    refuse(EPERM, when=folder.immutable or (new.identity and new.is_fixed))
    folder.entries[name], folder.mtime = new, NOW


@file_manager
def rename(world, path, new_path):
    folder, name, node = world.location(path)
    to_folder, to_name, there = world.location(new_path)
    if to_folder.device != folder.device:
        raise Undetermined
    refuse(ENOTDIR, when=(path.endswith(b"/") or new_path.endswith(b"/")) and node and not node.is_folder)
    if node is None or len(to_name) > LONGEST_NAME:
        raise Refusal(ENAMETOOLONG if len(to_name if node else name) > LONGEST_NAME else ENOENT)
    if there or to_folder in (node, *node.below()):
        raise Refusal(EEXIST if there else EINVAL)
    refuse(EPERM, when=folder.is_fixed or node.is_fixed or to_folder.immutable)
    to_folder.entries[to_name] = folder.entries.pop(name)
    folder.mtime = to_folder.mtime = NOW


@file_manager
def link(world, path, target, hard):
    if not hard:
        if not target:
            world.location(path)
            raise Refusal(ENOENT)
        return add(world, path, Node(stat.S_IFLNK | 0o777, target))
    node, folder = world.location(target)[2], world.location(path)[0]
    refuse(ENOENT, when=path.endswith(b"/"))
    if node is None:
        world.object(target, follow=False)
    if node.is_folder or folder.device != node.device:
        raise Undetermined
    add(world, path, Node(stat.S_IFLNK | 0o777, node.target) if node.is_link else node)


def inspect(world, path):
    refuse(EINVAL, when=not path)
    node = world.get(path)
    return {("ObjectExistence", 0 if node is None else 1 if node.is_folder else 2)}


def touch(world, path):
    node = world.named(path)
    refuse(EPERM, when=node.immutable)
    node.mtime = NOW
    return {DONE}


def trusted_target(world, path):
    """The target of a link that everything on the way to it trusts: root's links, or those of the target's owner,
    on its file system."""
    owners, device = set(), world.object(path, follow=False).device
    try:
        target = world.object(path, passed=lambda link: owners.add(link.uid))
    except Refusal:
        return None
    return target if target.device == device and owners <= {0, target.uid} else None


def protect(world, path, value, recursive, stay):
    top = world.named(path)
    changed = {top}
    if recursive and top.is_folder:
        device = world.object(path, follow=False).device if stay else None
        for at, node in items(world.real_path(path), top, device):
            changed.add(trusted_target(world, at) if node.is_link else node)
    changed.discard(None)
    refusing = {node for node in changed if value and not node.takes_flags}
    for node in changed - refusing if top not in refusing else ():
        certainly = node is top or not refusing
        node.immutable = value if certainly else frozenset({node.immutable, value})
    return {(POSIX, ENOTSUP) if refusing else DONE}


def items(path, top, device=None):
    """The paths and nodes below a folder, those on other devices passed over."""
    for name, node in top.entries.items():
        if device in (None, node.device):
            yield path + b"/" + name, node
            if node.is_folder:
                yield from items(path + b"/" + name, node, device)


def enumerated(path, top, device=None, skipped=(), relative=b"", level=1):
    """The paths that a search reports below a folder, with the nodes; enters the folders on the device that are not
    skipped. The part of a path below the folder is at most 1,024 bytes long, and a name of 255 bytes below the first
    level adds nothing to it."""
    for name, node in top.entries.items():
        joined = relative + (b"/" if relative else b"") + name
        yield path + b"/" + joined, name, node
        fits = len(relative) + 1 + len(name) <= LONGEST_PATH and level <= MOST_LEVELS
        if node.is_folder and device in (None, node.device) and fits and node not in skipped:
            below = relative if level > 1 and len(name) == LONGEST_NAME else joined
            yield from enumerated(path, node, device, skipped, below, level + 1)


def search_folder(world, path):
    top = world.named(path)
    refuse(ENOTDIR, when=not top.is_folder)
    return world.real_path(path), top


def record(node):
    return TYPES.get(node.kind, "NSFileTypeUnknown"), node.size, node.mode, round(node.mtime / 1e9, 2)


def search(world, path, stay, is_wanted, skipped=()):
    base, top = search_folder(world, path)
    found = enumerated(base, top, top.device if stay else None, skipped)
    return {DONE}, [(at, record(node)) for at, name, node in found if is_wanted(name, node)]


def search_aged(world, path, days, stay):
    now = time.time_ns()
    return search(world, path, stay, lambda _, node: days * 86400e9 <= now - node.mtime)


def extension(name):
    return os.path.splitext(name)[1][1:]


def search_names(world, path, prefix, wanted_extension, folders):
    base, top = search_folder(world, path)
    targets = {name: world.get(base + b"/" + name) for name in top.entries}
    return {DONE}, [(base + b"/" + name, record(top.entries[name])) for name, target in targets.items()
                    if name.startswith(prefix) and wanted_extension in (b"", extension(name))
                    and target and target.is_folder == folders]


def search_patterns(world, path, stay, *pairs):
    tests = {"0": bytes.__eq__, "1": bytes.startswith, "2": lambda name, text: extension(name) == text}
    refuse(EINVAL, when=stay not in ("0", "1"))
    _, top = search_folder(world, path)
    patterns = list(zip(pairs[::2], pairs[1::2]))
    are_good = all(kind in tests and text for kind, text in patterns)
    if not are_good or not top.entries:
        raise Refusal(ENOENT if are_good else EINVAL)
    return search(world, path, stay == "1", lambda name, _: any(tests[kind](name, text) for kind, text in patterns))


def search_orphans(world, path, stay):
    """A folder that holds nothing of known users is reported once, for everything in it."""
    known, skipped = {0, *(user.pw_uid for user in pwd.getpwall())}, set()

    def is_wanted(_, node):
        inside = [child for _, child in items(b"", node, node.device)] if node.is_folder else []
        if any(item.uid in known for item in (node, *inside)):
            return False
        skipped.add(node)
        return True

    return search(world, path, stay, is_wanted, skipped)


def size(world, path):
    return {("Size", sum(node.size for node in search_folder(world, path)[1].below()))}


def propagate(world, path, _expected, stay, options):
    """Execute bits are for folders, and for sockets, whose type has the folders' bit. Nothing is refused that would
    change nothing."""
    base, top = search_folder(world, path)
    changes, refusals = {}, {}
    for _, _, node in enumerated(base, top, top.device if stay else None):
        mode, bits = node.mode, 0o777 if node.kind & stat.S_IFDIR else 0o666
        for option, those in ((8, 0o700), (4, 0o070), (2, 0o007)):
            if options & option and not node.is_link:
                mode = top.mode & bits & those | mode & ~(bits & those)
        owner = (top.uid if options & 0x20 else node.uid, top.gid if options & 0x10 else node.gid)
        if options & 0x30 and node.mode & 0o6000:
            refusals[node] = POSIX, EINVAL
        elif node.is_fixed and (owner != (node.uid, node.gid) or mode != node.mode):
            refusals[node] = ERROR, 14 if owner != (node.uid, node.gid) else 15
        else:
            changes[node] = {"uid": owner[0], "gid": owner[1], "mode": mode}
    for node, new in changes.items():
        for field, value in new.items():
            setattr(node, field, frozenset({value, getattr(node, field)}) if refusals else value)
    return set(refusals.values()) or {DONE}
