#!/usr/bin/python3
"""Drives the window the way an assistive client does: over AT-SPI, by names and roles.

Run inside a private session bus and an X server:
    xvfb-run -a dbus-run-session -- window_accessibility.py AMBREL [SCREENSHOT_DIR]
The bus must start inside the X server's environment: the registry synthesises the keys.
"""
import contextlib
import json
import os
import subprocess
import sys
import tempfile
import time

import pyatspi
from atspi_session import application, check, failures, find, screenshot, wait_for

AMBREL = sys.argv[1]


def find_where(root, predicate):
    try:
        return pyatspi.findDescendant(root, lambda node: predicate(node) and
                                      not node.getState().contains(pyatspi.STATE_DEFUNCT))
    except Exception:
        return None


def showing(node):
    try:
        return node.getState().contains(pyatspi.STATE_SHOWING)
    except Exception:
        return False


def focused(node):
    try:
        return node.getState().contains(pyatspi.STATE_FOCUSED)
    except Exception:
        return False


def act(node, name):
    action = node.queryAction()
    for i in range(action.nActions):
        if action.getName(i) == name:
            return action.doAction(i)
    raise AssertionError(f"{node.name} offers no {name!r}: "
                         + ", ".join(action.getName(i) for i in range(action.nActions)))


def key(name):
    # Sent as X key presses, so they reach whatever has the keyboard focus.
    keysym = {"Tab": 0xff09, "Right": 0xff53, "Down": 0xff54, "Return": 0xff0d,
              "Escape": 0xff1b, "Menu": 0xff67, "BackSpace": 0xff08, "space": 0x20,
              "Delete": 0xffff}[name]
    pyatspi.Registry.generateKeyboardEvent(keysym, None, pyatspi.KEY_SYM)
    time.sleep(0.25)


def ctrl(digit):
    # Keycodes of the X server's default map: Control_L is 37, "1" to "4" are 10 to 13.
    pyatspi.Registry.generateKeyboardEvent(37, None, pyatspi.KEY_PRESS)
    pyatspi.Registry.generateKeyboardEvent(9 + digit, None, pyatspi.KEY_PRESSRELEASE)
    pyatspi.Registry.generateKeyboardEvent(37, None, pyatspi.KEY_RELEASE)
    time.sleep(0.25)


def chord(*keycodes):
    # Held in order and let go in reverse, as a person presses Ctrl with another key; the
    # codes are those of the X server's default keymap.
    for code in keycodes:
        pyatspi.Registry.generateKeyboardEvent(code, None, pyatspi.KEY_PRESS)
    for code in reversed(keycodes):
        pyatspi.Registry.generateKeyboardEvent(code, None, pyatspi.KEY_RELEASE)
    time.sleep(0.25)


CONTROL, FOUR, COMMA, F = 37, 13, 59, 41


def type_text(text):
    # Lower-case letters and digits only: their keysyms are their codes.
    for ch in text:
        pyatspi.Registry.generateKeyboardEvent(ord(ch), None, pyatspi.KEY_SYM)
    time.sleep(0.25)


# Root reads every folder; without the two capabilities that let it, "locked" stays shut.
AS_USER = ["setpriv", "--bounding-set=-dac_override,-dac_read_search", "--"] \
    if os.geteuid() == 0 else []


def launch(home, target):
    env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=os.path.join(home, ".config"),
               XDG_CACHE_HOME=os.path.join(home, ".cache"),
               XDG_DATA_HOME=os.path.join(home, ".local/share"),
               QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", QT_QPA_PLATFORM="xcb")
    args = AS_USER + [AMBREL] + ([target] if target else [])
    # The X server may still be coming up when the bus is; a window that cannot connect
    # exits at once and is started again.
    for _ in range(5):
        process = subprocess.Popen(args, env=env)
        try:
            process.wait(1.5)
        except subprocess.TimeoutExpired:
            return process
        time.sleep(1)
    return subprocess.Popen(args, env=env)


@contextlib.contextmanager
def running(home, target):
    # The application on the bus, or None after a failed check; stopped however the scenario ends.
    process = launch(home, target)
    try:
        app = wait_for(application)
        check(app is not None, "the application is on the accessibility bus")
        yield app
    finally:
        process.terminate()
        process.wait(10)


