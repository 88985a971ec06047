"""A requestor on GDBus."""

import os
import socket
import threading

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

PATH = "/com/vantor/QRTPrivilegedHelper"
HELPER = "com.vantor.QRTPrivilegedHelperProtocol"
AUTHORITY = "com.vantor.QRTAuthorizationAuthority"
FEEDBACK = "com.vantor.QRTPrivilegedOperationFeedbackProtocol"
FIRST_BYTE_CHARACTER = 0x10FF00


def to_wire(path):
    """Bytes that are not valid UTF-8 travel as characters from U+10FF00 on."""
    return "".join(chr(FIRST_BYTE_CHARACTER + ord(c) - 0xDC00) if 0xDC80 <= ord(c) <= 0xDCFF else c
                   for c in os.fsdecode(path))


def from_wire(text):
    return b"".join(bytes([ord(c) - FIRST_BYTE_CHARACTER]) if ord(c) >= 0x10FF80 else c.encode() for c in text)


def variant(value):
    return GLib.Variant({bool: "b", int: "x", str: "s", bytes: "ay"}[type(value)], value)


class FeedbackReceiver:
    """Receives the messages of one operation on a thread of its own."""

    def __init__(self):
        self.messages = []
        self._ours, self.theirs = socket.socketpair()
        self._thread = threading.Thread(target=self._receive, daemon=True)
        self._thread.start()

    def join(self):
        self._thread.join(10)

    def _take(self, _connection, _sender, _path, _interface, _method, arguments, _invocation):
        self.messages += arguments.unpack()

    def _receive(self):
        context = GLib.MainContext.new()
        context.push_thread_default()
        stream = Gio.Socket.new_from_fd(self._ours.detach()).connection_factory_create_connection()
        # Messages wait until the object is registered: the first one directly follows the handshake.
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.DELAY_MESSAGE_PROCESSING
        try:
            feedback = Gio.DBusConnection.new_sync(stream, None, flags, None, None)
        except GLib.Error:
            return  # The daemon has refused the request, or ended.
        node = Gio.DBusNodeInfo.new_for_xml(
            f'<node><interface name="{FEEDBACK}"><method name="processPrivilegedOperationFeedback">'
            '<arg type="a{sv}" direction="in"/></method></interface></node>')
        feedback.register_object("/com/vantor/QRTPrivilegedOperationFeedback", node.interfaces[0], self._take, None, None)
        feedback.start_message_processing()
        feedback.connect("closed", lambda *_: None)  # Ends the wait for a message.
        while not feedback.is_closed() and not any("FinalFeedbackMessage" in message for message in self.messages):
            context.iteration(True)
        context.pop_thread_default()


class Requestor:
    def __init__(self, address, patience=GLib.MAXINT):
        """`patience`: milliseconds for each answer."""
        self._patience = patience
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.bus = Gio.DBusConnection.new_for_address_sync(address, flags)

    def call(self, interface, method, arguments=None, reply="()", descriptors=None):
        answer, _ = self.bus.call_with_unix_fd_list_sync(
            None, PATH, interface, method, arguments, GLib.VariantType(reply), 0, self._patience, descriptors)
        return answer.unpack()

    def notify(self, method, process):
        """Registers or unregisters a process without waiting for the reply."""
        self.bus.call(None, PATH, HELPER, method, GLib.Variant("(i)", (process,)), None, 0, GLib.MAXINT)
        try:
            self.bus.flush_sync()
        except GLib.Error:
            pass  # The daemon has already ended.

    def close(self):
        try:
            self.bus.close_sync()
        except GLib.Error:
            pass  # The daemon has already ended.

    def external_form(self):
        return self.call(AUTHORITY, "createExternalForm", None, "(ay)")[0]

    def perform(self, code, arguments, receiver=None):
        """Returns the outcome (domain, code, user information) and the messages of the receiver."""
        endpoints = [receiver.theirs.detach()] if receiver else []
        request = GLib.Variant("(tayahav)", (code, self.external_form(), list(range(len(endpoints))),
                                             [variant(value) for value in arguments]))
        outcome = self.call(HELPER, "performPrivilegedOperation", request, "(sxa{sv})",
                            Gio.UnixFDList.new_from_array(endpoints))
        if receiver:
            receiver.join()
        return outcome, receiver.messages if receiver else []
