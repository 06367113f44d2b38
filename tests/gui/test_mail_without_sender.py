"""A person chooses Send Test Email before setting a sender address: the
status line says what is missing and Tolvo keeps running.

Arguments: the Tolvo executable, a folder for screenshots.
Runs under Xvfb with a fresh HOME (tests/support/fresh-home).
"""
import os
import subprocess
import sys
import time

tolvo, shots = sys.argv[1], sys.argv[2]
os.makedirs(shots, exist_ok=True)


def xdo(*args):
    return subprocess.run(["xdotool"] + list(args), check=True, capture_output=True, text=True).stdout


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
        fields = dict(l.strip().split(": ", 1) for l in xdo("getwindowgeometry", window).splitlines()[1:])
        width, height = (int(v) for v in fields["Geometry"].split("x"))
        if width < 400 and height > 100:  # not the main window, not the icon
            left, top = (int(v) for v in fields["Position"].split()[0].split(","))
            break
    assert left is not None, "no menu window"
    subprocess.run(["import", "-window", "root", os.path.join(shots, "before-test-mail.png")], check=True)
    titles = ["Tolvo", "Edit", "Format", "Windows", "Preferences...", "Import Contacts...",
              "Open Console", "Send Test Email"]
    y = top + int((titles.index("Send Test Email") + 0.5) * 20)
    # The menu follows the pointer only once it has moved over it.
    xdo("mousemove", str(left + 30), str(y - 10))
    time.sleep(0.3)
    xdo("mousemove", str(left + 40), str(y))
    time.sleep(0.3)
    xdo("mousedown", "1")
    time.sleep(0.2)
    xdo("mouseup", "1")
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
