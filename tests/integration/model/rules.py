"""What each operation answers, reports and leaves, as its documentation has it: the model of random_trees.

A rule takes the world, which it changes, and the operation's arguments. It gives the possible outcomes, each a domain
and a code or an answer, and for searches the records by path.
"""

import pwd
import stat
import time

from tree import ENAMETOOLONG, ENOENT, ENOTDIR, EPERM, LONGEST_NAME, NOW, Node, Refusal, Undetermined

DONE = ("", 0)
POSIX, COCOA, ERROR = "NSPOSIXErrorDomain", "NSCocoaErrorDomain", "com.vantor.error.privileged-operation"
EINVAL, EEXIST, ENOTSUP, ENOTEMPTY = 22, 17, 45, 66
WRITE_ERRORS = {ENOENT: 4, EPERM: 513, EEXIST: 516, ENAMETOOLONG: 514}
MOST_LEVELS, LONGEST_PATH = 499, 1024
TYPES = {stat.S_IFREG: "NSFileTypeRegular", stat.S_IFDIR: "NSFileTypeDirectory",
         stat.S_IFLNK: "NSFileTypeSymbolicLink", stat.S_IFSOCK: "NSFileTypeSocket"}


def posix(code):
    return POSIX, code


def write_error(code):
    return COCOA, WRITE_ERRORS.get(code, 512)


def exists(world, path):
    try:
        return world.object(path)
    except Refusal:
        return None


def code_of(world, path):
    try:
        world.object(path, follow=False)
    except Refusal as refusal:
        return refusal.code
    return 0


def is_refused_slash(world, path):
    try:
        world.object(path)
    except Refusal as refusal:
        return path.endswith(b"/") and refusal.code == ENOTDIR
    return False


def remove_one(world, path):
    if not path:
        return posix(EINVAL)
    if path.endswith((b"/.", b"/..")):
        return remove_itself(world, path)
    try:
        folder, name, node = world.location(path)
        if path.endswith(b"/") or node is None:
            world.object(path, follow=False)
    except Refusal as refusal:
        return posix(refusal.code)
    if path.endswith(b"/") and node.is_link:
        return posix(ENOTDIR)
    node.immutable = node.append_only = False
    if folder.is_fixed:
        return posix(EPERM)
    if node.entries:
        return posix(ENOTEMPTY)
    del folder.entries[name]
    folder.mtime = NOW
    return DONE


def remove_itself(world, path):
    try:
        world.object(path.rpartition(b"/")[0] + b"/")
    except Refusal as refusal:
        return posix(refusal.code)
    return posix(EINVAL if path.endswith(b"/.") else ENOTEMPTY)


def remove_all(world, path):
    if not path:
        return posix(EINVAL)
    if exists(world, path) is None:
        return DONE
    if path.endswith((b"/.", b"/..")):
        return remove_itself(world, path)
    return remove_entry(*world.location(path)[:2])


def remove_entry(folder, name):
    """Clears the immutable flags of everything first. What is append-only stays, with the folders above it; what
    else then stays depends on the order."""
    node = folder.entries[name]
    for item in (node, *(child for _, _, child in node.below())):
        item.immutable = False
    if not folder.is_fixed and not any(child.append_only for child in (node, *(c for _, _, c in node.below()))):
        del folder.entries[name]
        folder.mtime = NOW
        return DONE
    mark_rest(node, folder.is_fixed)
    return write_error(EPERM)


def mark_rest(node, is_kept):
    is_kept |= node.append_only
    for child in (node.entries or {}).values():
        is_kept |= mark_rest(child, node.append_only)
    node.certain &= is_kept
    if node.is_folder:
        node.mtime = ...
    return is_kept


def delete_objects(world, recursive, stop, *paths):
    remove, last = remove_all if recursive == "1" else remove_one, DONE
    for path in paths:
        outcome = remove(world, path)
        last = last if outcome == DONE else outcome
        if stop == "1" and last != DONE:
            break
    return {last}


def delete_contents(world, *paths):
    for path in paths:
        if is_refused_slash(world, path):
            return {posix(ENOTDIR)}
        folder = exists(world, path)
        if folder is None:
            continue
        if not folder.is_folder:
            return {posix(ENOTDIR)}
        base, entries = world.real_path(path), dict(folder.entries)
        before = {node: node.immutable for _, _, node in folder.below()}
        outcomes = {remove_entry(folder, name) for name in entries if exists(world, base + b"/" + name) is not None}
        if outcomes - {DONE}:  # The entries after the first that fails are left alone.
            for name in entries.keys() - folder.entries.keys():
                mark_rest(entries[name], False)
            for node, immutable in before.items():
                node.immutable = frozenset({immutable, False})
            folder.entries, folder.mtime = entries, ...
            return outcomes - {DONE}
    return {DONE}


