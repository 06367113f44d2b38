"""A person opens the Attachments window from the main window, adds files
with the Add... open panel (two at once, then one by one), drags one row to
a new place with the mouse, deletes one file from disk, then types the
message and presses Send: the local server receives one message whose
attachments are the remaining files in the list's order, each with its name,
the MIME type that /etc/mime.types gives its extension, and its exact bytes.

Arguments: the Tolvo executable, the source folder, a folder for screenshots.
Runs under Xvfb (DISPLAY set) with a fresh HOME (tests/support/fresh-home).
"""
import glob
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from desktop import configure_sender_and_server, fill_main_window, received_messages, geometry_of, press, press_send, run, start_test_server, stop, wait_for, xdo  # noqa: E402

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
store = os.path.join(os.environ["HOME"], "outbox")
folder = os.path.join(os.environ["HOME"], "Mailing")

# Geometry of the windows as laid out in code (app/ui/MainWindowLayout.mm,
# attachments/AttachmentsWindow.mm) and of GNUstep's open panel, in pixels
# from each window's top-left corner (no window manager: no title bars).
ATTACHMENTS_BUTTON = (-76, 56)         # from the main window's top-right corner
ADD_BUTTON = (-12 - 90 - 8 - 45, -24)  # from the attachments window's bottom-right
TABLE_FIRST_ROW_Y = 43                 # centre of row 0 in the attachments table
TABLE_ROW_PITCH = 16
TABLE_ROW_X = 120
PANEL_NAME_FIELD = (-150, 376)         # from the open panel's top-right / top
PANEL_FILE_COLUMN_X = 283              # the browser's right-hand column
PANEL_FIRST_ROW_Y = 104
PANEL_ROW_PITCH = 15


def windows_named(name):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % name],
                           capture_output=True, text=True).stdout.split()
    return [geometry_of(w) for w in found]


def main_window():
    # The menu is a window named "Tolvo" too; the main window is the big one.
    big = [g for g in windows_named("Tolvo") if g[2] >= 500 and g[3] >= 400]
    return big[0] if big else None


def one_window(name):
    found = windows_named(name)
    return found[0] if len(found) == 1 else None


def screenshot(name, geometry=None):
    arguments = ["import", "-window", "root"]
    if geometry is not None:
        left, top, width, height = geometry
        arguments += ["-crop", "%dx%d+%d+%d" % (width, height, left, top)]
    run(*(arguments + [os.path.join(shots, name)]))


def row_is_highlighted(shot, row):
    """Whether `row` of the table in a screenshot of the attachments window
    is drawn with the selection's white background."""
    lightness = run("convert", os.path.join(shots, shot), "-format",
                    "%%[fx:int(255*p{%d,%d}.intensity)]" % (TABLE_ROW_X + 300,
                                                            TABLE_FIRST_ROW_Y + row * TABLE_ROW_PITCH),
                    "info:").strip()
    return int(lightness) >= 250


def mime_types_table():
    """The first type /etc/mime.types gives each extension, in file order,
    as the application reads it."""
    table = {}
    with open("/etc/mime.types") as f:
        for line in f:
            words = line.split("#", 1)[0].split()
            for extension in words[1:]:
                table.setdefault(extension.lower(), words[0])
    return table


def add_with_open_panel(attachments, rows):
    """Add... in the attachments window; in the open panel the folder is
    typed into the Name field, which shows it in the browser, and the files
    are clicked there (shift-click adds to the selection); Return is OK."""
    left, top, width, height = attachments
    press(left + width + ADD_BUTTON[0], top + height + ADD_BUTTON[1])
    panel = wait_for("the open panel", 10, lambda: one_window("Open"))
    time.sleep(0.8)
    p_left, p_top, p_width, p_height = panel
    press(p_left + p_width + PANEL_NAME_FIELD[0], p_top + PANEL_NAME_FIELD[1])
    xdo("type", "--delay", "20", folder + "/")
    time.sleep(0.8)
    for i, row in enumerate(rows):
        if i > 0:
            xdo("keydown", "shift")
        press(p_left + PANEL_FILE_COLUMN_X, p_top + PANEL_FIRST_ROW_Y + row * PANEL_ROW_PITCH)
        if i > 0:
            xdo("keyup", "shift")
        time.sleep(0.4)
    screenshot("open-panel.png", panel)
    xdo("key", "Return")
    wait_for("the open panel to close", 10, lambda: not windows_named("Open"))
    time.sleep(0.8)


