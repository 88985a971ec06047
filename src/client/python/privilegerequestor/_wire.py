"""A D-Bus connection to the helper, without a bus."""

from __future__ import annotations

from typing import Any, Optional

from gi.repository import Gio, GLib

from ._values import OperationError, Variant

SOCKET = "/run/com.vantor.system.privilegedhelper-vk2/socket"
PATH = "/com/vantor/QRTPrivilegedHelper"
HELPER = "com.vantor.QRTPrivilegedHelperProtocol"
AUTHORITY = "com.vantor.QRTAuthorizationAuthority"
OUTCOME = "(sxa{sv})"
ANSWER_LIMIT = 10_000  # milliseconds
NO_LIMIT = GLib.MAXINT  # A person may have to enter a password before an operation.


def failure_of(error: Any) -> OperationError:
    """A failure of the connection itself."""
    return OperationError("NSCocoaErrorDomain", 4097, {"NSLocalizedDescription": error.message})


def open_connection(socket: str) -> Any:
    flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
    try:
        return Gio.DBusConnection.new_for_address_sync(f"unix:path={GLib.uri_escape_string(socket, '/', False)}",
                                                       flags, None, None)
    except GLib.Error as error:
        raise failure_of(error) from None


class Events:
    """The events of one connection. Between two of them, Python handles signals: Ctrl-C ends the wait."""

    def __init__(self) -> None:
        self._context = GLib.MainContext.new()

    def __enter__(self) -> Events:
        self._context.push_thread_default()
        return self

    def __exit__(self, *_: Any) -> None:
        self._context.pop_thread_default()

    def step(self) -> None:
        """Waits for an event. What it calls may begin further calls."""
        with self:
            self._context.iteration(True)


def call(connection: Any, interface: str, method: str, arguments: Optional[Variant] = None, reply: str = "()",
         limit: int = ANSWER_LIMIT) -> Any:
    events = Events()
    results: list[Any] = []
    with events:
        connection.call(None, PATH, interface, method, arguments, GLib.VariantType(reply), Gio.DBusCallFlags.NONE,
                        limit, None, lambda _, result: results.append(result))
    while not results:
        events.step()
    try:
        return connection.call_finish(results[0]).unpack()
    except GLib.Error as error:
        raise failure_of(error) from None


def request(code: int, form: bytes, values: list[Variant], feedback: list[int]) -> Variant:
    return GLib.Variant("(tayahav)", (code, form, feedback, values))


def raise_failure(outcome: Any) -> Any:
    """Returns the answer of an outcome that is a success."""
    domain, code, information = outcome
    if code != 0:
        raise OperationError(domain, code, information)
    return information