def make_tree(root):
    os.makedirs(os.path.join(root, "big"))
    with open(os.path.join(root, "big", "blob"), "wb") as f:
        f.write(os.urandom(3_000_000))
    with open(os.path.join(root, "small.txt"), "wb") as f:
        f.write(os.urandom(40_000))
    os.makedirs(os.path.join(root, "locked"))
    os.chmod(os.path.join(root, "locked"), 0)


def description(node):
    try:
        return node.description or ""
    except Exception:
        return ""


def choose(app, item_name):
    """Runs a menu item by name, as a screen reader does: focus it, then Return."""
    item = wait_for(lambda: find(app, item_name, pyatspi.ROLE_MENU_ITEM), 5)
    check(item is not None, f"the menu offers {item_name!r}")
    if item is not None:
        act(item, "SetFocus")
        time.sleep(0.2)
        key("Return")


def explore(home):
    target = os.path.join(home, "target")
    make_tree(target)
    with running(home, target) as app:
        if app is None:
            return
        items = wait_for(lambda: find(app, "Items", pyatspi.ROLE_LIST))
        row = wait_for(lambda: items and find(items, "small.txt", pyatspi.ROLE_LIST_ITEM))
        check(row is not None, "the list shows the row \"small.txt\" as a list item")
        for name in ("Home", "Startup Disk", "Choose Folder…", "Open Scan…", "Explorer", "Name", "Size"):
            check(find(app, name, pyatspi.ROLE_PUSH_BUTTON) is not None, f"push button {name!r}")
        check(find(app, "target", pyatspi.ROLE_PUSH_BUTTON) is not None, "breadcrumb \"target\"")
        ring = find(app, "Ring", pyatspi.ROLE_LIST)
        check(ring is not None, "the ring is a list")
        check(ring is not None and find(ring, "big", pyatspi.ROLE_LIST_ITEM) is not None,
              "the ring offers slice \"big\" as a list item")
        if ring is not None:
            whole = ring.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
            part = find(ring, "small.txt", pyatspi.ROLE_LIST_ITEM).queryComponent() \
                .getExtents(pyatspi.DESKTOP_COORDS)
            check(whole.x <= part.x and part.x + part.width <= whole.x + whole.width
                  and 0 < part.width * part.height < whole.width * whole.height / 4,
                  f"a small slice reports its own box inside the ring's ({part} in {whole})")
        screenshot("window-explorer.png")

        # The focus's space by kind beside the ring, and the switch that colours it by kind.
        kinds = find(app, "File Kinds", pyatspi.ROLE_LIST)
        other = wait_for(lambda: kinds and find(kinds, "Other", pyatspi.ROLE_LIST_ITEM), 5)
        check(other is not None and description(other).endswith(" %") and
              find(kinds, "Documents", pyatspi.ROLE_LIST_ITEM) is not None,
              "the legend lists \"Other\" (with size and share) and \"Documents\"")
        toggle = find(app, "Colour by Kind", pyatspi.ROLE_CHECK_BOX)
        check(toggle is not None, "check box \"Colour by Kind\"")
        if toggle is not None:
            act(toggle, "Toggle")
            check(wait_for(lambda: toggle.getState().contains(pyatspi.STATE_CHECKED), 3),
                  "\"Colour by Kind\" turns on")
            time.sleep(1)  # the ring's colours ease over
            screenshot("window-kinds.png")

        # The keyboard walks to the ring, through its slices, and on to the list's rows.
        # Without a window manager the keys go to the window under the pointer.
        x, y = ring.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
        pyatspi.Registry.generateMouseEvent(x + 5, y + 5, pyatspi.MOUSE_ABS)
        time.sleep(0.3)
        for _ in range(16):
            if focused(ring):
                break
            key("Tab")
            if os.environ.get("WINDOW_TEST_TRACE"):
                hit = pyatspi.findDescendant(app, focused)
                print("focus:", hit and (hit.name, hit.getRoleName()), flush=True)
        check(focused(ring), "Tab reaches the ring")
        key("Right")
        if os.environ.get("WINDOW_TEST_TRACE"):
            print("slices:", [(c.name, c.getState().getStates()) for c in ring], flush=True)
        check(any(s.getState().contains(pyatspi.STATE_FOCUSED) for s in ring),
              "an arrow puts the keyboard on a slice")
        screenshot("window-ring-keyboard.png")
        slice_ = next((s for s in ring if s.getState().contains(pyatspi.STATE_FOCUSED)), None)
        key("space")
        marked = wait_for(lambda: "In the Cleanup List" in description(slice_), 5)
        key("space")
        check(marked and wait_for(lambda: "In the Cleanup List" not in description(slice_), 5),
              "Space adds the keyboard's slice to the Cleanup List and takes it out again")
        items = find(app, "Items", pyatspi.ROLE_LIST)
        for _ in range(4):  # past the sort buttons
            key("Tab")
            if focused(items):
                break
        key("Down")
        if os.environ.get("WINDOW_TEST_TRACE"):
            print("list:", focused(items), [(r.name, focused(r)) for r in items], flush=True)
        check(items is not None and any(focused(r) for r in items),
              "Tab then an arrow put the keyboard on a row of the list")

        # A row's menu by its standard action; "Copy Path" puts the path on the clipboard.
        act(row, "ShowMenu")
        copy = wait_for(lambda: find(app, "Copy Path", pyatspi.ROLE_MENU_ITEM), 5)
        check(copy is not None, "the row's menu holds \"Copy Path\" as a menu item")
        check(find(app, "Show in Files", pyatspi.ROLE_MENU_ITEM) is not None,
              "the row's menu holds \"Show in Files\"")
        screenshot("window-row-menu.png")
        if copy is not None:
            # Qt Quick's menu items offer only "SetFocus"; Return then triggers the focused one.
            act(copy, "SetFocus")
            time.sleep(0.2)
            key("Return")
            clip = wait_for(lambda: subprocess.run(
                ["xclip", "-selection", "clipboard", "-o"], capture_output=True,
                text=True).stdout, 5)
            check(clip == os.path.join(target, "small.txt"),
                  f"the clipboard holds the row's path (got {clip!r})")

        # The Cleanup List from a row's menu, then from the keyboard.
        listed = "In the Cleanup List"
        big_row = find(items, "big", pyatspi.ROLE_LIST_ITEM)
        act(big_row, "ShowMenu")
        choose(app, "Add to the Cleanup List")
        check(wait_for(lambda: listed in description(big_row), 5),
              f"the row is marked {listed!r} (says {description(big_row)!r})")
        act(big_row, "ShowMenu")
        check(wait_for(lambda: find(app, "Take Out of the Cleanup List",
                                    pyatspi.ROLE_MENU_ITEM), 5) is not None,
              "the menu of a listed row offers \"Take Out of the Cleanup List\"")
        screenshot("window-listed-menu.png")
        key("Escape")
        key("space")
        check(wait_for(lambda: "%" in description(big_row) and listed not in description(big_row), 5),
              "Space takes the current row out of the Cleanup List")
        key("space")
        check(wait_for(lambda: listed in description(big_row), 5),
              "Space puts it back in")

        locked = find(items, "locked", pyatspi.ROLE_LIST_ITEM)
        check(locked is not None and "Could not be read" in description(locked),
              "the unreadable folder's row says \"Could not be read\"")
        notice = "1 folder could not be read; its contents are not counted."
        check(find(app, notice) is not None, f"the notice says {notice!r}")

        # Enter on a folder slice opens it; Backspace goes back up.
        big = find(ring, "big", pyatspi.ROLE_LIST_ITEM)
        act(big, "Press")
        check(wait_for(lambda: find(app, "blob", pyatspi.ROLE_LIST_ITEM), 5) is not None,
              "pressing the slice \"big\" opens the folder")

        # The legend follows the focus, and the keyboard reaches its rows too.
        kinds = find(app, "File Kinds", pyatspi.ROLE_LIST)
        check(wait_for(lambda: kinds and [r.name for r in kinds] == ["Other"], 5),
              "inside \"big\" the legend lists only \"Other\"")
        for _ in range(12):
            if focused(kinds):
                break
            key("Tab")
        key("Down")
        check(kinds is not None and any(focused(r) for r in kinds),
              "Tab then an arrow put the keyboard on a row of the legend")


