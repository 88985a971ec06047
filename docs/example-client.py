#!/usr/bin/python3
"""A client of the privileged helper, without any of its code: example-client.py SOCKET CODE [ARGUMENT...]

Asks the helper to perform the operation with this code, prints each feedback message and then the outcome, and exits
with 0 when the operation succeeded. An argument is a string; "n:5" is the number 5, "b:1" a boolean, "d:text" data. Needs python3-dbus-next.
"""

import asyncio
import os
import socket
import sys
import tempfile

from dbus_next import Message, MessageFlag, MessageType, Variant
from dbus_next.aio import MessageBus

PATH = "/com/vantor/QRTPrivilegedHelper"
HELPER = "com.vantor.QRTPrivilegedHelperProtocol"
AUTHORITY = "com.vantor.QRTAuthorizationAuthority"
FEEDBACK_PATH = "/com/vantor/QRTPrivilegedOperationFeedback"


def to_wire(path):  # Bytes of a file name that are not UTF-8 travel as characters of their own.
    return "".join(chr(0x10FF00 + ord(c) - 0xDC00) if 0xDC80 <= ord(c) <= 0xDCFF else c for c in path)


def value(word):
    kinds = {"n:": ("x", int), "b:": ("b", lambda text: text == "1"), "d:": ("ay", os.fsencode)}
    signature, convert = kinds.get(word[:2], ("s", to_wire))
    return Variant(signature, convert(word[2:] if word[:2] in kinds else word))


def plain(item):  # Without the wrapping of variants.
    item = item.value if isinstance(item, Variant) else item
    if isinstance(item, dict):
        return {key: plain(inner) for key, inner in item.items()}
    return [plain(inner) for inner in item] if isinstance(item, list) else item


async def call(bus, interface, member, signature="", body=(), descriptors=()):
    reply = await bus.call(Message(destination="any.name", path=PATH, interface=interface, member=member,
                                   signature=signature, body=list(body), unix_fds=list(descriptors)))
    if reply.message_type == MessageType.ERROR:
        sys.exit(f"{reply.error_name}: {reply.body[0]}")
    return reply.body


def feedback_connection(handler):
    """A connection that receives feedback, and the end of it for the helper."""
    with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX) as listener:
        listener.bind(f"{folder}/feedback")
        listener.listen()
        bus = MessageBus(bus_address=f"unix:path={folder}/feedback")
        bus.add_message_handler(handler)
        return bus, listener.accept()[0]


async def main(path, code, *words):
    bus = await MessageBus(bus_address=f"unix:path={path}", negotiate_unix_fd=True).connect()
    await call(bus, HELPER, "registerClientWithPID", "i", [os.getpid()])
    (form,) = await call(bus, AUTHORITY, "createExternalForm")
    feedback, theirs = feedback_connection(
        lambda message: print(plain(message.body[0])) if message.path == FEEDBACK_PATH else None)
    handshake = asyncio.ensure_future(feedback.connect())  # The helper answers it during the operation.
    domain, number, information = await call(bus, HELPER, "performPrivilegedOperation", "tayahav",
                                             [int(code), form, [0], list(map(value, words))], [theirs.fileno()])
    handshake.cancel()
    theirs.close()
    # The helper closes its end after the last message; without feedback it never answered the handshake.
    await asyncio.wait({asyncio.gather(feedback.wait_for_disconnect(), return_exceptions=True)}, timeout=1)
    print((domain, number, plain(information)))
    await bus.send(Message(destination="any.name", path=PATH, interface=HELPER, member="unregisterClientWithPID",
                           signature="i", body=[os.getpid()], flags=MessageFlag.NO_REPLY_EXPECTED))
    bus.disconnect()
    return number != 0


if __name__ == "__main__":
    sys.exit(asyncio.run(main(*sys.argv[1:])))
