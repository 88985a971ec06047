"""The connection to the helper."""

from __future__ import annotations

import os
import time
from typing import Any, Optional

from gi.repository import GLib

from . import _wire
from ._operations import Operations
from ._running import Running
from ._values import OperationError, StrPath, Variant

_ATTEMPTS = 10
_PAUSE = 0.05  # seconds


class Requestor(Operations):
    """A connection to the helper, and this process's registration with it. For one thread at a time."""

    def __init__(self, socket: str = _wire.SOCKET) -> None:
        self._socket = socket
        self._form: Optional[bytes] = None
        for attempt in range(_ATTEMPTS):
            try:
                self._connection = _wire.open_connection(socket)
                _wire.call(self._connection, _wire.HELPER, "registerClientWithPID", GLib.Variant("(i)", (os.getpid(),)))
                return
            except OperationError:
                # The helper ends when its last client leaves, which another client may just have done.
                if attempt == _ATTEMPTS - 1:
                    raise
                time.sleep(_PAUSE)

    def __enter__(self) -> Requestor:
        return self

    def __exit__(self, *_: Any) -> None:
        self.close()

    def close(self) -> None:
        """Leaves the helper, which ends when this was its last client."""
        if not self._connection.is_closed():
            try:
                _wire.call(self._connection, _wire.HELPER, "unregisterClientWithPID",
                           GLib.Variant("(i)", (os.getpid(),)))
                self._connection.close_sync(None)
            except (OperationError, GLib.Error):
                pass  # The helper has ended without a reply.

    def version(self) -> str:
        (version,) = _wire.call(self._connection, _wire.HELPER, "getVersionString", None, "(s)")
        return str(version)

    def perform_uninstall(self, executable: StrPath, job: StrPath) -> None:
        """Uninstall the privileged auxiliary program. A helper that has removed itself ends without a reply."""
        try:
            super().perform_uninstall(executable, job)
        except OperationError:
            if not self._connection.is_closed() or any(map(os.path.lexists, (executable, job))):
                raise

    def _authorization(self) -> bytes:
        if self._form is None:
            (form,) = _wire.call(self._connection, _wire.AUTHORITY, "createExternalForm", None, "(ay)")
            self._form = bytes(form)
        return self._form

    def _start(self, code: int, values: list[Variant]) -> Running:
        return Running(self._socket, code, self._authorization(), values)

    def _perform(self, code: int, values: list[Variant]) -> None:
        self._outcome(code, values)

    def _ask(self, code: int, values: list[Variant], key: str) -> int:
        return int(self._outcome(code, values)[key])

    def _outcome(self, code: int, values: list[Variant]) -> Any:
        request = _wire.request(code, self._authorization(), values, [])
        return _wire.raise_failure(_wire.call(self._connection, _wire.HELPER, "performPrivilegedOperation", request,
                                              _wire.OUTCOME, _wire.NO_LIMIT))


def connect(socket: str = _wire.SOCKET) -> Requestor:
    """Connects to the installed helper and registers this process."""
    return Requestor(socket)
