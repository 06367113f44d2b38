"""A second launch of Tolvo while one runs: with GNUstep command-line
defaults (`Tolvo -NSLanguages English`) it is a launch of its own and keeps
running; with a mailto: URL it hands the URL to the running Tolvo and ends,
and the running one mails that address.

Arguments: the Tolvo executable, the source folder, a folder for screenshots.
Runs under Xvfb (DISPLAY set) with a fresh HOME (tests/support/fresh-home).
"""
import glob
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import configure_sender_and_server, main_windows, press, press_send, received_messages, run, start_test_server, stop, wait_for, xdo  # noqa: E402

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
os.makedirs(shots, exist_ok=True)
store = os.path.join(os.environ["HOME"], "outbox")


server, port = start_test_server(source, store, 170)
first = second = None
try:
    configure_sender_and_server(port)
    first = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    left, top, width, height = wait_for("the first main window", 30, lambda: (main_windows() or [None])[0])
    time.sleep(1.5)

    # GNUstep defaults on the command line: not a URL, so nothing to hand
    # over; this launch stays and opens a window of its own.
    second = subprocess.Popen([tolvo, "-NSLanguages", "English"],
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    time.sleep(6.0)
    assert second.poll() is None, "the launch with -NSLanguages English ended (status %r)" % second.returncode
    wait_for("the second main window", 30, lambda: len(main_windows()) >= 2)
    run("import", "-window", "root", os.path.join(shots, "second-launch.png"))
    second.terminate()
    second.wait(10)
    second = None
    wait_for("one main window again", 15, lambda: len(main_windows()) == 1)

    # A mailto: URL goes to the running Tolvo, and this launch ends.
    third = subprocess.run([tolvo, "mailto:bob@example.com"], timeout=30,
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    assert third.returncode == 0, third.returncode
    time.sleep(1.0)

    # The running Tolvo has the address; a name and a subject, then Send.
    press(left + width // 2 - 60, top + 24)
    xdo("key", "Tab")
    xdo("type", "--delay", "20", "Bob Ray")
    xdo("key", "Tab")
    xdo("type", "--delay", "20", "From the link")
    time.sleep(0.5)
    run("import", "-window", "root", os.path.join(shots, "handed-over.png"))
    press_send(left, top, width, height)
    try:
        wait_for("the message", 30, lambda: glob.glob(os.path.join(store, "*.eml")))
    finally:
        run("import", "-window", "root", os.path.join(shots, "handed-over-sent.png"))
    messages = received_messages(store)
    assert len(messages) == 1, len(messages)
    message = messages[0]
    assert message["To"] == "Bob Ray <bob@example.com>", message["To"]
    assert message["Subject"] == "From the link", message["Subject"]
    print("1 passed, 0 failed")
finally:
    if second is not None:
        second.kill()
        second.wait(10)
    stop(first, server)
