"""The file operations as their documentation has them, on a tree of objects in memory: the model of random_trees.

A rule takes the world, which it changes, and the arguments of its operation. It returns the possible outcomes (a domain
and a code, or an answer and its value; None is success), searches also the records by path. A `Refusal` is the only
outcome.
"""

import array
import fcntl
import os
import pwd
import stat
import time

DONE, NOW = ("", 0), None  # NOW is the time of the operation.
POSIX, COCOA, ERROR = "NSPOSIXErrorDomain", "NSCocoaErrorDomain", "com.vantor.error.privileged-operation"
EPERM, ENOENT, EEXIST, ENOTDIR, EINVAL, ENOTSUP, ELOOP, ENAMETOOLONG, ENOTEMPTY = 1, 2, 17, 20, 22, 45, 62, 63, 66
WRITE_ERRORS = {ENOENT: 4, EPERM: 513, EEXIST: 516, ENAMETOOLONG: 514}
GET_FLAGS, SET_FLAGS, IMMUTABLE, APPEND_ONLY = 0x80086601, 0x40086602, 0x10, 0x20
MOST_LINKS, LONGEST_NAME, LONGEST_PATH = 40, 255, 1024
TYPES = {stat.S_IFREG: "NSFileTypeRegular", stat.S_IFDIR: "NSFileTypeDirectory",
         stat.S_IFLNK: "NSFileTypeSymbolicLink", stat.S_IFSOCK: "NSFileTypeSocket"}


class Refusal(Exception):
    def __init__(self, code, of_manager=False):
        self.code, self.of_manager = code, of_manager

    def outcome(self):
        return (COCOA, WRITE_ERRORS.get(self.code, 512)) if self.of_manager else (POSIX, self.code)


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
    """One object. Of a `loose` one nothing is known after a failure, but that append-only objects are still there."""

    def __init__(self, mode, target=None):
        self.kind, self.mode, self.target = stat.S_IFMT(mode), stat.S_IMODE(mode), target
        self.uid = self.gid = self.device = 0
        self.identity = self.size = self.mtime = NOW
        self.immutable = self.append_only = self.loose = False
        self.entries = {} if self.kind == stat.S_IFDIR else None

    is_folder = property(lambda self: self.entries is not None)
    is_link = property(lambda self: self.kind == stat.S_IFLNK)
    takes_flags = property(lambda self: self.kind in (stat.S_IFREG, stat.S_IFDIR))
    is_fixed = property(lambda self: self.immutable or self.append_only)

    def tree(self):
        yield self
        for child in (self.entries or {}).values():
            yield from child.tree()


def read(path, known):
    status = os.lstat(path)
    identity = (status.st_dev, status.st_ino)
    if identity in known:
        return known[identity]
    node = known[identity] = Node(status.st_mode, os.readlink(path) if stat.S_ISLNK(status.st_mode) else None)
    node.identity, node.mtime, node.size = identity, status.st_mtime_ns, status.st_size
    node.uid, node.gid, node.device = status.st_uid, status.st_gid, status.st_dev
    if node.takes_flags:
        flags = flags_of(path)
        node.immutable, node.append_only = bool(flags & IMMUTABLE), bool(flags & APPEND_ONLY)
    if node.is_folder:
        node.entries = {name: read(path + b"/" + name, known) for name in os.listdir(path)}
    return node


