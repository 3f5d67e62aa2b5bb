"""What every AT-SPI window test needs: checks that are counted, waiting, finding by name and
role, the application on the bus and screenshots (into the folder given as argv[2])."""
import os
import subprocess
import sys
import time

import pyatspi

SHOTS = sys.argv[2] if len(sys.argv) > 2 else None
failures = []


def check(condition, what):
    print(("ok   " if condition else "FAIL ") + what, flush=True)
    if not condition:
        failures.append(what)


def wait_for(probe, seconds=20.0):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = probe()
        if value:
            return value
        time.sleep(0.1)
    return probe()


def find(root, name, role=None):
    def matches(node):
        try:
            return role in (None, node.getRole()) and node.name == name and \
                not node.getState().contains(pyatspi.STATE_DEFUNCT)
        except Exception:
            return False
    try:
        return pyatspi.findDescendant(root, matches)
    except Exception:
        return None


def application():
    for app in pyatspi.Registry.getDesktop(0):
        if app is not None and app.name in ("ambrel", "Ambrel"):
            return app
    return None


def screenshot(name):
    if SHOTS:
        os.makedirs(SHOTS, exist_ok=True)
        subprocess.run(["import", "-window", "root", os.path.join(SHOTS, name)], check=False)