def create(world, path, code):
    modes = {"F": (stat.S_IFREG, 0o644), "X": (stat.S_IFREG, 0o755), "D": (stat.S_IFDIR, 0o755)}
    if not path or code not in modes:
        return {posix(EINVAL)}
    if exists(world, path) is not None:
        return {posix(EEXIST)}
    outcome = add(world, path, Node(*modes[code]), code == "D")
    return {outcome if code == "D" or outcome == DONE else (ERROR, 4)}


def add(world, path, new, slash_is_good):
    try:
        folder, name, node = world.location(path)
    except Refusal as refusal:
        return write_error(refusal.code)
    if path.endswith(b"/") and not slash_is_good:
        return write_error(ENOENT)
    if len(name) > LONGEST_NAME:
        return write_error(ENAMETOOLONG)
    if node is not None:
        return write_error(EEXIST)
    if folder.immutable or (new.identity and new.is_fixed):
        return write_error(EPERM)
    folder.entries[name], folder.mtime = new, NOW
    return DONE


def rename(world, path, new_path):
    try:
        folder, name, node = world.location(path)
        to_folder, to_name, there = world.location(new_path)
    except Refusal as refusal:
        return {write_error(refusal.code)}
    if to_folder.device != folder.device:
        raise Undetermined
    if (path + b"|" + new_path).count(b"/|") + new_path.endswith(b"/") and node and not node.is_folder:
        return {write_error(ENOTDIR)}
    if node is None or len(to_name) > LONGEST_NAME:
        return {write_error(ENAMETOOLONG if len(to_name if node else name) > LONGEST_NAME else ENOENT)}
    if there is not None:
        return {write_error(EEXIST)}
    if node is to_folder or any(child is to_folder for _, _, child in node.below()):
        return {write_error(EINVAL)}
    if folder.is_fixed or node.is_fixed or to_folder.immutable:
        return {write_error(EPERM)}
    to_folder.entries[to_name] = folder.entries.pop(name)
    folder.mtime = to_folder.mtime = NOW
    return {DONE}


def inspect(world, path):
    if not path:
        return {posix(EINVAL)}
    node = exists(world, path)
    return {("ObjectExistence", 0 if node is None else 1 if node.is_folder else 2)}


def touch(world, path):
    if not path:
        return {posix(EINVAL)}
    if is_refused_slash(world, path):
        return {posix(ENOTDIR)}
    node = exists(world, path)
    if node is None:
        return {posix(ENOENT)}
    if node.immutable:
        return {posix(EPERM)}
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
    trusts = target.device == device and owners <= {0, target.uid}
    return target if trusts else None


def protect(world, path, value, recursive, stay):
    if not path:
        return {posix(EINVAL)}
    if is_refused_slash(world, path):
        return {posix(ENOTDIR)}
    top = exists(world, path)
    if top is None:
        return {posix(ENOENT)}
    changed = {id(top): top}
    if recursive and top.is_folder:
        device = world.object(path, follow=False).device if stay else None
        for at, node in items(world.real_path(path), top, device):
            node = trusted_target(world, at) if node.is_link else node
            if node is not None:
                changed[id(node)] = node
    refusing = [node for node in changed.values() if value and not node.takes_flags]
    if top in refusing or not refusing:
        for node in [] if refusing else changed.values():
            node.immutable = value
        return {posix(ENOTSUP) if refusing else DONE}
    top.immutable = value
    for node in changed.values():
        if node.takes_flags and node is not top:
            node.immutable = frozenset({node.immutable, value})
    return {posix(ENOTSUP)}


def items(path, top, device=None):
    """The paths and nodes below a folder, those on other devices passed over."""
    for name, node in sorted(top.entries.items()):
        at = path + b"/" + name
        if device in (None, node.device):
            yield at, node
            if node.is_folder:
                yield from items(at, node, device)


def link(world, path, target, hard):
    if not hard:
        if not target:
            try:
                world.location(path)
            except Refusal as refusal:
                return {write_error(refusal.code)}
            return {write_error(ENOENT)}
        return {add(world, path, Node(stat.S_IFLNK, 0o777, target=target), False)}
    try:
        _, _, node = world.location(target)
        folder, _, there = world.location(path)
    except Refusal as refusal:
        return {write_error(refusal.code)}
    if path.endswith(b"/") or node is None:
        return {write_error(ENOENT if path.endswith(b"/") else code_of(world, target))}
    if node.is_folder or folder.device != node.device:
        raise Undetermined
    if node.is_link:
        node = Node(stat.S_IFLNK, 0o777, target=node.target)
    return {add(world, path, node, False)}


