# SPDX-License-Identifier: MIT
"""The tray of an X server, as panels had it before there was one on the session bus."""
import ctypes

from x_display import XDisplay

REQUEST_DOCK = 0
CURRENT_TIME = 0


class XTray(XDisplay):
    """Owns the tray of the display's first screen; takes entries without showing them."""

    def __init__(self):
        super().__init__()
        window = ctypes.c_ulong(self._x.XCreateSimpleWindow(self._display, self._root, 0, 0, 1, 1, 0, 0, 0))
        self._opcode = self._atom("_NET_SYSTEM_TRAY_OPCODE")
        self._x.XSetSelectionOwner(self._display, ctypes.c_ulong(self._atom("_NET_SYSTEM_TRAY_S0")), window,
                                   ctypes.c_ulong(CURRENT_TIME))
        self._x.XSync(self._display, 0)

    def new_entries(self):
        """The windows that asked for a place since the last call."""
        return [data[2] for data in self._messages(self._opcode) if data[1] == REQUEST_DOCK]
