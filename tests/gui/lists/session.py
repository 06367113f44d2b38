"""What the mailing-list GUI tests share: a group brought in from a CSV file
through the menu, picked as a whole in the Contacts window, the message
typed, the desktop's default browser replaced by a recorder, the Preview
window opened, and text read back through the clipboard.

Geometry follows the layouts in app/ui (windows have no decorations under
a bare Xvfb, so a window's content starts at its frame's corner)."""
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from desktop import geometry_of, main_windows, press, press_menu_item, wait_for, xdo  # noqa: E402

def window(title, min_width=0):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % title],
                           capture_output=True, text=True).stdout.split()
    shapes = [(w,) + geometry_of(w) for w in found]
    shapes = [s for s in shapes if s[3] >= min_width]
    return shapes[0] if shapes else None


def main_window():
    """(left, top, width, height) of the main window, once it is up."""
    return wait_for("the main window", 30, lambda: main_windows() and main_windows()[0])


def import_csv_group(path):
    """Import People from CSV..., the file typed into the open panel; the
    alert at the end is dismissed."""
    press_menu_item("Import People from CSV...")
    _, p_left, p_top, p_width, p_height = wait_for("the open panel", 10,
                                                   lambda: window("Import People from CSV"))
    time.sleep(0.5)
    press(p_left + 210, p_top + p_height - 50)
    xdo("type", "--delay", "20", path)
    time.sleep(0.3)
    # The Name field takes a path: Return goes to its folder, and the file's
    # own name then opens it.
    xdo("key", "Return")
    time.sleep(1.0)
    xdo("type", "--delay", "20", os.path.basename(path))
    time.sleep(0.3)
    xdo("key", "Return")


def pick_group(left, top, width):
    """Opens the Contacts window (Whole Group must be on) and presses the
    first person of the selected group, which picks the whole group."""
    press(left + width - 12 - 64, top + 12 + 12)
    _, c_left, c_top, c_width, c_height = wait_for("the Contacts window", 10, lambda: window("Contacts"))
    time.sleep(0.5)
    column = (c_width - 2 * 12 - 2 * 6) // 3
    press(c_left + 12 + column + 6 + column // 2, c_top + 12 + 21 + 9)
    time.sleep(1.0)


def type_subject_and_message(left, top, width, height, subject, message):
    press(left + width // 2 - 60, top + 12 + 2 * 32 + 12)
    xdo("type", "--delay", "20", subject)
    press(left + width // 2, top + height // 2 + 40)
    xdo("type", "--delay", "20", message)
    time.sleep(0.5)


def install_recording_browser(home):
    """Makes a script the desktop's default application for HTML files
    (xdg-mime's mimeapps.list in the test's HOME); it copies each file it is
    given into HOME/opened and answers that folder."""
    opened = os.path.join(home, "opened")
    os.makedirs(opened, exist_ok=True)
    script = os.path.join(home, "record-browser")
    with open(script, "w") as f:
        f.write('#!/bin/sh\ncp "$1" "%s/"\n' % opened)
    os.chmod(script, 0o755)
    apps = os.path.join(home, ".local/share/applications")
    os.makedirs(apps, exist_ok=True)
    with open(os.path.join(apps, "recorder.desktop"), "w") as f:
        f.write("[Desktop Entry]\nType=Application\nName=Recorder\nExec=%s %%f\nMimeType=text/html;\n" % script)
    os.makedirs(os.path.join(home, ".config"), exist_ok=True)
    with open(os.path.join(home, ".config/mimeapps.list"), "w") as f:
        f.write("[Default Applications]\ntext/html=recorder.desktop\n")
    return opened


def _clipboard():
    return subprocess.run(["xclip", "-o", "-selection", "clipboard"], capture_output=True,
                          text=True, timeout=10).stdout


def copied_text(x, y):
    """Presses into a text view, selects all of it and copies it; answers the
    clipboard's text. The clipboard is set to a marker first, and the steps
    are tried again (a press can be taken for the one that makes a window
    key) until the text has replaced the marker."""
    marker = "(nothing copied yet)"
    for attempt in range(3):
        subprocess.run(["xclip", "-i", "-selection", "clipboard"], input=marker, text=True, timeout=10)
        press(x, y)
        time.sleep(0.3)
        xdo("key", "alt+a")
        time.sleep(0.3)
        xdo("key", "alt+c")
        deadline = time.time() + 3
        while time.time() < deadline:
            text = _clipboard()
            if text and text != marker:
                return text
            time.sleep(0.2)
    return ""


def log_lines(home):
    path = os.path.join(home, "GNUstep/Library/ApplicationSupport/Sorvane Software/Tolvo/Tolvo.log")
    if not os.path.exists(path):
        return []
    return open(path, "rb").read().decode("utf-8", "replace").split("\r")
