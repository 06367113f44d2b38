"""A person starts Tolvo, sends one message to the loopback server and
quits: Tolvo writes nothing on its standard error in all that time, ends
with status 0, and the activity log gets its closing line.

  menu     quits with the Quit item of the menu
  sigterm  the desktop ends it with SIGTERM, as at the end of a session

Arguments: the way to quit, the Tolvo executable, the source folder, a
folder for screenshots.
Runs under Xvfb with a fresh HOME (tests/support/fresh-home).
"""
import glob
import os
import signal
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import (configure_sender_and_server, fill_main_window, main_window,  # noqa: E402
                     press_menu_item, press_send, run, start_test_server, stop, wait_for)

how, tolvo, source, shots = sys.argv[1:5]
os.makedirs(shots, exist_ok=True)
store = os.path.join(os.environ["HOME"], "outbox")
stderr_path = os.path.join(os.environ["HOME"], "tolvo-stderr.txt")

server, port = start_test_server(source, store, 170)
app = None
try:
    configure_sender_and_server(port)
    with open(stderr_path, "wb") as stderr:
        app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=stderr)
    left, top, width, height = wait_for("the main window", 30, main_window)
    time.sleep(1.5)
    fill_main_window(left, top, width, "ann@example.com", "Ann Lee", "Quiet", "Hello {toName}.")
    press_send(left, top, width, height)
    wait_for("the message", 30, lambda: glob.glob(os.path.join(store, "*.eml")))
    time.sleep(1.0)
    run("import", "-window", "root", os.path.join(shots, "quiet-run-%s-sent.png" % how))

    if how == "menu":
        press_menu_item("Quit")
    else:
        app.send_signal(signal.SIGTERM)
    status = app.wait(20)
    app = None
    with open(stderr_path, "rb") as f:
        printed = f.read().decode("utf-8", "replace")
    assert printed == "", "Tolvo wrote on standard error:\n" + printed
    assert status == 0, status
    log = os.path.join(os.environ["HOME"], "GNUstep/Library/ApplicationSupport",
                       "Sorvane Software/Tolvo/Tolvo.log")
    lines = open(log, "rb").read().decode("utf-8", "replace").split("\r")
    assert lines[-2].startswith("[Logging stopping at "), lines[-3:]
    print("1 passed, 0 failed")
finally:
    stop(app, server)
