"""The SMTP login password lives in the desktop's keyring.

  typed       a password typed in the Preferences panel is in the keyring
              (found with secret-tool) and not in the preferences file; a
              Send then logs in with it
  moved       a password put with `defaults write` is moved into the
              keyring at launch and removed from the preferences file
  no-keyring  with no Secret Service, the preferences store keeps the
              password, a Send logs in with it, and the activity log says
              once where the password is

Arguments: the mode, the Tolvo executable, the source folder, a folder for
screenshots. Runs under Xvfb with a fresh HOME (tests/support/fresh-home);
typed and moved inside tests/support/private-keyring.
"""
import email
import email.policy
import glob
import json
import os
import subprocess
import sys
import time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from desktop import (configure_sender_and_server, fill_main_window, main_window,  # noqa: E402
                     preferences_field, press, press_menu_item, press_send, run,
                     start_test_server, stop, wait_for, windows_named, xdo)

mode, tolvo, source, shots = sys.argv[1:5]
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
store = os.path.join(home, "outbox")
preferences_file = os.path.join(home, "GNUstep", "Defaults", "Tolvo.plist")
activity_log = os.path.join(home, "GNUstep/Library/ApplicationSupport",
                            "Sorvane Software/Tolvo/Tolvo.log")
USER, PASSWORD = "ann", "Kz8-secret"


def keyring_password():
    found = subprocess.run(["secret-tool", "lookup", "application", "Tolvo",
                            "server", "127.0.0.1", "user", USER],
                           capture_output=True, text=True)
    return found.stdout if found.returncode == 0 else None


def preferences_text():
    with open(preferences_file, encoding="utf-8", errors="replace") as f:
        return f.read()


def log_lines():
    with open(activity_log, "rb") as f:
        return f.read().decode("utf-8", "replace").split("\r")


def shot(name):
    run("import", "-window", "root", os.path.join(shots, "%s-%s.png" % (mode, name)))


def send_one_message():
    """Types a message into the main window, presses Send and answers the
    message the server kept, with the login name the server recorded."""
    left, top, width, height = wait_for("the main window", 30, main_window)
    fill_main_window(left, top, width, "bo@example.com", "Bo Berg", "Keyring", "Hello {toName}.")
    press_send(left, top, width, height)
    found = wait_for("the message", 30, lambda: sorted(glob.glob(os.path.join(store, "*.eml"))))
    shot("sent")
    with open(found[0], "rb") as f:
        message = email.message_from_bytes(f.read(), policy=email.policy.default)
    with open(found[0][:-len(".eml")] + ".json") as f:
        envelope = json.load(f)
    return message, envelope


server, port = start_test_server(source, store, 170,
                                 ["--auth-required", "--user", USER, "--password", PASSWORD])
app = None
try:
    configure_sender_and_server(port)
    run("defaults", "write", "Tolvo", "selectedAuthentication", "2")  # LOGIN
    run("defaults", "write", "Tolvo", "loginUsername", USER)
    if mode in ("moved", "no-keyring"):
        run("defaults", "write", "Tolvo", "loginPassword", PASSWORD)

    app = subprocess.Popen([tolvo], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    wait_for("the main window", 30, main_window)
    time.sleep(1.5)

    if mode == "typed":
        press_menu_item("Preferences...")
        panel = wait_for("the Preferences panel", 15, lambda: windows_named("Preferences"))
        x, y = preferences_field(source, "Password:")
        left, top = (int(v) for v in
                     run("xdotool", "getwindowgeometry", panel[0]).split("Position: ")[1].split()[0].split(","))
        press(left + x, top + y)
        xdo("type", "--delay", "30", PASSWORD)
        time.sleep(1.0)
        shot("preferences")
        assert wait_for("the password in the keyring", 15,
                        lambda: keyring_password() == PASSWORD), keyring_password()
        text = preferences_text()
        assert PASSWORD not in text and "loginPassword" not in text, text
        # Out of the way of the main window: there is no window manager
        # here to move it or to close it with.
        xdo("windowunmap", panel[0])
    elif mode == "moved":
        assert wait_for("the password moved into the keyring", 15,
                        lambda: keyring_password() == PASSWORD), keyring_password()
        text = preferences_text()
        assert PASSWORD not in text and "loginPassword" not in text, text

    message, envelope = send_one_message()
    assert message["To"] == "Bo Berg <bo@example.com>", message["To"]
    assert envelope.get("auth_user") == USER, envelope

    notice = [line for line in log_lines() if line.startswith("No keyring answered")]
    if mode == "no-keyring":
        assert notice == ["No keyring answered: the login password is kept in the preferences file %s."
                          % preferences_file], notice
        assert PASSWORD in preferences_text()
    else:
        assert notice == [], notice
        assert PASSWORD not in preferences_text()
    print("1 passed, 0 failed")
finally:
    stop(app, server)