def enumerated(path, top, device=None, skipped=(), relative=b"", level=1):
    """The paths that a search reports below a folder, with the nodes; enters the folders on the device that are not
    skipped. The part of a path below the folder is at most 1,024 bytes long, and a name of 255 bytes below the first
    level adds nothing to it."""
    for name, node in sorted(top.entries.items()):
        joined = relative + (b"/" if relative else b"") + name
        yield path + b"/" + joined, name, node
        fits = len(relative) + 1 + len(name) <= LONGEST_PATH and level <= MOST_LEVELS
        if node.is_folder and device in (None, node.device) and fits and node not in skipped:
            below = relative if level > 1 and len(name) == LONGEST_NAME else joined
            yield from enumerated(path, node, device, skipped, below, level + 1)


def search_folder(world, path):
    if not path:
        return None, posix(EINVAL)
    if is_refused_slash(world, path):
        return None, posix(ENOTDIR)
    top = exists(world, path)
    if top is None:
        return None, posix(ENOENT)
    return (world.real_path(path), top), None if top.is_folder else posix(ENOTDIR)


def record(node):
    return TYPES.get(node.kind, "NSFileTypeUnknown"), node.size, node.mode, round(node.mtime / 1e9, 2)


def search(world, path, stay, is_wanted, skipped=()):
    base, refusal = search_folder(world, path)
    if refusal:
        return {refusal}, []
    found = enumerated(*base, base[1].device if stay else None, skipped)
    return {DONE}, [(at, record(node)) for at, name, node in found if is_wanted(name, node)]


def search_aged(world, path, days, stay):
    now = time.time_ns()
    return search(world, path, stay, lambda _, node: days * 86400e9 <= now - node.mtime)


def extension(name):
    stem, _, text = name.rpartition(b".")
    return text if stem else b""


def search_names(world, path, prefix, wanted_extension, folders):
    base, refusal = search_folder(world, path)
    if refusal:
        return {refusal}, []
    targets = {name: exists(world, base[0] + b"/" + name) for name in base[1].entries}
    return {DONE}, [(base[0] + b"/" + name, record(base[1].entries[name])) for name, target in targets.items()
                    if name.startswith(prefix) and wanted_extension in (b"", extension(name))
                    and target is not None and target.is_folder == folders]


def search_patterns(world, path, stay, *pairs):
    tests = {"0": bytes.__eq__, "1": bytes.startswith, "2": lambda name, text: extension(name) == text}
    if len(pairs) < 2 or len(pairs) % 2 or not path or stay not in ("0", "1"):
        return {posix(EINVAL)}, []
    base, refusal = search_folder(world, path)
    patterns = list(zip(pairs[::2], pairs[1::2]))
    if refusal or not all(kind in tests and text for kind, text in patterns):
        return {refusal or posix(EINVAL)}, []
    if not base[1].entries:
        return {posix(ENOENT)}, []
    return search(world, path, stay == "1", lambda name, _: any(tests[kind](name, text) for kind, text in patterns))


def search_orphans(world, path, stay):
    """A folder that holds nothing of known users is reported once, for everything in it."""
    known, skipped = {0, *(user.pw_uid for user in pwd.getpwall())}, set()

    def is_wanted(_, node):
        if node.uid in known:
            return False
        inside = [child for _, child in items(b"", node, node.device)] if node.is_folder else []
        if any(child.uid in known for child in inside):
            return False
        skipped.add(node)
        return True

    return search(world, path, stay, is_wanted, skipped)


def size(world, path):
    base, refusal = search_folder(world, path)
    return {refusal or ("Size", sum(node.size for _, _, node in base[1].below()))}


def propagate(world, path, _expected, stay, options):
    base, refusal = search_folder(world, path)
    if refusal:
        return {refusal}
    top = base[1]
    changes = {node: given(top, node, options)
               for _, _, node in enumerated(*base, top.device if stay else None)}
    refusals = {node: refused for node, new in changes.items() if (refused := refuses(node, new, options))}
    for node, new in changes.items():
        for field, value in {} if node in refusals else new.items():
            setattr(node, field, frozenset({value, getattr(node, field)}) if refusals else value)
    return set(refusals.values()) or {DONE}


def given(top, node, options):
    """The owner, group and mode that an object gets. Execute bits are for folders, and for sockets, whose type has the
    folders' bit."""
    mode, executes = node.mode, node.kind & stat.S_IFDIR
    for option, every, plain in ((8, 0o700, 0o600), (4, 0o070, 0o060), (2, 0o007, 0o006)):
        bits = every if executes else plain
        if options & option and not node.is_link:
            mode = top.mode & bits | mode & ~bits
    return {"uid": top.uid if options & 0x20 else node.uid, "gid": top.gid if options & 0x10 else node.gid, "mode": mode}


def refuses(node, new, options):
    """Nothing is refused that would change nothing."""
    if options & 0x30 and node.mode & 0o6000:
        return posix(EINVAL)
    if node.is_fixed and (new["uid"], new["gid"]) != (node.uid, node.gid):
        return ERROR, 14
    return (ERROR, 15) if node.is_fixed and new["mode"] != node.mode else None
