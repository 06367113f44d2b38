"""Driving the real application under Xvfb as a person does: xdotool for
the pointer and the keyboard, ImageMagick's import for screenshots.

Under a bare Xvfb (no window manager) AppKit misses a quick click, and a
press that comes with no motion over its target; press() moves, pauses,
then presses and releases with a pause between."""
import email
import email.policy
import glob
import os
import signal
import subprocess
import time


def run(*args):
    return subprocess.run(list(args), check=True, capture_output=True, text=True).stdout


def xdo(*args):
    return run("xdotool", *args)


def wait_for(what, seconds, check):
    """The first true answer of check(), polled for up to `seconds`."""
    deadline = time.time() + seconds
    while time.time() < deadline:
        value = check()
        if value:
            return value
        time.sleep(0.2)
    raise SystemExit("timed out waiting for " + what)


def press(x, y):
    xdo("mousemove", str(x - 10), str(y - 4))
    time.sleep(0.3)
    xdo("mousemove", str(x), str(y))
    time.sleep(0.3)
    xdo("mousedown", "1")
    time.sleep(0.2)
    xdo("mouseup", "1")


def geometry_of(window):
    """(left, top, width, height) of an X window; windows have no
    decorations here, so the content starts at the frame's corner."""
    fields = dict(line.strip().split(": ", 1) for line in xdo("getwindowgeometry", window).splitlines()[1:])
    left, top = (int(v) for v in fields["Position"].split()[0].split(","))
    width, height = (int(v) for v in fields["Geometry"].split("x"))
    return left, top, width, height


def main_windows():
    """(left, top, width, height) of each of Tolvo's main windows on screen.
    The menu is a window named "Tolvo" too; a main window is a big one."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Tolvo$"],
                           capture_output=True, text=True).stdout.split()
    return [g for g in (geometry_of(w) for w in found) if g[2] >= 500 and g[3] >= 400]


def received_messages(store):
    """The messages the test server kept in `store`, in arrival order,
    parsed with Python's email package (its default policy)."""
    messages = []
    for path in sorted(glob.glob(os.path.join(store, "*.eml"))):
        with open(path, "rb") as f:
            messages.append(email.message_from_bytes(f.read(), policy=email.policy.default))
    return messages


def start_test_server(source, store, seconds, options=()):
    """The project's loopback SMTP server, keeping every message it accepts
    as an .eml file in `store`; answers (process, port). It stops by itself
    after `seconds`. `options` go to tools/outbox/smtp-server as they are
    (for instance "--auth-required", "--user", "ann", "--password", "pw")."""
    ready = store + ".port"
    server = subprocess.Popen(["/usr/bin/python3", source + "/tools/outbox/smtp-server",
                               "--port", "0", "--ready-file", ready, "--store", store,
                               "--max-seconds", str(seconds)] + list(options),
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    port = wait_for("the test server", 15,
                    lambda: _read(ready))
    return server, port


def configure_sender_and_server(port):
    """The preferences a first Send needs, as the README shows them:
    `defaults write Tolvo KEY VALUE`."""
    for key, value in [("serverAddress", "127.0.0.1"), ("serverPort", port),
                       ("senderEmail", "mia@example.com"), ("senderName", "Mia Sender"),
                       ("selectedContentType", "1")]:
        run("defaults", "write", "Tolvo", key, value)


def _read(path):
    try:
        with open(path) as f:
            return f.read().strip()
    except OSError:
        return None


def fill_main_window(left, top, width, recipient, name, subject, message):
    """Types into the main window as a person does: a click into the
    recipient field, then Tab through name, subject, web page (left empty)
    and into the message."""
    press(left + width // 2 - 60, top + 24)
    xdo("type", "--delay", "20", recipient)
    xdo("key", "Tab")
    xdo("type", "--delay", "20", name)
    xdo("key", "Tab")
    xdo("type", "--delay", "20", subject)
    xdo("key", "Tab")
    xdo("key", "Tab")
    xdo("type", "--delay", "20", message)
    time.sleep(0.5)


def press_send(left, top, width, height):
    """Send sits at the bottom right of the main window."""
    press(left + width - 12 - 48, top + height - 12 - 14)


def stop(app, server):
    """Ends the application (if it was started) and the test server."""
    if app is not None:
        app.send_signal(signal.SIGTERM)
        try:
            app.wait(10)
        except subprocess.TimeoutExpired:
            app.kill()
    server.terminate()
    server.wait(10)


def windows_named(name):
    """The visible X windows whose name is exactly `name`."""
    return subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % name],
                          capture_output=True, text=True).stdout.split()


def main_window():
    """(left, top, width, height) of the main window, or None."""
    found = main_windows()
    return found[0] if found else None


# The rows of the main menu as GNUstep shows them, one 20-pixel row each
# below the title row "Tolvo": the submenus first, then the items of the
# application menu (app/ui/MainMenu.mm).
MENU_ROWS = ["Tolvo", "Edit", "Format", "Windows", "Preferences...", "Import Contacts...",
             "Import People from CSV...", "Open Console", "Send Test Email", "Website", "Tolvo Help", "Quit"]


def menu_window():
    """(left, top) of the main menu, or None: a narrow, tall window named
    "Tolvo" (not the main window, not the application icon)."""
    for window in windows_named("Tolvo"):
        x, y, width, height = geometry_of(window)
        if width < 400 and height > 100:
            return x, y
    return None


def press_menu_item(title):
    left, top = wait_for("the main menu", 30, menu_window)
    press(left + 40, top + int((MENU_ROWS.index(title) + 0.5) * 20))


def preferences_field(source, label):
    """The centre of the Preferences panel's field labelled `label`,
    relative to the panel's top-left corner, worked out from the rows and
    the geometry constants of app/ui/PreferencesPanel.mm."""
    import re
    text = open(source + "/app/ui/PreferencesPanel.mm").read()
    constants = {k: float(v) for k, v in
                 re.findall(r"static const CGFloat (\w+) = (\d+(?:\.\d+)?);", text)}
    table = text[text.index("PanelRows[] = {"):]
    table = table[:table.index("};")]
    rows = re.findall(r'\{ Row(\w+), "([^"]*)"', table)
    top = constants["Margin"]
    for kind, title in rows:
        height = (constants["HeadingHeight"] + 4 if kind == "Heading"
                  else constants["RowHeight"] + constants["RowGap"])
        top += height
        if title == label:
            x = constants["Margin"] + constants["LabelWidth"] + constants["FieldGap"] + 40
            return int(x), int(top - constants["RowGap"] - constants["RowHeight"] / 2)
    raise SystemExit("no row %r in the Preferences panel" % label)
