#!/usr/bin/python3
"""Space Watch in the tray, seen by a tray host and a screen reader.

A StatusNotifierWatcher of this test's own on a private session bus stands in for the
desktop's tray; Ambrel, started as at login, registers its item there. The test reads the
item's icon and tooltip over D-Bus, clicks it, and drives the panel over AT-SPI.

    xvfb-run -a dbus-run-session -- tray_watch.py AMBREL [SCREENSHOT_DIR]
"""
import os
import subprocess
import sys
import tempfile
import time

WATCHER_XML = """<node><interface name="org.kde.StatusNotifierWatcher">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
</interface></node>"""


def serve_watcher():
    # Runs in a process of its own: it needs a GLib main loop, which AT-SPI's calls must not share.
    from gi.repository import Gio, GLib
    items = []

    def on_call(connection, sender, path, interface, method, params, invocation):
        if method == "RegisterStatusNotifierItem":
            service = params.unpack()[0]
            # Qt names its own bus name; a host that gets a path uses the sender's.
            items.append(service if not service.startswith("/") else sender + service)
            print(items[-1], flush=True)
        invocation.return_value(None)

    def on_property(connection, sender, path, interface, name):
        return {"RegisteredStatusNotifierItems": GLib.Variant("as", items),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def on_bus(connection, name):
        info = Gio.DBusNodeInfo.new_for_xml(WATCHER_XML).interfaces[0]
        connection.register_object("/StatusNotifierWatcher", info, on_call, on_property, None)

    Gio.bus_own_name(Gio.BusType.SESSION, "org.kde.StatusNotifierWatcher",
                     Gio.BusNameOwnerFlags.NONE, on_bus, lambda *a: print("ready", flush=True),
                     lambda *a: sys.exit("the watcher's name is taken"))
    GLib.MainLoop().run()


if len(sys.argv) > 1 and sys.argv[1] == "--watcher":
    serve_watcher()
    sys.exit(0)

import pyatspi  # noqa: E402
from atspi_session import SHOTS, application, check, failures, find, screenshot, wait_for  # noqa: E402
from gi.repository import Gio, GLib  # noqa: E402

AMBREL = sys.argv[1]


def showing_window(app):
    try:
        return any(child.getState().contains(pyatspi.STATE_SHOWING) and
                   child.getRole() == pyatspi.ROLE_FRAME for child in app)
    except Exception:
        return False


def press(node):
    action = node.queryAction()
    for i in range(action.nActions):
        if action.getName(i) == "Press":
            return action.doAction(i)
    raise AssertionError(f"{node.name} cannot be pressed")


RETURN, DOWN = 0xff0d, 0xff54
focused_items = []


def key(keysym):
    pyatspi.Registry.generateKeyboardEvent(keysym, None, pyatspi.KEY_SYM)
    time.sleep(0.25)


def on_focus(event):
    if event.detail1:
        focused_items.append(event.source)


def wait_for_event(probe, seconds=10.0):
    # The panel is a pop-up: AT-SPI lists it under no window, so it is found by its events.
    deadline = time.monotonic() + seconds
    context = GLib.MainContext.default()
    while time.monotonic() < deadline:
        while context.iteration(False):
            pass
        value = probe()
        if value:
            return value
        time.sleep(0.05)
    return None


def open_panel(bus, service, first):
    # A click on the icon, then Down: the panel's first command takes the focus, as it does
    # for a keyboard user. The panel is that command's parent.
    focused_items.clear()
    item_call(bus, service, "Activate", GLib.Variant("(ii)", (600, 300)))
    time.sleep(0.5)
    key(DOWN)
    item = wait_for_event(lambda: next((node for node in focused_items if node.name == first), None))
    return item.parent if item is not None else None


def item_call(bus, service, method, args=None, interface="org.kde.StatusNotifierItem"):
    return bus.call_sync(service, "/StatusNotifierItem", interface, method, args, None,
                         Gio.DBusCallFlags.NONE, 5000, None).unpack()


def drawn_fullness(width, height, argb):
    # The share of the ring's middle circle, clockwise from twelve o'clock, in a colour.
    import math
    stroke = max(2, round(width / 6))
    radius, centre = (width - stroke) / 2, width / 2
    coloured = 0
    for step in range(360):
        angle = math.radians(step + 0.5)
        x = int(centre + radius * math.sin(angle))
        y = int(centre - radius * math.cos(angle))
        a, r, g, b = argb[(y * width + x) * 4:(y * width + x) * 4 + 4]
        coloured += a > 200 and max(r, g, b) - min(r, g, b) > 60
    return coloured / 360


def write_png(path, width, height, argb):
    # The icon comes as ARGB in network order; ImageMagick reads it as RGBA once rotated.
    rgba = bytearray(len(argb))
    rgba[0::4], rgba[1::4], rgba[2::4], rgba[3::4] = argb[1::4], argb[2::4], argb[3::4], argb[0::4]
    subprocess.run(["convert", "-size", f"{width}x{height}", "-depth", "8", "rgba:-", path],
                   input=bytes(rgba), check=False)


def main():
    pyatspi.Registry.registerEventListener(on_focus, "object:state-changed:focused")
    watcher = subprocess.Popen([sys.executable, __file__, "--watcher"], stdout=subprocess.PIPE, text=True)
    check(watcher.stdout.readline().strip() == "ready", "the tray host is on the bus")
    home = tempfile.mkdtemp(prefix="ambrel-tray-")
    env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=os.path.join(home, ".config"),
               XDG_CACHE_HOME=os.path.join(home, ".cache"),
               XDG_DATA_HOME=os.path.join(home, ".local/share"),
               QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb")
    ambrel = subprocess.Popen([AMBREL, "--login"], env=env)
    try:
        service = watcher.stdout.readline().strip()
        check(service.startswith(("org.kde.StatusNotifierItem-", ":")), f"Ambrel registers its tray item ({service})")
        app = wait_for(application)
        check(app is not None and not showing_window(app), "started at login, Ambrel shows no window")
        bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
        item = item_call(bus, service, "GetAll", GLib.Variant("(s)", ("org.kde.StatusNotifierItem",)),
                         "org.freedesktop.DBus.Properties")[0]
        tooltip = item["ToolTip"]
        check(tooltip[2].startswith("Ambrel — ") and tooltip[2].endswith(" free"),
              f"the tooltip gives the free space ({tooltip[2]!r})")
        volume = os.statvfs("/")
        fullness = 1 - volume.f_bavail / volume.f_blocks
        for width, height, argb in {pixmap[0]: pixmap for pixmap in item["IconPixmap"]}.values():
            drawn = drawn_fullness(width, height, argb)
            if width in (16, 48):
                check(abs(drawn - fullness) < 0.04,
                      f"the {width} px ring is filled as the disk is ({drawn:.2f} for {fullness:.2f})")
            if width == 48 and SHOTS:
                os.makedirs(SHOTS, exist_ok=True)
                write_png(os.path.join(SHOTS, "tray-icon-48.png"), width, height, argb)
        panel = open_panel(bus, service, "Open Ambrel")
        check(panel is not None, "a click on the icon opens the panel, \"Open Ambrel\" first")
        names = [child.name for child in panel] if panel is not None else []
        percent = f"{round(fullness * 100)}% full"
        check(percent in names and "Quit Ambrel" in names,
              f"the panel says {percent!r} and offers \"Quit Ambrel\" ({names})")
        screenshot("tray-panel.png")
        key(RETURN)
        check(wait_for(lambda: showing_window(app), 10), "Return on \"Open Ambrel\" shows the window")
        second = subprocess.run([AMBREL], env=env, timeout=30)
        check(second.returncode == 0 and ambrel.poll() is None,
              "a second launch hands over to the running Ambrel and ends")
        panel = open_panel(bus, service, "Open Ambrel")
        key(DOWN)
        quit_item = next((child for child in panel if child.name == "Quit Ambrel"), None) if panel else None
        if quit_item is not None:
            press(quit_item)
        try:
            check(ambrel.wait(15) == 0, "\"Quit Ambrel\" ends Ambrel")
        except subprocess.TimeoutExpired:
            check(False, "\"Quit Ambrel\" ends Ambrel")
    finally:
        ambrel.kill()
        watcher.kill()
    if failures:
        sys.exit(f"{len(failures)} check(s) failed")


main()