class World:
    """Everything below one folder, which has a path without links. Nothing else exists."""

    def __init__(self, place):
        self.place, self.top, self.passed = place, read(place, {}), []

    def find(self, path, follow=True):
        """The nodes from the top to the object, as the kernel resolves paths; the last is None for a missing object.
        `passed` are then the links on the way."""
        rest, chain, self.passed = [path], [], []
        while rest:
            name = rest.pop()
            if b"/" in name or not chain:
                if not chain or name.startswith(b"/"):
                    refuse(ENOENT, when=name != self.place and not name.startswith(self.place + b"/"))
                    name, chain = name[len(self.place) + 1:], [self.top]
                rest += name.split(b"/")[::-1]
                continue
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
            if node.loose:
                raise Undetermined
            if node.is_link and (rest or follow):
                self.passed.append(node)
                refuse(ELOOP, when=len(self.passed) > MOST_LINKS)
                rest.append(node.target)
            else:
                chain.append(node)
        return chain

    def object(self, path, follow=True):
        node = self.find(path, follow)[-1]
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
            is_no_folder = path.endswith(b"/") and refusal.code == ENOTDIR
            raise Refusal(ENOTDIR if is_no_folder else ENOENT) from None

    def folder(self, path):
        """A folder to be searched, and its path without links."""
        refuse(ENOTDIR, when=not self.named(path).is_folder)
        chain = self.find(path)
        names = [next(name for name, child in parent.entries.items() if child is node)
                 for parent, node in zip(chain, chain[1:])]
        return chain[-1], b"/".join([self.place, *names])

    def location(self, path):
        """The folder, the name and the object (None when it is missing), the last link not followed."""
        if path.endswith(b"/"):
            try:
                self.object(path)
            except Refusal as refusal:
                refuse(refusal.code, when=refusal.code != ENOENT)
        parent, _, name = path.rstrip(b"/").rpartition(b"/")
        folder = self.object(parent + b"/")
        node = folder.entries.get(name)
        if node is not None and node.loose:
            raise Undetermined
        return folder, name, node


def differences(wanted, found, started, path=b"."):
    for field in ("kind", "mode", "uid", "gid", "target", "immutable", "append_only", "identity", "mtime"):
        mine, real = getattr(wanted, field), getattr(found, field)
        is_right = mine == real or mine is NOW and (field == "identity" or field == "mtime" and real >= started)
        if not is_right and not wanted.loose:
            yield path, field, mine, real
    for name in (wanted.entries or {}).keys() | (found.entries or {}).keys():
        child, real = (node.entries.get(name) if node.is_folder else None for node in (wanted, found))
        if child and real:
            yield from differences(child, real, started, path + b"/" + name)
        elif not child or not child.loose or any(node.append_only for node in child.tree()):
            yield path + b"/" + name, "wanted" if child else "not wanted"


def check_itself(world, path):
    """Refuses a path that ends in "." or "..", after what resolving it refuses."""
    if path.endswith((b"/.", b"/..")):
        world.object(path.rpartition(b"/")[0] + b"/")
        raise Refusal(EINVAL if path.endswith(b"/.") else ENOTEMPTY)


def remove_one(world, path):
    check_itself(world, path)
    folder, name, node = world.location(path)
    if path.endswith(b"/") or node is None:
        world.object(path, follow=False)
    refuse(ENOTDIR, when=path.endswith(b"/") and node.is_link)
    node.immutable = node.append_only = False
    refuse(EPERM, when=folder.is_fixed)
    refuse(ENOTEMPTY, when=node.entries)
    del folder.entries[name]
    folder.mtime = NOW


def remove_all(world, path):
    if world.get(path):
        check_itself(world, path)
        remove_entry(*world.location(path)[:2])


def remove_entry(folder, name):
    """Clears the immutable flags of everything first. What is append-only stays, with the folders above it; what
    else then stays depends on the order."""
    tree = list(folder.entries[name].tree())
    for item in tree:
        item.immutable = False
    if folder.is_fixed or any(item.append_only for item in tree):
        for item in tree:
            item.loose = True
        raise Refusal(EPERM, of_manager=True)
    del folder.entries[name]
    folder.mtime = NOW


def delete_objects(world, recursive, stop, *paths):
    last = DONE
    for path in paths:
        try:
            refuse(EINVAL, when=not path)
            (remove_all if recursive == "1" else remove_one)(world, path)
        except Refusal as refusal:
            last = refusal.outcome()
            if stop == "1":
                break
    return {last}