def search(home):
    target = os.path.join(home, "target")
    make_tree(target)
    os.makedirs(os.path.join(target, "docs"))
    for name, size in (("Quarterly Report.pdf", 200_000), ("report-b.txt", 120_000),
                       ("report-a.txt", 60_000)):
        with open(os.path.join(target, "docs", name), "wb") as f:
            f.write(os.urandom(size))
    with running(home, target) as app:
        if app is None:
            return
        items = wait_for(lambda: find(app, "Items", pyatspi.ROLE_LIST))
        wait_for(lambda: items and find(items, "docs", pyatspi.ROLE_LIST_ITEM))
        chord(CONTROL, F)
        field = wait_for(lambda: find(app, "Search by name", pyatspi.ROLE_TEXT), 5)
        check(field is not None and wait_for(lambda: focused(field), 3),
              "Ctrl+F opens the search with the keyboard in its field")
        # Backspace edits the field; it does not take the ring up a level.
        type_text("reportx")
        key("BackSpace")
        results = find(app, "Search results", pyatspi.ROLE_LIST)
        row = wait_for(lambda: results and find(results, "Quarterly Report.pdf",
                                                pyatspi.ROLE_LIST_ITEM), 5)
        check(row is not None, "typing a name lists the matching item by its name")
        check(find(app, "3 items") is not None, "the search says how many items match")
        screenshot("window-search.png")
        # Tab walks from the field through both filters to the results.
        for name in ("Larger than Any size", "Not modified for Any time"):
            key("Tab")
            box = find(app, name, pyatspi.ROLE_COMBO_BOX)
            check(box is not None and focused(box), f"Tab reaches the filter {name!r}")
        key("Tab")
        key("Down")
        check(focused(results) or any(focused(r) for r in results),
              "Tab then an arrow reach the results")
        if row is None:
            return
        act(row, "ShowMenu")
        choose(app, "Add to the Cleanup List")
        check(wait_for(lambda: "In the Cleanup List" in description(row), 5),
              "the result's menu adds it to the Cleanup List")
        key("Down")
        key("Return")
        check(wait_for(lambda: not showing(field), 5), "Enter on a result closes the search")
        check(wait_for(lambda: find(items, "Quarterly Report.pdf", pyatspi.ROLE_LIST_ITEM), 5)
              is not None, "and shows the result's folder")
        button = find(app, "Search", pyatspi.ROLE_PUSH_BUTTON)
        check(button is not None, "the toolbar offers push button \"Search\"")
        if button is not None:
            act(button, "Press")
        check(wait_for(lambda: showing(field), 5), "the toolbar's \"Search\" opens it again")
        # The keyboard keeps its item when the tree changes under the results.
        results = find(app, "Search results", pyatspi.ROLE_LIST)
        for _ in range(3):
            key("Down")
        held = wait_for(lambda: next((r for r in results if focused(r)), None), 3)
        check(held is not None and held.name == "report-a.txt",
              "Down walks the results to the smallest report")
        os.remove(os.path.join(target, "docs", "report-b.txt"))
        check(wait_for(lambda: find(results, "report-b.txt", pyatspi.ROLE_LIST_ITEM) is None
                       and find(results, "report-a.txt", pyatspi.ROLE_LIST_ITEM), 10),
              "a report removed outside the app leaves the results")
        held = wait_for(lambda: next((r for r in results if focused(r)), None), 3)
        check(held is not None and held.name == "report-a.txt",
              "the keyboard stays on its report when another leaves the results")
        key("Escape")
        check(wait_for(lambda: not showing(field), 5), "Escape closes it")


