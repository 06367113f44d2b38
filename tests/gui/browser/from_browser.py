"""A person browses with real browsers and takes the page into Tolvo with
From Browser, on a display of the test's own, with a window manager
(openbox) or without one (--no-window-manager):

- five browsers show five pages of the test's HTTP server: Chromium started
  with no flag, with --remote-debugging-port=0 and with
  --remote-debugging-port=9222 (another free port when 9222 is taken), and
  Firefox ESR twice, once with the accessibility bus on and once without;
- each is brought to the front in turn, the clipboard holding a text of
  the test's; From Browser fills the page field and the subject from that
  browser (checked by sending: the message's subject is the page's title
  and its body the page), the way each was asked is the one it offers, and
  the clipboard holds the test's text again;
- a browser whose DevTools endpoint never answers is in front: the window
  opens the Contacts window while the question runs, and a second press
  cancels it;
- a new tab in front, in Chromium and in Firefox: "The front browser tab
  shows no web page", and the page field is unchanged.

The time each answer took is printed (from the activity log's lines).

Arguments: the Tolvo executable, the source folder, a folder for
screenshots, and optionally --no-window-manager. Runs with a fresh HOME.
"""
import os
import re
import socket
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from desktop import (configure_sender_and_server, press, press_send, received_messages, run,  # noqa: E402
                     start_test_server, wait_for, xdo)

tolvo, source, shots = sys.argv[1], sys.argv[2], sys.argv[3]
with_wm = "--no-window-manager" not in sys.argv[4:]
shots = os.path.join(shots, "with-wm" if with_wm else "no-wm")
os.makedirs(shots, exist_ok=True)
home = os.environ["HOME"]
store = os.path.join(home, "outbox")
log_path = os.path.join(home, "GNUstep/Library/ApplicationSupport/Sorvane Software/Tolvo/Tolvo.log")
started = []


def start(args, env=None, **kw):
    p = subprocess.Popen(args, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                         stderr=subprocess.DEVNULL, env=env, start_new_session=True, **kw)
    started.append(p)
    return p


def shot(name):
    subprocess.run(["import", "-window", "root", os.path.join(shots, name)], capture_output=True)


def log_text():
    try:
        return open(log_path, "rb").read().decode("utf-8", "replace")
    except OSError:
        return ""


def free_port(preferred=None):
    s = socket.socket()
    try:
        s.bind(("127.0.0.1", preferred or 0))
    except OSError:
        s.bind(("127.0.0.1", 0))
    port = s.getsockname()[1]
    s.close()
    return port


def windows_named(pattern):
    out = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", pattern],
                         capture_output=True, text=True).stdout.split()
    return out


def own_display():
    """An Xvfb of the test's own: its display number is the server's choice."""
    r, w = os.pipe()
    start(["Xvfb", "-displayfd", str(w), "-screen", "0", "1280x1024x24", "-nolisten", "tcp"], pass_fds=(w,))
    os.close(w)
    number = b""
    while not number.endswith(b"\n"):
        chunk = os.read(r, 16)
        if not chunk:
            raise SystemExit("Xvfb did not start")
        number += chunk
    os.close(r)
    return ":" + number.decode().strip()


def session_bus():
    """A session bus with the accessibility bus switched on, as a desktop
    with assistive technologies enabled has it."""
    out = subprocess.run(["dbus-daemon", "--session", "--fork", "--print-address=1", "--print-pid=1"],
                         capture_output=True, text=True, check=True).stdout.split("\n")
    address, pid = out[0].strip(), int(out[1].strip())
    env = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=address)
    subprocess.run(["gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                    "--method", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "IsEnabled",
                    "<true>"], env=env, capture_output=True, timeout=30)
    return env, pid


def clipboard(text=None):
    if text is None:
        return subprocess.run(["xclip", "-o", "-selection", "clipboard"], capture_output=True,
                              timeout=5).stdout.decode("utf-8", "replace")
    subprocess.run(["xclip", "-selection", "clipboard", "-i"], input=text.encode(),
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=5)


def bring_to_front(window):
    if with_wm:
        xdo("windowactivate", "--sync", window)
    else:
        xdo("windowraise", window)
        xdo("windowfocus", "--sync", window)
    time.sleep(0.5)