def delete_contents(world, *paths):
    for path in paths:
        try:
            folder, base = world.folder(path)
        except Refusal as refusal:
            refuse(ENOTDIR, when=refusal.code == ENOTDIR)
            continue
        entries, outcomes = dict(folder.entries), set()
        for name in entries:
            try:
                if world.get(base + b"/" + name):
                    remove_entry(folder, name)
            except Refusal as refusal:
                outcomes.add(refusal.outcome())
        if outcomes:  # The entries after the first that fails are left alone.
            folder.entries = entries
            for item in folder.tree():
                item.loose = True
            return outcomes
    return None


def create(world, path, code):
    modes = {"F": stat.S_IFREG | 0o644, "X": stat.S_IFREG | 0o755, "D": stat.S_IFDIR | 0o755}
    refuse(EINVAL, when=not path or code not in modes)
    refuse(EEXIST, when=world.get(path))
    try:
        add(world, path, Node(modes[code]), code == "D")
    except Refusal as refusal:
        refusal.of_manager = True
        return {refusal.outcome() if code == "D" else (ERROR, 4)}
    return None


def add(world, path, new, slash_is_good=False):
    folder, name, node = world.location(path)
    refuse(ENOENT, when=path.endswith(b"/") and not slash_is_good)
    refuse(ENAMETOOLONG, when=len(name) > LONGEST_NAME)
    refuse(EEXIST, when=node)
    refuse(EPERM, when=folder.immutable or (new.identity and new.is_fixed))
    folder.entries[name], folder.mtime = new, NOW


def rename(world, path, new_path):
    folder, name, node = world.location(path)
    to_folder, to_name, there = world.location(new_path)
    if to_folder.device != folder.device:
        raise Undetermined
    refuse(ENOTDIR, when=(path.endswith(b"/") or new_path.endswith(b"/")) and node and not node.is_folder)
    refuse(ENAMETOOLONG, when=len(to_name if node else name) > LONGEST_NAME)
    refuse(ENOENT, when=node is None)
    refuse(EEXIST, when=there)
    refuse(EINVAL, when=to_folder in node.tree())
    refuse(EPERM, when=folder.is_fixed or node.is_fixed or to_folder.immutable)
    to_folder.entries[to_name] = folder.entries.pop(name)
    folder.mtime = to_folder.mtime = NOW


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
    return add(world, path, Node(stat.S_IFLNK | 0o777, node.target) if node.is_link else node)


def inspect(world, path):
    refuse(EINVAL, when=not path)
    node = world.get(path)
    return {("ObjectExistence", 0 if node is None else 1 if node.is_folder else 2)}


def touch(world, path):
    node = world.named(path)
    refuse(EPERM, when=node.immutable)
    node.mtime = NOW


def trusted_target(world, path):
    """The target of a link that everything on the way to it trusts: root's links, or those of the target's owner,
    on its file system."""
    device, target = world.object(path, follow=False).device, world.get(path)
    owners = {passed.uid for passed in world.passed}
    return target if target and target.device == device and owners <= {0, target.uid} else None


def protect(world, path, value, recursive, stay):
    top = world.named(path)
    changed = {top}
    if recursive and top.is_folder:
        base, device = world.folder(path)[1], world.object(path, follow=False).device if stay else None
        for at, _, node in entered(base, top, device):
            changed.add(trusted_target(world, at) if node.is_link else node)
    changed.discard(None)
    refusing = {node for node in changed if value and not node.takes_flags}
    refuse(ENOTSUP, when=top in refusing)
    for node in changed - refusing:
        node.immutable, node.loose = value, bool(refusing) and node is not top
    refuse(ENOTSUP, when=refusing)