def stop(home):
    # A whole-disk scan from an empty cache runs long enough to be stopped.
    with running(home, "/") as app:
        button = wait_for(lambda: app and find(app, "Stop", pyatspi.ROLE_PUSH_BUTTON), 10)
        check(button is not None, "a running scan shows \"Stop\"")
        screenshot("window-scanning.png")
        if button is not None:
            act(button, "Press")
            gone = wait_for(lambda: not button.getState().contains(pyatspi.STATE_VISIBLE), 3)
            check(gone, "\"Stop\" ends the scan at once")
            screenshot("window-stopped.png")


def add_by_menu(app, items, name):
    row = wait_for(lambda: find(items, name, pyatspi.ROLE_LIST_ITEM), 5)
    check(row is not None, f"the list shows {name!r}")
    if row is None:
        return
    act(row, "ShowMenu")
    add = wait_for(lambda: find(app, "Add to the Cleanup List", pyatspi.ROLE_MENU_ITEM), 5)
    check(add is not None, f"the menu of {name!r} holds \"Add to the Cleanup List\"")
    if add is not None:
        act(add, "SetFocus")
        time.sleep(0.2)
        key("Return")
        wait_for(lambda: find(app, "Add to the Cleanup List", pyatspi.ROLE_MENU_ITEM) is None, 3)


