"""An operation that sends feedback while it runs."""

from __future__ import annotations

import collections
import dataclasses
import socket
from typing import Any, Iterator, Optional

from gi.repository import Gio, GLib

from . import _wire
from ._values import OperationError, Variant, from_wire

_FEEDBACK_PATH = "/com/vantor/QRTPrivilegedOperationFeedback"
_FEEDBACK = Gio.DBusNodeInfo.new_for_xml(
    '<node><interface name="com.vantor.QRTPrivilegedOperationFeedbackProtocol">'
    '<method name="processPrivilegedOperationFeedback"><arg type="a{sv}" direction="in"/></method></interface></node>')
_CONTROL_PATH = "/com/vantor/QRTOperationControl"
_CONTROL = "com.vantor.QRTOperationControlProtocol"


@dataclasses.dataclass(frozen=True)
class FoundObject:
    path: str
    type: str
    size: int
    modified: float  # Seconds since 1970.
    mode: int  # The twelve permission bits.


@dataclasses.dataclass(frozen=True)
class Feedback:
    """One message. What it does not have is None or empty."""

    fraction: Optional[float] = None  # From 0 to 1.
    objects: tuple[FoundObject, ...] = ()
    output: bytes = b""  # What a utility wrote, cut at any byte.
    error_output: bytes = b""
    is_final: bool = False


def _feedback(message: dict[str, Any]) -> Feedback:
    objects = tuple(FoundObject(from_wire(record.get("Path", "")), record.get("Type", ""), record.get("Size", 0),
                                record.get("ModificationDate", (0.0,))[0], record.get("Mode", 0))
                    for record in message.get("FileObjectInfo", ()))
    return Feedback(message.get("ProgressFraction"), objects, bytes(message.get("OutputData", b"")),
                    bytes(message.get("ErrorData", b"")), message.get("FinalFeedbackMessage", False))


class Running(Iterator[Feedback]):
    """Has started. It has a connection of its own, so that other calls can be made while it runs.

    The helper waits for a program that does not read: iterate to the end or call `wait`.
    """

    def __init__(self, address: str, code: int, form: bytes, values: list[Variant]) -> None:
        self._messages: collections.deque[Feedback] = collections.deque()
        self._outcome: Optional[tuple[str, int, dict[str, Any]]] = None
        self._feedback: Any = None
        self._has_ended = False  # The feedback.
        self._events = _wire.Events()
        self._connection = _wire.open_connection(address)
        ours, theirs = socket.socketpair()
        with self._events:
            self._connection.call_with_unix_fd_list(
                None, _wire.PATH, _wire.HELPER, "performPrivilegedOperation", _wire.request(code, form, values, [0]),
                GLib.VariantType(_wire.OUTCOME), Gio.DBusCallFlags.NONE, _wire.NO_LIMIT,
                Gio.UnixFDList.new_from_array([theirs.detach()]), None, self._take_outcome)
            stream = Gio.Socket.new_from_fd(ours.detach()).connection_factory_create_connection()
            flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.DELAY_MESSAGE_PROCESSING
            Gio.DBusConnection.new(stream, None, flags, None, None, self._take_feedback_connection)

    def __iter__(self) -> Running:
        return self

    def __next__(self) -> Feedback:
        while not self._messages:
            if self._outcome is not None and self._has_ended:
                self._connection.close(None, None)
                _wire.raise_failure(self._outcome)
                raise StopIteration
            self._events.step()
        return self._messages.popleft()

    def wait(self) -> None:
        """Waits for the end. Drops the feedback."""
        for _ in self:
            pass

    def stop(self) -> None:
        """Asks the helper to end the operation as soon as it can. What was done stays done.

        The iteration then ends with POSIX error 89.
        """
        while self._feedback is None and not self._has_ended:
            self._events.step()
        if self._feedback is not None:
            self._feedback.call(None, _CONTROL_PATH, _CONTROL, "stopOperation", None, None,
                                Gio.DBusCallFlags.NONE, -1, None, None)

    def _take_outcome(self, connection: Any, result: Any) -> None:
        try:
            answer, _ = connection.call_with_unix_fd_list_finish(result)
            self._outcome = answer.unpack()
        except GLib.Error as error:
            failure: OperationError = _wire.failure_of(error)
            self._outcome = (failure.domain, failure.code, dict(failure.information))

    def _take_feedback_connection(self, _source: Any, result: Any) -> None:
        try:
            self._feedback = Gio.DBusConnection.new_finish(result)
        except GLib.Error:
            self._has_ended = True  # The request was refused before the operation began.
            return
        self._feedback.connect("closed", self._take_end)
        self._feedback.register_object(_FEEDBACK_PATH, _FEEDBACK.interfaces[0], self._take_message, None, None)
        self._feedback.start_message_processing()

    def _take_message(self, *call: Any) -> None:
        feedback = _feedback(call[5].unpack()[0])
        self._messages.append(feedback)
        self._has_ended = self._has_ended or feedback.is_final

    def _take_end(self, *_: Any) -> None:
        self._has_ended = True
