# SPDX-License-Identifier: MIT
"""A session bus for the programs that are started while it exists."""
import os
import subprocess

VARIABLE = "DBUS_SESSION_BUS_ADDRESS"


class SessionBus:
    def __init__(self):
        self._before = os.environ.get(VARIABLE)
        self._daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--print-address=1"],
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        os.environ[VARIABLE] = self._daemon.stdout.readline().strip()

    def close(self):
        if self._before is None:
            del os.environ[VARIABLE]
        else:
            os.environ[VARIABLE] = self._before
        self._daemon.kill()
        self._daemon.wait()
        self._daemon.stdout.close()