def cleanup(home):
    # A file and an application image (which carries a warning) gathered through the rows'
    # menus, reviewed, and moved to the Trash.
    target = os.path.join(home, "target")
    make_tree(target)
    with open(os.path.join(target, "tool.AppImage"), "wb") as f:
        f.write(os.urandom(20_000))
    with running(home, target) as app:
        if app is None:
            return
        items = wait_for(lambda: find(app, "Items", pyatspi.ROLE_LIST))
        wait_for(lambda: items and find(items, "small.txt", pyatspi.ROLE_LIST_ITEM))
        pane = find(app, "Cleanup List", pyatspi.ROLE_PUSH_BUTTON)
        check(pane is not None, "the pane switcher offers \"Cleanup List\"")
        act(pane, "Press")
        check(wait_for(lambda: showing(find(app, "Nothing staged", pyatspi.ROLE_LABEL)), 5),
              "the empty Cleanup List says \"Nothing staged\"")
        screenshot("cleanup-empty.png")

        act(find(app, "Explorer", pyatspi.ROLE_PUSH_BUTTON), "Press")
        for name in ("small.txt", "tool.AppImage"):
            add_by_menu(app, items, name)
        act(pane, "Press")
        listed = wait_for(lambda: find_where(app, lambda n: n.name == "Cleanup List" and
                                             n.getRole() == pyatspi.ROLE_LIST and showing(n)), 5)
        if os.environ.get("WINDOW_TEST_TRACE") and listed is not None:
            print("listed:", [(c.name, c.getRoleName()) for c in listed], flush=True)
        check(listed is not None and
              sum(1 for c in listed if c.getRole() == pyatspi.ROLE_LIST_ITEM) == 2 and
              find(listed, "small.txt", pyatspi.ROLE_LIST_ITEM) is not None,
              "the Cleanup List lists both items")
        check(find_where(app, lambda n: n.name.startswith("2 items · ")) is not None,
              "the count line reads \"2 items · …\"")
        check(find(app, "Remove from the Cleanup List", pyatspi.ROLE_PUSH_BUTTON) is not None,
              "each entry offers \"Remove from the Cleanup List\"")
        screenshot("cleanup-listed.png")

        # Delete opens the review wherever the keyboard is, Escape closes it; the keys go to
        # the window under the pointer.
        x, y = listed.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
        pyatspi.Registry.generateMouseEvent(x + 5, y + 5, pyatspi.MOUSE_ABS)
        time.sleep(0.3)
        key("Delete")
        check(wait_for(lambda: find(app, "Move 2 items to the Trash?", pyatspi.ROLE_DIALOG), 3)
              is not None, "Delete opens the review")
        key("Escape")
        check(wait_for(lambda: find(app, "Move 2 items to the Trash?", pyatspi.ROLE_DIALOG)
                       is None, 3) and os.path.exists(os.path.join(target, "small.txt")),
              "Escape closes the review, nothing removed")
        act(find(app, "Review & Move to Trash…", pyatspi.ROLE_PUSH_BUTTON), "Press")
        sheet = wait_for(lambda: find(app, "Move 2 items to the Trash?", pyatspi.ROLE_DIALOG), 5)
        if os.environ.get("WINDOW_TEST_TRACE"):
            moves = pyatspi.findAllDescendants(app, lambda n: "Move" in (n.name or ""))
            print("sheet:", [(n.name, n.getRoleName(), n.parent and n.parent.getRoleName())
                             for n in moves], flush=True)
        check(sheet is not None, "the review is a dialog named \"Move 2 items to the Trash?\"")
        screenshot("sheet-reviewing.png")
        if sheet is None:
            return
        tick = find(sheet, "I've read the 1 warning above and still want to remove them",
                    pyatspi.ROLE_CHECK_BOX)
        confirm = find(sheet, "Move to Trash", pyatspi.ROLE_PUSH_BUTTON)
        check(tick is not None, "the warning's tick box is shown")
        if tick is None or confirm is None:
            return
        # Qt 6.4 reports no disabled state to AT-SPI: the hold is checked by pressing.
        act(confirm, "Press")
        time.sleep(1)
        check(os.path.exists(os.path.join(target, "small.txt")) and
              find(app, "Move 2 items to the Trash?", pyatspi.ROLE_DIALOG) is not None,
              "until the tick box is ticked, \"Move to Trash\" does nothing")
        act(tick, "Toggle")
        check(wait_for(lambda: tick.getState().contains(pyatspi.STATE_CHECKED), 3),
              "the tick box is ticked")
        act(confirm, "Press")
        headline = wait_for(lambda: find_where(app, lambda n: n.name.startswith("Moved 2 items (")
                                               and n.name.endswith(") to the Trash")), 10)
        check(headline is not None, "the result's headline reads \"Moved 2 items (…) to the Trash\"")
        check(find(app, "Open Trash", pyatspi.ROLE_PUSH_BUTTON) is not None,
              "the result offers \"Open Trash\"")
        screenshot("sheet-result.png")

        trash = os.path.join(home, ".local/share/Trash")
        for name in ("small.txt", "tool.AppImage"):
            check(not os.path.exists(os.path.join(target, name)) and
                  os.path.isfile(os.path.join(trash, "files", name)) and
                  os.path.isfile(os.path.join(trash, "info", name + ".trashinfo")),
                  f"{name!r} is in the Trash with its .trashinfo")
        x, y = sheet.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
        pyatspi.Registry.generateMouseEvent(x + 20, y + 20, pyatspi.MOUSE_ABS)
        time.sleep(0.3)
        key("Escape")
        check(wait_for(lambda: find_where(app, lambda n: n.getRole() == pyatspi.ROLE_DIALOG)
                       is None, 3), "Escape closes the sheet")


