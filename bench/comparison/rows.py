"""What is compared: each operation beside the usual tool and its fastest peers.

In commands, {top} is the folder or device, {jobs} the number of processes or threads that a parallel tool may use, and
{share} the number of subfolders for each of them. The other words in braces are in `values`.
"""

import dataclasses

OWN = "qrtctl"
PAUSE = 0.25  # seconds that an operation with feedback waits before it closes the feedback connection

MEMORY, ONE_CORE, WARM, COLD = "tmpfs", "tmpfs, one core", "ext4, warm", "ext4, cold"
PLACES = (MEMORY, ONE_CORE, WARM, COLD)
MANY = 1000

# What an operation works on. A number is that of the files in a flat folder.
TREE, DEVICE, NOTHING = "tree", "device", "nothing"
SMALL, LARGE = 60_000, 1_000_000

# What becomes of it: runs share what they only read, a row keeps what it changes, and each run consumes its own.
READ, CHANGE, CONSUME = "read", "change", "consume"

SUBFOLDERS = "find {top} -mindepth 1 -maxdepth 1 -print0 | xargs -0 -P {jobs} -n {share}"
OBJECTS = "find {top} -print0 | xargs -0 -P {jobs} -n 2000"
RIGHTS = ("--copy others --copy group --copy owner", "--copy acl --copy group-id --copy user-id")


@dataclasses.dataclass
class Row:
    name: str
    subject: object
    use: str
    own: str  # The words for qrtctl.
    tools: dict  # The usual tool first.
    pause: float = PAUSE
    before: str = ""  # Prepares the folder of a row that changes it, for qrtctl.
    values: dict = dataclasses.field(default_factory=dict)  # Two of each, in turn, so that each run changes everything.
    remains: str = ""  # What exists after a run that consumes: "" or "top".
    rounds: dict = dataclasses.field(default_factory=lambda: dict.fromkeys(PLACES, MANY))  # At most, at each place.


ROWS = [
    Row("aged search", TREE, READ, "search-agedfiles {top} 30", {
        "find": "find {top} -mtime +29",
        "bfs": "bfs {top} -mtime +29",
        "fdfind": "fdfind -HI -j{jobs} --changed-before 30d . {top}",
    }),
    Row("names and patterns", TREE, READ, "search-patterns --extension log --name inner7 {top}", {
        "find": "find {top} -name '*.log' -o -name inner7",
        "bfs": "bfs {top} -name '*.log' -o -name inner7",
        "fdfind": "fdfind -HI -j{jobs} '[.]log$|^inner7$' {top}",
    }),
    Row("names in one folder", SMALL, READ, "search-filenames --prefix none {top}", {
        "find": "find {top} -maxdepth 1 -name 'none*'",
        "bfs": "bfs {top} -maxdepth 1 -name 'none*'",
        "fdfind": "fdfind -HI -j{jobs} -d1 ^none {top}",
    }),
    Row("storage size", TREE, READ, "inspect-storagesize {top}", {
        "du -sb": "du -sb {top}",
        "xargs -P du": SUBFOLDERS + " du -sb",
    }, pause=0),
    Row("all objects as text", TREE, READ, "search-agedfiles {top} 0", {
        "find -ls": "find {top} -ls",
        "bfs -ls": "bfs {top} -ls",
        "fdfind -l": "fdfind -HI -j{jobs} -l . {top}",
    }),
    Row("delete a tree", TREE, CONSUME, "delete-fileobjects --recursive {top}", {
        "rm -rf": "rm -rf {top}",
        "xargs -P rm": SUBFOLDERS + " rm -rf; rm -rf {top}",
    }),
    Row("empty 60,000", SMALL, CONSUME, "delete-foldercontents {top}", {
        "find -delete": "find {top} -mindepth 1 -delete",
        "bfs -delete": "bfs {top} -mindepth 1 -delete",
    }, remains="top"),
    Row("delete 60,000", SMALL, CONSUME, "delete-fileobjects --recursive {top}", {
        "rm -rf": "rm -rf {top}",
        "bfs -delete": "bfs {top} -delete",
    }),
    Row("empty 1,000,000", LARGE, CONSUME, "delete-foldercontents {top}", {
        "find -delete": "find {top} -mindepth 1 -delete",
    }, remains="top", rounds={MEMORY: 3, WARM: 1}),
    Row("delete 1,000,000", LARGE, CONSUME, "delete-fileobjects --recursive {top}", {
        "rm -rf": "rm -rf {top}",
    }, rounds={MEMORY: 3, WARM: 1}),
    Row("mode", TREE, CHANGE, f"prop-permissions {RIGHTS[0]} {{top}}", {
        "chmod -R": "chmod -R {mode} {top}",
        "xargs -P chmod": OBJECTS + " chmod {mode}",
    }, before="chmod {mode} {top}", values={"mode": ("750", "755")}),
    Row("owner, mode and list", TREE, CHANGE, f"prop-permissions {' '.join(RIGHTS)} {{top}}", {
        "chown, chmod, setfacl": "chown -R {owner} {top}; chmod -R {mode} {top}; setfacl -R -m {list} {top}",
        "xargs -P": OBJECTS + " sh -c 'chown {owner} \"$@\"; chmod {mode} \"$@\"; setfacl -m {list} \"$@\"' -",
    }, before="chown {owner} {top}; chmod {mode} {top}; setfacl -m {list} {top}", values={
        "owner": ("1234:4321", "4321:1234"), "mode": ("750", "755"), "list": ("u:77:rwx,g:88:rx", "u:77:rx,g:88:rwx")}),
    Row("protect", TREE, CHANGE, "modify-protection --recursive {top} {protection}", {
        "chattr -R": "chattr -R {sign} {top}",
        "xargs -P chattr": OBJECTS + " chattr {sign}",
    }, pause=0, values={"protection": ("on", "off"), "sign": ("+i", "-i")}),
    Row("erase blocks", DEVICE, CONSUME, "erase-diskblocks {device} {blocks}", {
        "dd bs=1M": "dd if=/dev/zero of={top} bs=1M count={mebibytes} conv=fdatasync,notrunc status=none",
        "blkdiscard -z": "blkdiscard -z {top}",
    }, pause=0, remains="top", rounds={MEMORY: MANY, WARM: MANY}),
]

NOP = Row("nop", NOTHING, READ, "nop", {"bare sd-bus call": ""}, pause=0, rounds={MEMORY: MANY, ONE_CORE: MANY})

# Whose time and memory for each object are measured from 10^3 to 10^6 objects.
SCALED = ("aged search", "names and patterns", "storage size", "delete a tree")
