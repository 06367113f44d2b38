"""A person imports "Team Five.vcf" (five people, the preferred address of
each marked PREF) into a new group, ticks Whole Group, picks the group,
types a subject and a message with {toName}, and presses Send: the local
server receives five messages, one per person, each to the preferred
address and greeting that person by name. Picking the group again and
pressing Send mails nobody: the activity log shows five "Skipping" lines.

Arguments: the Tolvo executable, the source folder, a folder for screenshots.
Runs under Xvfb (DISPLAY set, 1280x1024) with a fresh HOME.
"""
import email
import email.policy
import glob
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from desktop import configure_sender_and_server, geometry_of, press, press_send, run, start_test_server, stop, wait_for, xdo  # noqa: E402

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
store = os.path.join(home, "outbox")
log_path = os.path.join(home, "GNUstep/Library/ApplicationSupport/Sorvane Software/Tolvo/Tolvo.log")

PEOPLE = [("Ann", "Archer", "ann@work.example"), ("Bo", "Berg", "bo@example.org"),
          ("Cy", "Cole", "cy@example.net"), ("Dee", "Dunn", "dee@home.example"),
          ("Eve", "Evans", "eve@example.com")]
CARDS = (
    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Archer;Ann;;;\r\nFN:Ann Archer\r\n"
    "EMAIL;TYPE=INTERNET,HOME:ann@home.example\r\nEMAIL;TYPE=INTERNET,WORK,PREF:ann@work.example\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:2.1\r\nN:Berg;Bo\r\nEMAIL;INTERNET;PREF:bo@example.org\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:Cy Cole\r\nN:Cole;Cy;;;\r\nEMAIL;PREF=1:cy@example.net\r\n"
    "EMAIL;PREF=2:cy@old.example\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Dunn;Dee;;;\r\nEMAIL;type=INTERNET;type=HOME;type=pref:dee@home.example\r\n"
    "EMAIL;type=INTERNET;type=WORK:dee@work.example\r\nEND:VCARD\r\n"
    "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Evans;Eve;;;\r\nEMAIL:eve@example.com\r\nEND:VCARD\r\n")


def shot(name):
    run("import", "-window", "root", os.path.join(shots, name))


def window(title, min_width=0):
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^%s$" % title],
                           capture_output=True, text=True).stdout.split()
    shapes = [geometry_of(w) for w in found]
    shapes = [g for g in shapes if g[2] >= min_width]
    return shapes[0] if shapes else None


def log_lines():
    if not os.path.exists(log_path):
        return []
    return open(log_path, "rb").read().decode("utf-8", "replace").split("\r")


def received():
    return sorted(glob.glob(os.path.join(store, "*.eml")))


server, port = start_test_server(source, store, 230)
app = None
try:
    configure_sender_and_server(port)
    vcf = os.path.join(home, "Team Five.vcf")
    with open(vcf, "w", newline="") as f:
        f.write(CARDS)

    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = wait_for("the main window", 30, lambda: window("Tolvo", 500))
    time.sleep(1.5)

    # The Contacts... button, first of the buttons at the top right.
    press(left + width - 12 - 64, top + 12 + 12)
    c_left, c_top, c_width, c_height = wait_for("the Contacts window", 10, lambda: window("Contacts"))
    time.sleep(0.5)

    # Whole Group at the bottom left of the Contacts window.
    press(c_left + 12 + 10, c_top + c_height - 12 - 12)
    time.sleep(0.5)
    stored = run("defaults", "read", "Tolvo", "wholeGroup").split()
    assert stored and stored[-1] in ("1", "YES"), "Whole Group not stored: %r" % stored

    # Import vCard... at its bottom right; the file typed into the panel's Name field.
    press(c_left + c_width - 12 - 70, c_top + c_height - 12 - 12)
    p_left, p_top, p_width, p_height = wait_for("the open panel", 10, lambda: window("Import Contacts"))
    time.sleep(0.5)
    press(p_left + 210, p_top + p_height - 50)
    xdo("type", "--delay", "20", vcf)
    time.sleep(0.3)
    # The panel's Name field takes a path: Return goes to its folder, and the
    # file's own name (the field keeps the path selected) then opens it.
    xdo("key", "Return")
    time.sleep(1.0)
    xdo("type", "--delay", "20", os.path.basename(vcf))
    time.sleep(0.3)
    shot("open-panel-typed.png")
    xdo("key", "Return")
    wait_for("the import", 20, lambda: any(l.startswith("Imported 5 contacts from Team Five.vcf into the group Team Five.")
                                           for l in log_lines()))
    time.sleep(1.0)
    shot("contacts-imported.png")
    # The alert that ends the import: its OK is the default button.
    xdo("key", "Return")
    time.sleep(1.0)

    # The imported group is selected; a click on one of its people picks the
    # whole group (Whole Group is on). Rows: header, then one row per person.
    column = (c_width - 2 * 12 - 2 * 6) // 3
    row_y = c_top + 12 + 21 + 9
    press(c_left + 12 + column + 6 + column // 2, row_y)
    time.sleep(1.0)

    # Subject and message, then Send.
    main = window("Tolvo", 500)
    press(left + width // 2 - 60, top + 12 + 2 * 32 + 12)
    xdo("type", "--delay", "20", "Team news")
    press(left + width // 2, top + height // 2 + 40)
    xdo("type", "--delay", "20", "Hello {toName}, the team meets on Friday.")
    time.sleep(0.5)
    press_send(left, top, width, height)
    try:
        wait_for("five messages", 60, lambda: len(received()) >= 5)
        wait_for("the end of the run", 20, lambda: any(l.startswith("[Mailing completed at ") for l in log_lines()))
    finally:
        time.sleep(1.0)
        shot("recipients-after-first-send.png")

    messages = []
    for path in received():
        with open(path, "rb") as f:
            messages.append(email.message_from_bytes(f.read(), policy=email.policy.default))
    assert len(messages) == 5, len(messages)
    for (first, last, address), message in zip(PEOPLE, messages):
        assert message["To"] == "%s %s <%s>" % (first, last, address), message["To"]
        assert message["Subject"] == "Team news", message["Subject"]
        bodies = [p for p in message.walk() if p.get_content_type() == "text/plain"]
        assert bodies and bodies[0].get_content().strip() == \
            "Hello %s %s, the team meets on Friday." % (first, last), bodies[0].get_content()

    # The same group again: pick another of its people, then Send.
    skipped_before = sum(1 for l in log_lines() if l.startswith("Skipping "))
    # Send made the Recipients window key: a first press on the Contacts
    # window's background brings it back, then the press on a person counts.
    press(c_left + c_width // 2, c_top + c_height - 24)
    time.sleep(0.5)
    press(c_left + 12 + column + 6 + column // 2, row_y + 16)
    time.sleep(1.0)
    press_send(left, top, width, height)
    time.sleep(5.0)
    shot("recipients-after-second-send.png")
    assert len(received()) == 5, "mailed again: %d messages" % len(received())
    skipped = [l for l in log_lines() if l.startswith("Skipping ")]
    assert len(skipped) - skipped_before == 5, skipped
    assert sorted(l[len("Skipping "):] for l in skipped) == sorted(p[2] for p in PEOPLE), skipped
    print("1 passed, 0 failed")
finally:
    stop(app, server)
