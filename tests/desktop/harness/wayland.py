"""The wire of the Wayland protocol, as far as virtual keyboards and pointers need it; and the pointer."""

import array
import contextlib
import os
import socket
import struct
import threading
import time
from pathlib import Path

_LEFT_BUTTON = 0x110
_EXTENT = 10000  # the width and height of all screens together, for the pointer


def milliseconds():
    return int(time.monotonic() * 1000) & 0xFFFFFFFF


class WaylandClient:
    """Binds these interfaces of the compositor, version 1; an object is called by its interface or by the name it got."""

    def __init__(self, *interfaces):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(15)
        self._socket.connect(os.path.join(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"]))
        self._unread = b""
        self._numbers = {"display": 1}
        found = self._globals()
        for interface in interfaces:
            name = struct.pack("=I", found[interface]) + _string(interface)
            self._write("registry", 0, name + struct.pack("=II", 1, self.new(interface)))

    def new(self, name):
        """The number of a new object of this name."""
        self._numbers[name] = len(self._numbers) + 1
        return self._numbers[name]

    def number(self, name):
        return self._numbers[name]

    def send(self, name, opcode, *words, descriptor=None):
        self._write(name, opcode, struct.pack(f"={len(words)}I", *words), descriptor)

    def close(self):
        self._socket.close()

    def _globals(self):
        """The numbers of what the compositor offers, by interface."""
        self.send("display", 1, self.new("registry"))
        self.send("display", 0, self.new("answered"))
        found = {}
        while True:
            number, opcode, words = self._event()
            if number == self._numbers["answered"]:
                return found
            if number == self._numbers["registry"] and opcode == 0:
                name, length = struct.unpack_from("=II", words)
                found.setdefault(words[8 : 8 + length - 1].decode(), name)

    def _event(self):
        number, word = struct.unpack("=II", self._read(8))
        return number, word & 0xFFFF, self._read((word >> 16) - 8)

    def _read(self, count):
        while len(self._unread) < count:
            piece = self._socket.recv(65536)
            if not piece:
                raise ConnectionError("the compositor has closed the connection")
            self._unread += piece
        taken, self._unread = self._unread[:count], self._unread[count:]
        return taken

    def _write(self, name, opcode, words, descriptor=None):
        message = struct.pack("=II", self._numbers[name], (8 + len(words)) << 16 | opcode) + words
        ancillary = []
        if descriptor is not None:
            ancillary = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [descriptor]))]
        self._socket.sendmsg([message], ancillary)


class Pointer:
    """A mouse."""

    def __init__(self, width, height):
        """For a desktop of this size in points."""
        self._size = (width, height)
        self._client = WaylandClient("wl_seat", "zwlr_virtual_pointer_manager_v1")
        seat, pointer = self._client.number("wl_seat"), self._client.new("pointer")
        self._client.send("zwlr_virtual_pointer_manager_v1", 0, seat, pointer)

    def click(self, x, y):
        place = (x * _EXTENT // self._size[0], y * _EXTENT // self._size[1])
        self._client.send("pointer", 1, milliseconds(), *place, _EXTENT, _EXTENT)
        self._client.send("pointer", 4)
        for state in (1, 0):
            self._client.send("pointer", 2, milliseconds(), _LEFT_BUTTON, state)
            self._client.send("pointer", 4)

    def close(self):
        self._client.close()


class _Between:
    """A socket between a compositor and its clients, where messages are changed on their way."""

    def __init__(self, folder):
        self.socket = str(Path(folder) / "wayland-between")
        self._real = os.path.join(os.environ["XDG_RUNTIME_DIR"], os.environ["WAYLAND_DISPLAY"])
        self._door = socket.socket(socket.AF_UNIX)
        self._door.bind(self.socket)
        self._door.listen()
        threading.Thread(target=self._admit, daemon=True).start()

    def close(self):
        self._door.shutdown(socket.SHUT_RDWR)
        self._door.close()

    def _told(self, message):
        """What a client gets of the compositor's message."""
        return message

    def _asked(self, message):
        """What the compositor gets of a client's message."""
        return message

    def _admit(self):
        with contextlib.suppress(OSError):
            while True:
                client, _ = self._door.accept()
                compositor = socket.socket(socket.AF_UNIX)
                compositor.connect(self._real)
                for ends in ((client, compositor, self._asked), (compositor, client, self._told)):
                    threading.Thread(target=self._carry, args=ends, daemon=True).start()

    @staticmethod
    def _carry(source, sink, change):
        """Until one side hangs up; then both do."""
        unread, descriptors = b"", []
        with contextlib.suppress(OSError):
            while True:
                data, more, _, _ = socket.recv_fds(source, 65536, 32)
                if not data:
                    break
                unread, descriptors = unread + data, descriptors + more
                passing = b""
                while len(unread) >= 8 and len(unread) >= (size := struct.unpack_from("=I", unread, 4)[0] >> 16):
                    passing += change(unread[:size])
                    unread = unread[size:]
                if passing:
                    socket.send_fds(sink, [passing], descriptors)
                    for descriptor in descriptors:
                        os.close(descriptor)
                    descriptors = []
        for end in (source, sink):
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)


class Lacking(_Between):
    """A compositor that lacks one of its interfaces."""

    def __init__(self, folder, interface):
        self._hidden = _string(interface)
        super().__init__(folder)

    def _told(self, message):
        return b"" if message[12:-4] == self._hidden else message  # after the name of a global, before its version


class Also(_Between):
    """A compositor that offers one of its interfaces under a second name too, which has the same messages."""

    def __init__(self, folder, interface, version, name):
        self._real_name, self._version, self._name = _string(interface), version, _string(name)
        super().__init__(folder)

    def _told(self, message):
        if message[12:-4] != self._real_name:
            return message
        return message + _message(message[:8], message[8:12] + self._name + struct.pack("=I", 1))

    def _asked(self, message):
        if message[12:-8] != self._name:
            return message
        return _message(message[:8], message[8:12] + self._real_name + struct.pack("=I", self._version) + message[-4:])


def _message(header, words):
    """A message for the same object with the same opcode."""
    number, word = struct.unpack("=II", header)
    return struct.pack("=II", number, (8 + len(words)) << 16 | word & 0xFFFF) + words


def _string(text):
    data = text.encode() + b"\0"
    return struct.pack("=I", len(data)) + data + b"\0" * (-len(data) % 4)
