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
from desktop import press_menu_item  # noqa: E402

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
    subprocess.run(["import", "-window", "root", os.path.join(shots, "before-test-mail.png")], check=True)
    press_menu_item("Send Test Email")
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
