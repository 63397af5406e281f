# SPDX-License-Identifier: MIT
"""A connection to an X server by its own library, for what tests do in the place of a desktop."""
import ctypes
import ctypes.util

CLIENT_MESSAGE = 33


class ClientMessage(ctypes.Structure):
    """XClientMessageEvent with data in format 32."""
    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5)]


class Event(ctypes.Union):
    _fields_ = [("type", ctypes.c_int), ("client", ClientMessage), ("padding", ctypes.c_long * 24)]


class XDisplay:
    """The display that DISPLAY names."""

    def __init__(self):
        self._x = ctypes.CDLL(ctypes.util.find_library("X11"))
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        for function in (self._x.XDefaultRootWindow, self._x.XInternAtom, self._x.XCreateSimpleWindow):
            function.restype = ctypes.c_ulong
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(None))
        self._root = ctypes.c_ulong(self._x.XDefaultRootWindow(self._display))

    def _atom(self, name):
        return self._x.XInternAtom(self._display, name.encode(), 0)

    def _messages(self, kind):
        """The data of each client message of this kind that came since the last call; reads all events."""
        self._x.XSync(self._display, 0)
        while self._x.XPending(self._display):
            event = Event()
            self._x.XNextEvent(self._display, ctypes.byref(event))
            if event.type == CLIENT_MESSAGE and event.client.message_type == kind:
                yield list(event.client.data)

    def close(self):
        self._x.XCloseDisplay(self._display)
