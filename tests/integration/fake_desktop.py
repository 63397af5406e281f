# SPDX-License-Identifier: MIT
"""A desktop's tray and notifications on a session bus, for tests."""
import threading

from gi.repository import Gio, GLib
from waiting import PATIENCE

WATCHER, NOTIFICATIONS = "org.kde.StatusNotifierWatcher", "org.freedesktop.Notifications"
WATCHER_PATH, NOTIFICATIONS_PATH = "/StatusNotifierWatcher", "/org/freedesktop/Notifications"
ITEM, MENU = "org.kde.StatusNotifierItem", "com.canonical.dbusmenu"
INTERFACES = Gio.DBusNodeInfo.new_for_xml("""<node>
  <interface name="org.kde.StatusNotifierWatcher">
    <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
    <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
    <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
    <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
    <property name="ProtocolVersion" type="i" access="read"/>
    <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
    <signal name="StatusNotifierHostRegistered"/>
  </interface>
  <interface name="org.freedesktop.Notifications">
    <method name="Notify">
      <arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
      <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
      <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/>
    </method>
    <method name="CloseNotification"><arg type="u" direction="in"/></method>
    <signal name="ActionInvoked"><arg type="u"/><arg type="s"/></signal>
    <signal name="ActivationToken"><arg type="u"/><arg type="s"/></signal>
  </interface>
</node>""")


class FakeDesktop:
    """Its own calls wait for their answers; what others ask is answered on a thread of its own."""

    def __init__(self, address):
        self.has_host = True
        self.hangs = False  # takes calls and never answers
        self.calls = []     # (method or property, arguments...) that came
        self.items = []     # bus names of the registered entries
        self.is_asked_to_notify, self.may_notify = threading.Event(), threading.Event()
        self.may_notify.set()
        self._closing = threading.Event()
        self._loop = GLib.MainLoop()
        self._thread = threading.Thread(target=self._loop.run)
        self._thread.start()
        self._bus = Gio.DBusConnection.new_for_address_sync(
            address, Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION,
            None, None)
        self._bus.set_exit_on_close(False)

    def close(self):
        self._closing.set()
        self.may_notify.set()
        self._bus.close_sync(None)
        self._loop.quit()
        self._thread.join()

    def own(self, name):
        path = WATCHER_PATH if name == WATCHER else NOTIFICATIONS_PATH
        self._bus.register_object(path, INTERFACES.lookup_interface(name), self._answer, self._property, None)
        self.own_again(name)

    def own_again(self, name):
        self._daemon("RequestName", GLib.Variant("(su)", (name, 0)))

    def give_up(self, name):
        self._daemon("ReleaseName", GLib.Variant("(s)", (name,)))

    def _daemon(self, method, arguments):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method, arguments)

    def listen(self, interface, signal):
        """Returns a list to which the values of each such signal are added."""
        heard = []
        self._bus.signal_subscribe(None, interface, signal, None, None, Gio.DBusSignalFlags.NONE,
                                   lambda *facts: heard.append(facts[5].unpack()))
        return heard

    def call(self, service, path, interface, method, arguments=None):
        return self._bus.call_sync(service, path, interface, method, arguments, None, Gio.DBusCallFlags.NONE,
                                   PATIENCE * 1000, None).unpack()

    def property(self, service, path, interface, name):
        arguments = GLib.Variant("(ss)", (interface, name))
        return self.call(service, path, "org.freedesktop.DBus.Properties", "Get", arguments)[0]

    def emit(self, name, values):
        """A signal of the notifications."""
        self._bus.emit_signal(None, NOTIFICATIONS_PATH, NOTIFICATIONS, name, GLib.Variant("(us)", values))

    def _answer(self, _bus, sender, _path, _interface, method, arguments, invocation):
        if method == "Notify":
            self.is_asked_to_notify.set()
            self.may_notify.wait()
        invocation.return_value(GLib.Variant("(u)", (7,)) if method == "Notify" else None)
        # Afterwards, so that what a test does next comes after the answer.
        self.calls.append((method, *arguments.unpack()))
        if method == "RegisterStatusNotifierItem":
            self.items.append(sender)

    def _property(self, _bus, _sender, _path, _interface, name):
        self.calls.append((name,))
        if self.hangs:
            self._closing.wait()
        return {"IsStatusNotifierHostRegistered": GLib.Variant("b", self.has_host),
                "RegisteredStatusNotifierItems": GLib.Variant("as", self.items),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def called(self, method):
        """The arguments of each call."""
        return [call[1:] for call in self.calls if call[0] == method]


class Item:
    """An entry in the tray, as a host shows it."""

    def __init__(self, desktop, name):
        self._desktop, self._name = desktop, name

    def property(self, name):
        return self._desktop.property(self._name, "/StatusNotifierItem", ITEM, name)

    def is_there(self):
        try:
            return bool(self.property("Id"))
        except GLib.Error:
            return False

    def tip(self):
        return self.property("ToolTip")[2]

    def pictures(self):
        """By width: height and pixels (alpha, red, green, blue)."""
        return {width: (height, bytes(pixels)) for width, height, pixels in self.property("IconPixmap")}

    def entries(self):
        """By text: number and whether it can be chosen; separators are left out."""
        arguments = GLib.Variant("(iias)", (0, -1, []))
        _, (_, _, children) = self._desktop.call(self._name, self.property("Menu"), MENU, "GetLayout", arguments)
        return {facts["label"].replace("_", ""): (number, facts.get("enabled", True))
                for number, facts, _ in children if facts.get("label")}

    def choose(self, text):
        number, _ = self.entries()[text]
        self._desktop.call(self._name, self.property("Menu"), MENU, "Event",
                           GLib.Variant("(isvu)", (number, "clicked", GLib.Variant("i", 0), 0)))

    def click(self):
        self._desktop.call(self._name, "/StatusNotifierItem", ITEM, "Activate", GLib.Variant("(ii)", (0, 0)))
