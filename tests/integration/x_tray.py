# SPDX-License-Identifier: MIT
"""The tray of an X server, as panels had it before there was one on the session bus."""
import ctypes

CLIENT_MESSAGE = 33
REQUEST_DOCK = 0
CURRENT_TIME = 0


class ClientMessage(ctypes.Structure):
    """XClientMessageEvent with data in format 32."""
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5)]


class Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("client", ClientMessage), ("room", ctypes.c_long * 24)]


class XTray:
    """Owns the tray of the display's first screen; takes entries without showing them."""

    def __init__(self):
        self._x11 = ctypes.CDLL("libX11.so.6")
        self._x11.XOpenDisplay.restype = ctypes.c_void_p
        for function in (self._x11.XInternAtom, self._x11.XDefaultRootWindow, self._x11.XCreateSimpleWindow):
            function.restype = ctypes.c_ulong
        self._display = ctypes.c_void_p(self._x11.XOpenDisplay(None))
        root = ctypes.c_ulong(self._x11.XDefaultRootWindow(self._display))
        self._window = ctypes.c_ulong(self._x11.XCreateSimpleWindow(self._display, root, 0, 0, 1, 1, 0, 0, 0))
        selection = self._atom(b"_NET_SYSTEM_TRAY_S0")
        self._opcode = self._atom(b"_NET_SYSTEM_TRAY_OPCODE")
        self._x11.XSetSelectionOwner(self._display, selection, self._window, ctypes.c_ulong(CURRENT_TIME))
        self._x11.XSync(self._display, 0)
        self.entries = []  # the windows that asked for a place

    def _atom(self, name):
        return ctypes.c_ulong(self._x11.XInternAtom(self._display, name, 0))

    def has_entries(self):
        """Reads what came since."""
        event = Event()
        while self._x11.XPending(self._display):
            self._x11.XNextEvent(self._display, ctypes.byref(event))
            message = event.client
            if event.type == CLIENT_MESSAGE and message.message_type == self._opcode.value \
                    and message.data[1] == REQUEST_DOCK:
                self.entries.append(message.data[2])
        return bool(self.entries)

    def close(self):
        self._x11.XCloseDisplay(self._display)