def suggestions(home):
    # A home with one cache: the pane finds it, safe and ticked, and adds it to the list.
    os.makedirs(os.path.join(home, ".cache", "thumbs"), exist_ok=True)
    with open(os.path.join(home, ".cache", "thumbs", "blob"), "wb") as f:
        f.write(os.urandom(3_000_000))
    with running(home, home) as app:
        if app is None:
            return
        pane = wait_for(lambda: find(app, "Suggestions", pyatspi.ROLE_PUSH_BUTTON))
        check(pane is not None, "the pane switcher offers \"Suggestions\"")
        if pane is None:
            return
        act(pane, "Press")
        headline = wait_for(lambda: find_where(app, lambda n: n.name.startswith("Found ") and
                                               n.name.endswith(" you could clean up. Safe ones start ticked.")), 30)
        check(headline is not None and " MB " in headline.name,
              f"the headline names the megabytes found ({headline and headline.name!r})")
        card = find(app, "App caches", pyatspi.ROLE_PUSH_BUTTON)
        check(card is not None and "Safe" in description(card), "the card \"App caches\" says \"Safe\"")
        if card is None:
            return
        act(card, "Press")
        tick = wait_for(lambda: find(app, "thumbs", pyatspi.ROLE_CHECK_BOX), 5)
        check(tick is not None and tick.getState().contains(pyatspi.STATE_CHECKED),
              "the safe finding \"thumbs\" arrives ticked")
        screenshot("suggestions.png")
        act(tick, "Toggle")
        check(wait_for(lambda: find_where(app, lambda n: n.name.startswith("0 ticked · ")), 3)
              and not tick.getState().contains(pyatspi.STATE_CHECKED), "the tick box unticks")
        act(tick, "Toggle")
        check(wait_for(lambda: find_where(app, lambda n: n.name.startswith("1 ticked · ")), 3)
              and tick.getState().contains(pyatspi.STATE_CHECKED), "and ticks again")
        # The finding's menu from the keyboard: the keys go to the window under the pointer.
        x, y = tick.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
        pyatspi.Registry.generateMouseEvent(x + 2, y + 2, pyatspi.MOUSE_ABS)
        act(tick, "SetFocus")
        time.sleep(0.2)
        key("Menu")
        check(wait_for(lambda: find(app, "Show in Files", pyatspi.ROLE_MENU_ITEM), 5) is not None
              and find(app, "Copy Path", pyatspi.ROLE_MENU_ITEM) is not None,
              "the finding's menu offers \"Show in Files\" and \"Copy Path\"")
        screenshot("suggestions-menu.png")
        key("Escape")
        act(find(app, "Add ticked to the Cleanup List", pyatspi.ROLE_PUSH_BUTTON), "Press")
        check(wait_for(lambda: find_where(app, lambda n: n.name.startswith("Added 1 item (")
                                          and n.name.endswith(") to the Cleanup List.")), 5)
              is not None, "\"Add ticked to the Cleanup List\" says \"Added 1 item (…)\"")
        mark = "In the Cleanup List"
        check(wait_for(lambda: showing(find(app, mark, pyatspi.ROLE_LABEL)), 5),
              f"the finding is marked {mark!r}")
        screenshot("suggestions-added.png")

        # Ctrl+3 shows the Cleanup List, Ctrl+1 the explorer; the keys go to the window
        # under the pointer.
        x, y = headline.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
        pyatspi.Registry.generateMouseEvent(x + 5, y + 5, pyatspi.MOUSE_ABS)
        time.sleep(0.3)
        ctrl(3)
        check(wait_for(lambda: find_where(app, lambda n: n.name == "Cleanup List" and
                                          n.getRole() == pyatspi.ROLE_LIST and showing(n)), 3),
              "Ctrl+3 shows the Cleanup List")
        ctrl(1)
        check(wait_for(lambda: showing(find(app, "Items", pyatspi.ROLE_LIST)), 3),
              "Ctrl+1 shows the explorer")


