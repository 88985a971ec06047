"""Values of requests and replies: what a program passes, and how it is sent."""

from __future__ import annotations

import errno
import os
from typing import Any, Iterable, Mapping, Union

import gi

gi.require_version("Gio", "2.0")
from gi.repository import GLib  # noqa: E402

StrPath = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]
Variant = Any

_FIRST_BYTE_CHARACTER = 0x10FF00
_ESCAPED_BYTES = range(_FIRST_BYTE_CHARACTER + 0x80, _FIRST_BYTE_CHARACTER + 0x100)


# The codes of the POSIX domain have the same numbers on every system. Below 35 they are this system's own, but for one.
_SYSTEM_CODES = {**{code: code for code in range(1, 35) if code != 11}, 45: errno.ENOTSUP, 60: errno.ETIMEDOUT,
                 62: errno.ELOOP, 63: errno.ENAMETOOLONG, 66: errno.ENOTEMPTY, 69: errno.EDQUOT, 78: errno.ENOSYS,
                 89: errno.ECANCELED}


class OperationError(Exception):
    """An operation that failed, or a helper that cannot be reached."""

    def __init__(self, domain: str, code: int, information: Mapping[str, Any]) -> None:
        system_code = _SYSTEM_CODES.get(code) if domain == "NSPOSIXErrorDomain" else None
        words = information.get("NSLocalizedDescription") or (
            os.strerror(system_code) if system_code else f"{domain} {code}")
        path = information.get("NSFilePath")
        super().__init__(f"{words}: {from_wire(path)}" if path else words)
        self.domain = domain
        self.code = code
        self.information = information


def to_wire(path: StrPath) -> str:
    """A byte that is not valid UTF-8 travels as a character of its own."""
    text = os.fsdecode(path)
    sent = ""
    for character in text:
        if 0xDC80 <= ord(character) <= 0xDCFF:
            sent += chr(_FIRST_BYTE_CHARACTER + ord(character) - 0xDC00)
        elif ord(character) in _ESCAPED_BYTES:
            sent += "".join(chr(_FIRST_BYTE_CHARACTER + byte) for byte in character.encode())
        else:
            sent += character
    return sent


def from_wire(text: str) -> str:
    """The name as Python's own functions write it, whatever the encoding of the locale."""
    name = b"".join(bytes([ord(character) - _FIRST_BYTE_CHARACTER]) if ord(character) in _ESCAPED_BYTES
                    else character.encode() for character in text)
    return os.fsdecode(name)


def text(value: str) -> Variant:
    return GLib.Variant("s", to_wire(value))


def path(value: StrPath) -> Variant:
    """Joined with the current folder only: the helper judges ".." and a slash at the end as they are written."""
    name = os.fsdecode(value)
    is_relative = name != "" and not name.startswith("/")
    return text(os.path.join(os.getcwd(), name) if is_relative else name)


def _several(values: Iterable[Any]) -> Iterable[Any]:
    """A text is an iterable of texts too: of "/srv/x" the first would be "/"."""
    if isinstance(values, (str, bytes)):
        raise TypeError(f"a list is expected instead of {values!r}")
    return values


def paths(values: Iterable[StrPath]) -> list[Variant]:
    return list(map(path, _several(values)))


def texts(values: Iterable[str]) -> list[Variant]:
    return list(map(text, _several(values)))


def number(value: int) -> Variant:
    return GLib.Variant("t" if value > GLib.MAXINT64 else "x", value)


def flag(value: bool) -> Variant:
    return GLib.Variant("b", value)


def text_flag(value: bool) -> Variant:
    return text("1" if value else "0")


def data(value: bytes) -> Variant:
    return GLib.Variant("ay", value)


def total(numbers: Mapping[str, int], words: Iterable[str]) -> Variant:
    return number(sum({numbers[word] for word in words}))


def tagged(tag: str, words: Iterable[str]) -> list[Variant]:
    return [value for word in texts(words) for value in (text(tag), word)]


def own_process() -> Variant:
    return number(os.getpid())