def entered(base, top, device=None, skipped=(), is_limited=False, relative=b""):
    """Path, name and node of what is below a folder, with what is on other devices and in skipped folders left out. A
    limited walk, a search's, reports but does not enter them: the part of a path below the folder is at most 1,024
    bytes long, and a name of 255 bytes below the first level adds nothing to it."""
    for name, node in top.entries.items():
        is_here, joined = device in (None, node.device), relative + (b"/" if relative else b"") + name
        if is_here or is_limited:
            yield base + b"/" + joined, name, node
        fits = not is_limited or len(relative) + 1 + len(name) <= LONGEST_PATH
        if node.is_folder and is_here and fits and node not in skipped:
            below = relative if is_limited and relative and len(name) == LONGEST_NAME else joined
            yield from entered(base, node, device, skipped, is_limited, below)


def record(node):
    return TYPES.get(node.kind, "NSFileTypeUnknown"), node.size, node.mode, round(node.mtime / 1e9, 2)


def search(world, path, stay, is_wanted, skipped=()):
    top, base = world.folder(path)
    found = entered(base, top, top.device if stay else None, skipped, is_limited=True)
    return {DONE}, [(at, record(node)) for at, name, node in found if is_wanted(name, node)]


def search_aged(world, path, days, stay):
    now = time.time_ns()
    return search(world, path, stay, lambda _, node: days * 86400e9 <= now - node.mtime)


def extension(name):
    return os.path.splitext(name)[1][1:]


def search_names(world, path, prefix, wanted_extension, folders):
    top, base = world.folder(path)
    targets = {name: world.get(base + b"/" + name) for name in top.entries}
    return {DONE}, [(base + b"/" + name, record(top.entries[name])) for name, target in targets.items()
                    if name.startswith(prefix) and wanted_extension in (b"", extension(name))
                    and target and target.is_folder == folders]


def search_patterns(world, path, stay, *pairs):
    tests = {"0": bytes.__eq__, "1": bytes.startswith, "2": lambda name, text: extension(name) == text}
    refuse(EINVAL, when=stay not in ("0", "1"))
    top, patterns = world.folder(path)[0], list(zip(pairs[::2], pairs[1::2]))
    refuse(EINVAL, when=not all(kind in tests and text for kind, text in patterns))
    refuse(ENOENT, when=not top.entries)
    return search(world, path, stay == "1", lambda name, _: any(tests[kind](name, text) for kind, text in patterns))


def search_orphans(world, path, stay):
    """A folder that holds nothing of known users is reported once, for everything in it."""
    known, skipped = {0, *(user.pw_uid for user in pwd.getpwall())}, set()

    def is_wanted(_, node):
        inside = [child for _, _, child in entered(b"", node, node.device)] if node.is_folder else []
        if any(item.uid in known for item in (node, *inside)):
            return False
        skipped.add(node)
        return True

    return search(world, path, stay, is_wanted, skipped)


def size(world, path):
    top, _ = world.folder(path)
    return {("Size", sum(node.size for node in top.tree() if node is not top))}


def propagate(world, path, _expected, stay, options):
    """Execute bits are for folders, and for sockets, whose type has the folders' bit. Nothing is refused that would
    change nothing."""
    top, base = world.folder(path)
    changes, refusals = {}, set()
    for _, _, node in entered(base, top, top.device if stay else None, is_limited=True):
        mode, bits = node.mode, 0o777 if node.kind & stat.S_IFDIR else 0o666
        for option, those in ((8, 0o700), (4, 0o070), (2, 0o007)):
            if options & option and not node.is_link:
                mode = top.mode & bits & those | mode & ~(bits & those)
        owner = (top.uid if options & 0x20 else node.uid, top.gid if options & 0x10 else node.gid)
        if options & 0x30 and node.mode & 0o6000:
            refusals.add((POSIX, EINVAL))
        elif node.is_fixed and (owner != (node.uid, node.gid) or mode != node.mode):
            refusals.add((ERROR, 14 if owner != (node.uid, node.gid) else 15))
        else:
            changes[node] = *owner, mode
    for node, (node.uid, node.gid, node.mode) in changes.items():
        node.loose = bool(refusals)
    return refusals or {DONE}


MANAGERS = (rename, link)  # Their errors are the file manager's.