def geometry(window):
    """(left, top, width, height) of a window's content on the screen; a
    window manager's frame around it is left out."""
    fields = {}
    for line in run("xwininfo", "-id", window).splitlines():
        if ":" in line:
            key, value = line.strip().split(":", 1)
            fields[key] = value.strip()
    return (int(fields["Absolute upper-left X"]), int(fields["Absolute upper-left Y"]),
            int(fields["Width"]), int(fields["Height"]))


def main_window_id():
    """The menu is a window named "Tolvo" too; the main window is the big one."""
    for w in windows_named("^Tolvo$"):
        try:
            shape = geometry(w)
        except subprocess.CalledProcessError:   # gone meanwhile
            continue
        if shape[2] >= 500 and shape[3] >= 400:
            return w
    return None


def raise_tolvo():
    """Tolvo's main window above the browsers (whose order stays), so that
    a press lands on it. A search may come back empty while some window
    goes away during it: the window is looked for again."""
    window = wait_for("Tolvo's main window", 10, main_window_id)
    xdo("windowraise", window)
    time.sleep(0.3)
    return geometry(window)


display = own_display()
os.environ["DISPLAY"] = display
bus_pid = None
try:
    if with_wm:
        start(["openbox", "--sm-disable"])
        wait_for("the window manager", 20, lambda: "_NET_SUPPORTING_WM_CHECK" in
                 subprocess.run(["xprop", "-root"], capture_output=True, text=True).stdout)
    a11y_env, bus_pid = session_bus()
    # Browsers that do not use the accessibility bus.
    plain_env = {k: v for k, v in os.environ.items() if k != "DBUS_SESSION_BUS_ADDRESS"}
    plain_env.update(NO_AT_BRIDGE="1", GNOME_ACCESSIBILITY="0")

    pages = start(["/usr/bin/python3", os.path.join(source, "tests/capture/page_server.py"),
                   "--ready-file", os.path.join(home, "pages.port")])
    page_port = wait_for("the page server", 15, lambda: open(os.path.join(home, "pages.port")).read().strip()
                         if os.path.exists(os.path.join(home, "pages.port")) else None)
    smtp, smtp_port = start_test_server(source, store, 900)
    started.append(smtp)
    configure_sender_and_server(smtp_port)

    def page(title):
        return "http://127.0.0.1:%s/title/%s" % (page_port, title.replace(" ", "%20"))

    chromium_flags = ["--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                      "--disable-background-networking", "--disable-component-update", "--disable-sync",
                      "--no-default-browser-check", "--password-store=basic", "--window-size=900,700"]
    port_9222 = free_port(9222)
    browsers = [
        # (page title, method expected, command, environment)
        ("Chromium Plain Page", "the keyboard", ["chromium"] + chromium_flags, plain_env),
        ("Chromium Zero Page", "DevTools", ["chromium", "--remote-debugging-port=0"] + chromium_flags, plain_env),
        ("Chromium %d Page" % port_9222, "DevTools",
         ["chromium", "--remote-debugging-port=%d" % port_9222] + chromium_flags, plain_env),
        ("Firefox Accessible Page", "the accessibility bus",
         ["firefox-esr", "--no-remote", "--new-instance", "--width", "900", "--height", "700"], a11y_env),
        ("Firefox Keyboard Page", "the keyboard",
         ["firefox-esr", "--no-remote", "--new-instance", "--width", "900", "--height", "700"], plain_env),
    ]
    if port_9222 != 9222:
        print("port 9222 is taken on this machine; Chromium gets port %d instead" % port_9222)
    windows = {}
    for i, (title, method, command, env) in enumerate(browsers):
        profile = os.path.join(home, "profile-%d" % i)
        os.makedirs(profile)
        if command[0] == "chromium":
            args = command + ["--user-data-dir=" + profile, page(title)]
        else:
            args = command + ["--profile", profile, page(title)]
        start(args, env=env)
    for title, *_ in browsers:
        found = wait_for("a browser window showing " + title, 180, lambda: windows_named(title))
        windows[title] = found[-1]
    time.sleep(3)

    app = start([tolvo], env=a11y_env)
    wait_for("the main window", 60, main_window_id)
    time.sleep(1.5)
    left, top, width, height = raise_tolvo()
    from_browser = (left + width - 12 - 64, top + 12 + 3 * 32 + 12)
    contacts = (left + width - 12 - 64, top + 12 + 12)

    # A recipient for the messages that show what the fields hold.
    press(left + width // 2 - 60, top + 24)
    xdo("type", "--delay", "20", "ann@example.org")
    xdo("key", "Tab")
    xdo("type", "--delay", "20", "Ann Lee")

    def answers():
        return re.findall(r"From Browser: ([^\r]*?) answered through ([^\r]*?) in ([0-9.]+) s: ([^\r]*)\r",
                          log_text())

    def capture(expect_lines):
        raise_tolvo()
        press(*from_browser)
        return wait_for("the answer", 40, lambda: answers()[expect_lines - 1:] and answers()[expect_lines - 1])

    def send_and_read(count):
        raise_tolvo()
        press_send(left, top, width, height)
        wait_for("message %d" % count, 60, lambda: len(received_messages(store)) >= count)
        wait_for("the run to end", 30, lambda: log_text().count("[Mailing completed at") >= count)
        return received_messages(store)[-1]

    figures = []
    for n, (title, method, command, env) in enumerate(browsers, start=1):
        bring_to_front(windows[title])
        clipboard("held by the test %d" % n)
        shot("front-%d.png" % n)
        name, how, seconds, address = capture(n)
        figures.append((title, how, float(seconds)))
        assert address == page(title), (title, address)
        assert how == method, (title, how, method)
        assert name == ("Chromium" if command[0] == "chromium" else "Firefox"), name
        assert clipboard() == "held by the test %d" % n, (title, clipboard())
        message = send_and_read(n)
        assert message["Subject"] == title, (title, message["Subject"])
        # The page is downloaded from the lower-cased address.
        assert title.lower() in message.get_body(("html", "plain")).get_content(), title

    # A browser that never answers: the window stays live, and the question
    # can be cancelled.
    slow_ready = os.path.join(home, "slow.ready")
    slow = start(["/usr/bin/python3", os.path.join(source, "tests/capture/stand_in_browser.py"), "--as", "chromium",
           "--title", "Slow Stand-in", "--hang", "--ready-file", slow_ready, "--remote-debugging-port=0",
           "--user-data-dir=" + os.path.join(home, "slow-profile")])
    wait_for("the slow stand-in", 20, lambda: os.path.exists(slow_ready))
    bring_to_front(windows_named("Slow Stand-in")[-1])
    before = log_text().count("From Browser:")
    raise_tolvo()
    press(*from_browser)
    time.sleep(0.3)
    press(*contacts)
    wait_for("the Contacts window while the question runs", 10, lambda: windows_named("^Contacts$"))
    assert log_text().count("From Browser:") == before, "the question ended before the click was served"
    shot("contacts-while-asking.png")
    raise_tolvo()
    press(*from_browser)   # the button reads Cancel now
    wait_for("the cancel", 10, lambda: "From Browser: cancelled after" in log_text())
    os.killpg(slow.pid, 15)
    slow.wait(10)

    # A new tab in front: no web page, and the page field stays.
    for n, title in enumerate(["Chromium Plain Page", "Firefox Accessible Page"]):
        bring_to_front(windows[title])
        xdo("key", "ctrl+t")
        time.sleep(2.5)
        shot("new-tab-%d.png" % n)
        before = log_text().count("The front browser tab shows no web page")
        raise_tolvo()
        press(*from_browser)
        wait_for("the no-web-page line", 40,
                 lambda: log_text().count("The front browser tab shows no web page") > before)
    message = send_and_read(len(browsers) + 1)
    last = browsers[-1][0]
    assert message["Subject"] == last, message["Subject"]
    assert last.lower() in message.get_body(("html", "plain")).get_content()
    shot("done.png")

    for title, how, seconds in figures:
        print("%-28s %-22s %.2f s" % (title, how, seconds))
    print("PASS")
except BaseException:
    shot("failure.png")
    sys.stderr.write(log_text().replace("\r", "\n")[-4000:])
    raise
finally:
    def signal_all(number):
        for p in reversed(started):
            if p.poll() is not None:
                continue
            try:
                if os.getpgid(p.pid) == p.pid:
                    os.killpg(p.pid, number)
                else:
                    p.send_signal(number)
            except OSError:
                pass
    signal_all(15)
    deadline = time.time() + 10
    while time.time() < deadline and any(p.poll() is None for p in started):
        time.sleep(0.2)
    signal_all(9)
    if bus_pid:
        try:
            os.kill(bus_pid, 15)
        except OSError:
            pass
