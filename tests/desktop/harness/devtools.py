"""A page of a running Chromium, asked and told by its debugging protocol."""

import base64
import json
import os
import socket
import struct
import urllib.parse

_WHOLE_TEXT = 0x81  # an unfragmented message of text
_LAST = _MASKED = 0x80
_SHORT, _LONG = 126, 127  # sizes that stand for a size of two or of eight bytes


class Page:
    """A page, at the address of its debugging socket. Talks to it one question at a time."""

    def __init__(self, address):
        parts = urllib.parse.urlsplit(address)
        self._socket = socket.create_connection((parts.hostname, parts.port), timeout=15)
        self._stream = self._socket.makefile("rb")
        self._asked = 0
        key = base64.b64encode(os.urandom(16)).decode()
        head = f"GET {parts.path} HTTP/1.1\r\nHost: {parts.netloc}\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
        self._socket.sendall(f"{head}Sec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n".encode())
        while self._stream.readline() not in (b"\r\n", b""):
            pass

    def evaluate(self, script):
        """The value of a script in the page."""
        answer = self.ask("Runtime.evaluate", expression=script, returnByValue=True, userGesture=True)
        if "exceptionDetails" in answer:
            raise AssertionError(f"{script}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def ask(self, method, **parameters):
        self._asked += 1
        self._send(json.dumps({"id": self._asked, "method": method, "params": parameters}).encode())
        while True:
            message = json.loads(self._receive())
            if message.get("id") == self._asked:
                return message.get("result", {})

    def close(self):
        self._stream.close()
        self._socket.close()

    def _send(self, message):
        size = len(message)
        if size < _SHORT:
            head = struct.pack("!BB", _WHOLE_TEXT, _MASKED | size)
        else:
            head = struct.pack("!BBH", _WHOLE_TEXT, _MASKED | _SHORT, size)
        mask = os.urandom(4)
        self._socket.sendall(head + mask + bytes(byte ^ mask[at % 4] for at, byte in enumerate(message)))

    def _receive(self):
        """The next message; it may come in several frames."""
        message = b""
        while True:
            first, size = struct.unpack("!BB", self._read(2))
            if size in (_SHORT, _LONG):
                size = struct.unpack("!H" if size == _SHORT else "!Q", self._read(2 if size == _SHORT else 8))[0]
            message += self._read(size)
            if first & _LAST:
                return message

    def _read(self, size):
        data = self._stream.read(size)
        if len(data) < size:
            raise EOFError("the page has gone")
        return data