def write_history(home):
    # Ten days of a 1 TB disk gaining 5 GB a day, in the files the history store reads.
    folder = os.path.join(home, ".local/share/Ambrel/History")
    os.makedirs(folder)
    now = int(time.time()) - 60
    for age in range(10):
        date = now - age * 86400
        summary = {"date": date, "volumeTotal": 10**12, "volumeUsed": 600 * 10**9 - age * 5 * 10**9,
                   "purgeable": 0, "folders": {os.path.join(home, "Videos"): 50 * 10**9 - age * 5 * 10**9}}
        with open(os.path.join(folder, time.strftime("%Y-%m-%d.json", time.localtime(date))), "w") as f:
            json.dump(summary, f)


def history(home):
    write_history(home)
    target = os.path.join(home, "target")
    make_tree(target)
    with running(home, target) as app:
        if app is None:
            return
        wait_for(lambda: find(app, "Items", pyatspi.ROLE_LIST))
        button = find(app, "History", pyatspi.ROLE_PUSH_BUTTON)
        if button is not None:
            act(button, "Press")
        else:
            frame = find_where(app, lambda n: n.getRole() == pyatspi.ROLE_FRAME)
            x, y = frame.queryComponent().getPosition(pyatspi.DESKTOP_COORDS)
            pyatspi.Registry.generateMouseEvent(x + 200, y + 300, pyatspi.MOUSE_ABS)
            time.sleep(0.3)
            chord(CONTROL, FOUR)
        # 400 GB left at 5 GB a day.
        forecast = wait_for(lambda: find_where(app, lambda n: showing(n) and
                                               n.name.startswith("At this rate")), 10)
        check(forecast is not None and forecast.name == "At this rate the disk is full in about 80 days.",
              "the History pane reads \"At this rate the disk is full in about 80 days.\"")
        check(find(app, "What grew in the last 7 days") is not None and
              find(app, "~/Videos, +35 GB", pyatspi.ROLE_LIST_ITEM) is not None,
              "what grew in the last 7 days lists \"~/Videos, +35 GB\"")
        time.sleep(1)
        screenshot("history.png")

        chord(CONTROL, COMMA)
        clear = wait_for(lambda: find(app, "Clear stored scans", pyatspi.ROLE_PUSH_BUTTON), 5)
        check(clear is not None, "Ctrl+, opens the settings with \"Clear stored scans\"")
        if clear is None:
            return
        for text in ("Show Space Watch in the menu bar", "Open Ambrel at login",
                     "When free space drops below 10% (or 20 GB)",
                     "When the disk will fill within a week", "When a folder grows by 5 GB in a day"):
            check(find(app, text, pyatspi.ROLE_CHECK_BOX) is not None, f"the settings offer {text!r}")
        act(clear, "Press")
        cleared = wait_for(lambda: find_where(app, lambda n: n.name.startswith("Cleared stored scans: ")), 5)
        snapshots = os.path.join(home, ".local/share/Ambrel/Snapshots")
        check(cleared is not None and cleared.name.endswith(" freed.") and not os.listdir(snapshots),
              "\"Clear stored scans\" empties the snapshot folder and says what it freed")
        time.sleep(0.5)
        screenshot("settings.png")


