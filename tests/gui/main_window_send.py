"""A person launches Tolvo, types a recipient, a name, a subject and a
message, and presses Send: the local server receives one message with those
values, and the status line and the activity log show the run.

Arguments: the Tolvo executable, the source folder, a folder for screenshots.
Runs under Xvfb (DISPLAY set) with a fresh HOME (tests/support/fresh-home).
"""
import glob
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import configure_sender_and_server, fill_main_window, main_windows, press_send, received_messages, run, start_test_server, stop, wait_for  # noqa: E402

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
store = os.path.join(os.environ["HOME"], "outbox")


server, port = start_test_server(source, store, 170)
app = None
try:
    configure_sender_and_server(port)

    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = wait_for("the main window", 30, lambda: (main_windows() or [None])[0])
    time.sleep(1.5)

    # The recipient field has the focus when the window opens; Tab moves on
    # through name, subject, web page and into the message.
    fill_main_window(left, top, width, "ann@example.com", "Ann Lee",
                     "Spring news", "Hello {toName}, see you soon.")
    run("import", "-window", "root", os.path.join(shots, "main-window-typed.png"))

    press_send(left, top, width, height)
    try:
        wait_for("the message", 30, lambda: glob.glob(os.path.join(store, "*.eml")))
    finally:
        time.sleep(1.0)
        run("import", "-window", "root", os.path.join(shots, "main-window-sent.png"))

    messages = received_messages(store)
    assert len(messages) == 1, len(messages)
    message = messages[0]
    assert message["To"] == "Ann Lee <ann@example.com>", message["To"]
    assert message["Subject"] == "Spring news", message["Subject"]
    assert message["From"] == "Mia Sender <mia@example.com>", message["From"]
    bodies = [p for p in message.walk() if p.get_content_type() == "text/plain"]
    assert len(bodies) == 1, [p.get_content_type() for p in message.walk()]
    assert bodies[0].get_content().strip() == "Hello Ann Lee, see you soon.", bodies[0].get_content()

    log = glob.glob(os.path.join(os.environ["HOME"], "GNUstep/Library/ApplicationSupport",
                                 "Sorvane Software/Tolvo/Tolvo.log"))
    assert log, "no activity log"
    lines = wait_for("the end of the run in the log", 15,
                     lambda: (lambda ls: ls if any(l.startswith("[Mailing completed at ") for l in ls) else None)(
                         open(log[0], "rb").read().decode("utf-8", "replace").split("\r")))
    wanted = ["Sending mail.", "[Mailing started at ", "Connecting to the 127.0.0.1 server.",
              "Message sent. Closing the connection.", "Connection closed. Done.", "[Mailing completed at "]
    position = 0
    for prefix in wanted:
        found = [i for i, l in enumerate(lines) if i >= position and l.startswith(prefix)]
        assert found, "log lacks %r after line %d: %r" % (prefix, position, lines)
        position = found[0] + 1
    print("1 passed, 0 failed")
finally:
    stop(app, server)
