"""A person brings a group of three in from a CSV file, types a message
with {toName} and looks at the Preview before sending: each member is shown
with their own To line and greeting; Open in Browser hands the default
browser a file that holds exactly the HTML part the run then sends.

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
sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import configure_sender_and_server, press, press_send, run, start_test_server, stop, wait_for, xdo  # noqa: E402
from session import (copied_text, import_csv_group, install_recording_browser, log_lines,  # noqa: E402
                     main_window, pick_group, type_subject_and_message, window)

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
store = os.path.join(home, "outbox")
PEOPLE = [("Ann", "Archer", "ann@example.com"), ("Bo", "Berg", "bo@example.org"),
          ("Cy", "Cole", "cy@example.net")]


def received():
    return sorted(glob.glob(os.path.join(store, "*.eml")))


server, port = start_test_server(source, store, 200)
app = None
try:
    configure_sender_and_server(port)
    run("defaults", "write", "Tolvo", "selectedContentType", "0")
    run("defaults", "write", "Tolvo", "wholeGroup", "YES")
    opened = install_recording_browser(home)
    csv = os.path.join(home, "Trio.csv")
    with open(csv, "w") as f:
        f.write("First Name,Last Name,Email\n" + "".join("%s,%s,%s\n" % p for p in PEOPLE))

    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = main_window()
    time.sleep(1.5)
    import_csv_group(csv)
    wait_for("the import", 20, lambda: "Imported 3 contacts from Trio.csv into the group Trio." in log_lines(home))
    time.sleep(1.0)
    xdo("key", "Return")
    time.sleep(1.0)
    pick_group(left, top, width)
    type_subject_and_message(left, top, width, height, "Rehearsal",
                             "Hello {toName}, rehearsal is on Friday.")

    xdo("key", "alt+p")
    preview_id, p_left, p_top, p_width, p_height = wait_for("the Preview window", 10, lambda: window("Preview"))
    time.sleep(1.0)
    for i, (first, last, address) in enumerate(PEOPLE):
        if i > 0:
            press(p_left + 12 + 96 + 45, p_top + 12 + 12)   # Next
            time.sleep(1.0)
        shown = "Preview %d of 3: %s %s <%s>" % (i + 1, first, last, address)
        wait_for(shown, 10, lambda: shown in log_lines(home))
        if i == 0:
            run("import", "-window", preview_id, os.path.join(shots, "preview.png"))
        text = copied_text(p_left + p_width // 2, p_top + 300)
        assert "Hello %s %s, rehearsal is on Friday." % (first, last) in text, text
        message_source = copied_text(p_left + p_width // 2, p_top + 500)
        assert "\nTo: %s %s <%s>\n" % (first, last, address) in message_source, message_source
        assert "\nSubject: Rehearsal\n" in message_source, message_source
        before = set(os.listdir(opened))
        press(p_left + p_width - 12 - 70, p_top + 12 + 12)   # Open in Browser
        wait_for("the browser", 10, lambda: set(os.listdir(opened)) - before)
    assert received() == [], "the preview sent something"

    pages = {}
    for name in os.listdir(opened):
        # message-N-M.html: N is the member's position in the preview.
        pages[int(name.split("-")[1])] = open(os.path.join(opened, name), "rb").read()
    press_send(left, top, width, height)
    wait_for("three messages", 60, lambda: len(received()) >= 3)
    for i, path in enumerate(received()):
        with open(path, "rb") as f:
            message = email.message_from_bytes(f.read(), policy=email.policy.compat32)
        first, last, address = PEOPLE[i]
        assert message["To"] == "%s %s <%s>" % (first, last, address), message["To"]
        html = [p for p in message.walk() if p.get_content_type() == "text/html"]
        assert len(html) == 1, [p.get_content_type() for p in message.walk()]
        sent = html[0].get_payload(decode=True)
        assert sent == pages[i + 1], (sent, pages[i + 1])
    print("1 passed, 0 failed")
finally:
    stop(app, server)
