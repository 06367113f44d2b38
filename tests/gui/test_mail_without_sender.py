"""A person chooses Send Test Email before setting a sender address: the
status line says what is missing and Tolvo keeps running.

Arguments: the Tolvo executable, a folder for screenshots.
Runs under Xvfb with a fresh HOME (tests/support/fresh-home).
"""
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from desktop import geometry_of, press, xdo  # noqa: E402

tolvo, shots = sys.argv[1], sys.argv[2]
os.makedirs(shots, exist_ok=True)


app = subprocess.Popen([tolvo], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
try:
    deadline = time.time() + 30
    menu = []
    while time.time() < deadline and not menu:
        menu = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Tolvo$"],
                              capture_output=True, text=True).stdout.split()
        time.sleep(0.3)
    assert menu, "Tolvo did not open"
    time.sleep(2.0)
    # The menu is a column of 20-pixel rows at the top left, below its
    # title: Edit, Format, Windows, Preferences..., Import Contacts...,
    # Open Console, Send Test Email.
    left = top = None
    menu = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", "^Tolvo$"],
                          capture_output=True, text=True).stdout.split()
    for window in menu:
        x, y, width, height = geometry_of(window)
        if width < 400 and height > 100:  # not the main window, not the icon
            left, top = x, y
            break
    assert left is not None, "no menu window"
    subprocess.run(["import", "-window", "root", os.path.join(shots, "before-test-mail.png")], check=True)
    titles = ["Tolvo", "Edit", "Format", "Windows", "Preferences...", "Import Contacts...",
              "Open Console", "Send Test Email"]
    y = top + int((titles.index("Send Test Email") + 0.5) * 20)
    press(left + 40, y)
    time.sleep(2.0)
    subprocess.run(["import", "-window", "root", os.path.join(shots, "after-test-mail.png")], check=True)
    assert app.poll() is None, "Tolvo ended: " + (app.stdout.read() if app.stdout else "")
    log = os.path.join(os.environ["HOME"], "GNUstep/Library/ApplicationSupport",
                       "Sorvane Software/Tolvo/Tolvo.log")
    lines = open(log, "rb").read().decode("utf-8", "replace").split("\r")
    wanted = "Error (NoSenderEmailAddress): The sender 'Email Address:' preference value has not been specified."
    assert wanted in lines, lines
    print("1 passed, 0 failed")
finally:
    app.terminate()
    try:
        app.wait(10)
    except subprocess.TimeoutExpired:
        app.kill()