def changes(home):
    # Two launches on one folder with a file added between them: the second one's catch-up
    # stores a new snapshot, and the window shows what changed since the first.
    target = os.path.join(home, "target")
    make_tree(target)
    snapshots = os.path.join(home, ".local/share/Ambrel/Snapshots")
    with running(home, target) as app:
        if app is None:
            return
        wait_for(lambda: find(app, "small.txt", pyatspi.ROLE_LIST_ITEM))
        wait_for(lambda: os.path.isdir(snapshots) and os.listdir(snapshots), 10)
    with open(os.path.join(target, "big", "more"), "wb") as f:
        f.write(os.urandom(2_000_000))
    with running(home, target) as app:
        if app is None:
            return
        since = wait_for(lambda: find_where(app, lambda n: showing(n) and
                                            n.name.startswith("Changes since ")), 30)
        check(since is not None, "the window reads \"Changes since …\"")
        if since is None:
            return
        act(find(app, "Colour by growth", pyatspi.ROLE_CHECK_BOX), "Toggle")
        act(find(app, "What changed", pyatspi.ROLE_CHECK_BOX), "Toggle")
        listing = wait_for(lambda: find_where(app, lambda n: n.name == "What changed" and
                                              n.getRole() == pyatspi.ROLE_LIST and showing(n)), 5)
        row = listing and wait_for(lambda: find(listing, "target/big/", pyatspi.ROLE_LIST_ITEM), 5)
        check(row is not None and description(row).startswith("3 MB → 5 MB, +2 MB"),
              "\"What changed\" lists \"target/big/\" grown from 3 MB to 5 MB: "
              + (description(row) if row else "no row"))
        time.sleep(1)
        screenshot("what-changed.png")
        # The keyboard: the list's second row is the folder; Enter centres the ring on it.
        act(listing, "SetFocus")
        key("Down")
        key("Return")
        check(wait_for(lambda: find(app, "big", pyatspi.ROLE_PUSH_BUTTON), 5) is not None,
              "Down and Enter in \"What changed\" centre the ring on \"big\"")


def exclusions_and_changes(home):
    target = os.path.join(home, "target")
    make_tree(target)
    with open(os.path.join(target, "gone.bin"), "wb") as f:
        f.write(os.urandom(500_000))
    big = os.path.join(target, "big")
    os.makedirs(os.path.join(home, ".config", "Ambrel"))
    with open(os.path.join(home, ".config", "Ambrel", "Ambrel.conf"), "w") as f:
        f.write(f"[General]\nexcludedFolders={big}\n")
    with running(home, target) as app:
        if app is None:
            return

        def row(name):
            items = find(app, "Items", pyatspi.ROLE_LIST)
            return items and find(items, name, pyatspi.ROLE_LIST_ITEM)

        check(wait_for(lambda: row("gone.bin")) is not None and row("big") is None,
              "the scan leaves the excluded folder \"big\" out")
        os.remove(os.path.join(target, "gone.bin"))
        check(wait_for(lambda: row("gone.bin") is None, 8),
              "a file deleted outside Ambrel leaves the list within seconds")

        chord(CONTROL, COMMA)
        remove = wait_for(lambda: find(app, "Remove " + big, pyatspi.ROLE_PUSH_BUTTON), 5)
        check(remove is not None and find(app, "Excluded folders") is not None and
              find(app, "Add Folder…", pyatspi.ROLE_PUSH_BUTTON) is not None,
              "the settings list the excluded folder with \"Remove\" and offer \"Add Folder…\"")
        time.sleep(0.5)
        screenshot("settings-excluded.png")
        if remove is None:
            return
        act(remove, "Press")
        check(wait_for(lambda: find(app, "No folders are left out."), 5) is not None,
              "\"Remove\" empties the list of excluded folders")


with tempfile.TemporaryDirectory() as home:
    changes(home)
with tempfile.TemporaryDirectory() as home:
    exclusions_and_changes(home)
with tempfile.TemporaryDirectory() as home:
    history(home)
with tempfile.TemporaryDirectory() as home:
    explore(home)
with tempfile.TemporaryDirectory() as home:
    search(home)
with tempfile.TemporaryDirectory() as home:
    cleanup(home)
with tempfile.TemporaryDirectory() as home:
    suggestions(home)
with tempfile.TemporaryDirectory() as home:
    stop(home)
print(f"{len(failures)} failure(s)")
sys.exit(1 if failures else 0)