def drag_row(attachments, row, gap):
    """Drags `row` of the attachments table to the gap before row `gap`.
    GNUstep's table drags only a row that is already selected, so the row is
    clicked first; the drag starts with a sideways move; the drop goes to
    the gap about half a row above the pointer, so the pointer ends just
    below the top edge of row `gap`."""
    left, top, width, height = attachments
    x = left + TABLE_ROW_X
    y_from = top + TABLE_FIRST_ROW_Y + row * TABLE_ROW_PITCH
    y_to = top + TABLE_FIRST_ROW_Y + gap * TABLE_ROW_PITCH - TABLE_ROW_PITCH // 2 + 2
    steps = ["mousemove", str(x), str(y_from), "mousedown", "1", "sleep", "0.2", "mouseup", "1",
             "sleep", "0.3", "mousedown", "1", "sleep", "0.2",
             "mousemove", str(x + 12), str(y_from), "sleep", "0.2"]
    for i in range(1, 9):
        steps += ["mousemove", str(x + 12), str(y_from + (y_to - y_from) * i // 8), "sleep", "0.1"]
    steps += ["sleep", "0.3", "mouseup", "1"]
    xdo(*steps)
    time.sleep(1.0)


# The files, each with bytes of its own; their names sort in the open panel
# as listed here (rows 0 to 3 of its file column).
os.makedirs(folder)
contents = {
    "annual report.pdf": b"%PDF-1.4\r\n" + bytes((i * 37 + 11) % 256 for i in range(48000)),
    "gone.csv": b"name,amount\r\nann,1\r\n",
    "notes.txt": b"Line one\r\n.\r\nLine with a dot above\n\x00\xff end",
    "team photo.png": b"\x89PNG\r\n\x1a\n" + os.urandom(30000),
}
for name, data in contents.items():
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)

server, port = start_test_server(source, store, 170)
app = None
try:
    configure_sender_and_server(port)

    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = wait_for("the main window", 30, main_window)
    time.sleep(1.5)

    # Attachments... opens the list's window.
    press(left + width + ATTACHMENTS_BUTTON[0], top + ATTACHMENTS_BUTTON[1])
    attachments = wait_for("the attachments window", 10, lambda: one_window("Attachments"))
    time.sleep(0.8)

    # Two files at once, then two more one by one:
    # annual report.pdf, gone.csv, team photo.png, notes.txt.
    add_with_open_panel(attachments, [0, 1])
    add_with_open_panel(attachments, [3])
    add_with_open_panel(attachments, [2])
    screenshot("attachments-added.png", attachments)

    # notes.txt (row 3) is dragged up to the gap before row 1:
    # annual report.pdf, notes.txt, gone.csv, team photo.png.
    drag_row(attachments, 3, 1)
    screenshot("attachments-window.png", attachments)
    # The highlight went with the dragged file, so a Delete now would remove
    # notes.txt and not the file that moved into its old row.
    assert row_is_highlighted("attachments-window.png", 1), "the moved row is not the selected one"
    assert not row_is_highlighted("attachments-window.png", 3), "the old row is still selected"

    # gone.csv leaves the disk after it was added.
    os.remove(os.path.join(folder, "gone.csv"))

    # The recipient field of the main window, then Tab through name,
    # subject, web page and into the message.
    fill_main_window(left, top, width, "ann@example.com", "Ann Lee",
                     "Files for you", "Hello {toName}, three files attached.")

    press_send(left, top, width, height)
    try:
        wait_for("the message", 30, lambda: glob.glob(os.path.join(store, "*.eml")))
    finally:
        time.sleep(1.0)
        screenshot("attachments-sent.png")

    messages = received_messages(store)
    assert len(messages) == 1, len(messages)
    message = messages[0]
    assert message["To"] == "Ann Lee <ann@example.com>", message["To"]
    assert message["Subject"] == "Files for you", message["Subject"]
    assert message.get_content_type() == "multipart/mixed", message.get_content_type()

    leaves = [p for p in message.walk() if not p.is_multipart()]
    body, files = leaves[0], leaves[1:]
    assert body.get_content_type() == "text/plain", body.get_content_type()
    assert body.get_content().strip() == "Hello Ann Lee, three files attached.", body.get_content()

    types = mime_types_table()
    expected = ["annual report.pdf", "notes.txt", "team photo.png"]
    assert [types[n.rsplit(".", 1)[1]] for n in expected] == ["application/pdf", "text/plain", "image/png"]
    got = [p.get_filename() for p in files]
    assert got == expected, "attachments %r, the list's order is %r" % (got, expected)
    for part, name in zip(files, expected):
        assert part.get_content_type() == types[name.rsplit(".", 1)[1]], (name, part.get_content_type())
        assert part["Content-Transfer-Encoding"].lower() == "base64", (name, part["Content-Transfer-Encoding"])
        data = part.get_payload(decode=True)
        assert data == contents[name], "%s: %d bytes received, %d in the file" % (
            name, len(data), len(contents[name]))
    print("1 passed, 0 failed")
finally:
    stop(app, server)
