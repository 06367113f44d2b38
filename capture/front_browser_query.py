"""Asks the web browsers that show a window on this X display for the
address and the title of the page in front, and prints one JSON object.

Tolvo runs this text with /usr/bin/python3 as a child process that its run
loop watches, so the window stays live (and can take the focus back) while
a browser is asked. Arguments: --own-pid PID (Tolvo itself: never taken for
a browser).

Which browsers: only those with a viewable window on $DISPLAY, found through
the windows' _NET_WM_PID, so a browser on another display (another desktop
of the machine) is never asked. The one whose window is highest in the
stacking order (the front browser) is asked first, then the others, from
the top down.

How a browser is asked, first answer wins:
  1. DevTools, for a Chromium-family browser started with
     --remote-debugging-port=N: port N, or for N = 0 the port the browser
     wrote to DevToolsActivePort in its profile. The port must be one that
     this very browser process listens on (/proc/net/tcp), so a stale
     file or another browser's endpoint on the same port is not believed.
  2. The accessibility bus (AT-SPI): the browser's showing web document
     (its DocURL and name), else the text of its address bar.
  3. The keyboard: the window gets the focus, Ctrl+L and Ctrl+C copy the
     location field, the focus goes back. The clipboard is emptied first and
     restored afterwards whatever happens; the title is the window's name.

Output: {"outcome": "page" | "no-page" | "none" | "no-browser",
         "browser", "method", "address", "title", "tried": [...]}.
"no-page" is a blank or internal page (about:, chrome:, a new tab).
"""
import json
import os
import re
import select
import signal
import socket
import subprocess
import sys
import time
import urllib.request
import warnings

# name, executable names, default profile folders under ~/.config (for
# DevToolsActivePort), what the window name adds to the page title.
BROWSERS = [
    ("Chromium", ("chromium", "chromium-browser", "chrome", "google-chrome", "google-chrome-stable"),
     ("chromium", "google-chrome", "google-chrome-beta", "google-chrome-unstable"),
     (" - Chromium", " - Google Chrome")),
    ("Firefox", ("firefox", "firefox-esr", "firefox-bin"), (),
     (" \u2014 Mozilla Firefox", " - Mozilla Firefox", " \u2014 Firefox", " - Firefox")),
    ("GNOME Web", ("epiphany", "epiphany-browser"), (), (" \u2014 Web", " - Web")),
    ("Microsoft Edge", ("msedge", "microsoft-edge", "microsoft-edge-stable"),
     ("microsoft-edge", "microsoft-edge-beta", "microsoft-edge-dev"),
     (" - Microsoft\u200b Edge", " - Microsoft Edge")),
    ("Falkon", ("falkon",), (), (" - Falkon",)),
]

WEB_SCHEMES = ("http://", "https://", "file://", "ftp://")
DEVTOOLS_SECONDS = 2.0
ACCESSIBILITY_SECONDS = 3.0
COPY_SECONDS = 1.5


class Browser:
    def __init__(self, kind, pid, window, window_name, argv):
        self.kind = kind
        self.pid = pid
        self.window = window
        self.window_name = window_name
        self.argv = argv

    @property
    def name(self):
        return BROWSERS[self.kind][0]


def proc_argv(pid):
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            return [a.decode("utf-8", "replace") for a in f.read().split(b"\0") if a]
    except OSError:
        return []


def proc_comm(pid):
    try:
        with open("/proc/%d/comm" % pid) as f:
            return f.read().strip()
    except OSError:
        return ""


def browser_kind(pid):
    names = {proc_comm(pid)}
    argv = proc_argv(pid)
    if argv:
        names.add(os.path.basename(argv[0]))
    for kind, row in enumerate(BROWSERS):
        if names & set(row[1]):
            return kind
    return None


# --- the X display -------------------------------------------------------

def browsers_on_display(own_pid):
    from Xlib import X, Xatom, display as xdisplay
    d = xdisplay.Display()
    root = d.screen().root
    wm_pid = d.intern_atom("_NET_WM_PID")
    net_name = d.intern_atom("_NET_WM_NAME")
    utf8 = d.intern_atom("UTF8_STRING")
    stacking = root.get_full_property(d.intern_atom("_NET_CLIENT_LIST_STACKING"), X.AnyPropertyType)
    if stacking is not None and len(stacking.value) > 0:
        windows = [d.create_resource_object("window", w) for w in stacking.value]
    else:
        windows = root.query_tree().children   # bottom to top
    host = socket.gethostname()
    found, seen = [], set()
    for w in reversed(windows):
        try:
            if w.get_attributes().map_state != X.IsViewable:
                continue
            pid = w.get_full_property(wm_pid, X.AnyPropertyType)
            machine = w.get_full_property(Xatom.WM_CLIENT_MACHINE, X.AnyPropertyType)
            name = w.get_full_property(net_name, utf8)
            name = name.value.decode("utf-8", "replace") if name is not None else (w.get_wm_name() or "")
        except Exception:
            continue
        if pid is None or len(pid.value) == 0:
            continue
        if machine is not None and machine.value.decode("utf-8", "replace") != host:
            continue
        pid = int(pid.value[0])
        if pid == own_pid or pid in seen:
            continue
        kind = browser_kind(pid)
        if kind is None:
            continue
        seen.add(pid)
        found.append(Browser(kind, pid, w.id, name if isinstance(name, str) else name.decode("utf-8", "replace"),
                             proc_argv(pid)))
    accessibility_bus = root.get_full_property(d.intern_atom("AT_SPI_BUS"), X.AnyPropertyType) is not None
    d.close()
    return found, accessibility_bus


def title_from_window(browser):
    title = browser.window_name
    for suffix in BROWSERS[browser.kind][3]:
        if title.endswith(suffix):
            return title[:-len(suffix)]
    return title


# --- DevTools ------------------------------------------------------------

def listening_inodes(port):
    inodes = set()
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        try:
            with open(table) as f:
                next(f)
                for line in f:
                    fields = line.split()
                    if fields[3] == "0A" and int(fields[1].rsplit(":", 1)[1], 16) == port:
                        inodes.add(fields[9])
        except (OSError, StopIteration, IndexError, ValueError):
            pass
    return inodes


def process_listens_on(pid, port):
    inodes = listening_inodes(port)
    if not inodes:
        return False
    try:
        for fd in os.listdir("/proc/%d/fd" % pid):
            try:
                link = os.readlink("/proc/%d/fd/%s" % (pid, fd))
            except OSError:
                continue
            if link.startswith("socket:[") and link[8:-1] in inodes:
                return True
    except OSError:
        pass
    return False


def command_line_flags(argv):
    """The --name=value flags of a command line. Chromium sets its main
    process's title, which turns /proc/PID/cmdline into one string of
    blank-separated words: a flag's value then runs to the next " --" (the
    last one to the end, the pages to open included)."""
    if len(argv) == 1 and " --" in argv[0]:
        words = re.split(r" (?=--)", argv[0])
    else:
        words = argv
    flags = {}
    for word in words:
        if word.startswith("--") and "=" in word:
            name, value = word.split("=", 1)
            flags.setdefault(name, value)
    return flags


def devtools_port(browser):
    flags = command_line_flags(browser.argv)
    number = re.match(r"\d+", flags.get("--remote-debugging-port", ""))
    if number is None:
        return None
    flag = int(number.group(0))
    if flag > 0:
        return flag
    folder = flags.get("--user-data-dir")
    # In a joined command line the pages to open follow the folder's name:
    # the longest leading part that is a folder is the one.
    while folder and not os.path.isdir(folder) and " " in folder:
        folder = folder.rsplit(" ", 1)[0]
    config = os.environ.get("XDG_CONFIG_HOME") or os.path.join(os.environ.get("HOME", "/"), ".config")
    folders = [folder] if folder else [os.path.join(config, p) for p in BROWSERS[browser.kind][2]]
    for f in folders:
        try:
            with open(os.path.join(f, "DevToolsActivePort")) as active:
                return int(active.readline().strip())
        except (OSError, ValueError):
            continue
    return None


def ask_devtools(browser):
    if not BROWSERS[browser.kind][2]:
        return None
    port = devtools_port(browser)
    if port is None or not process_listens_on(browser.pid, port):
        return None
    opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
    with opener.open("http://127.0.0.1:%d/json/list" % port, timeout=DEVTOOLS_SECONDS) as answer:
        tabs = json.loads(answer.read().decode("utf-8"))
    # The tabs come most recently active first.
    for tab in tabs:
        if tab.get("type") == "page":
            return tab.get("url", ""), tab.get("title", "")
    return "", ""


# --- the accessibility bus -----------------------------------------------

def in_child(work, seconds):
    """work() in a process of its own, its answer (a JSON value) or None: a
    library that aborts the process (libatspi does when the bus it was
    pointed at does not answer) or hangs takes only that process down."""
    reading, writing = os.pipe()
    pid = os.fork()
    if pid == 0:
        os.close(reading)
        try:
            os.write(writing, json.dumps(work()).encode("utf-8"))
        except BaseException:
            pass
        os._exit(0)
    os.close(writing)
    data, deadline = b"", time.monotonic() + seconds
    while True:
        left = deadline - time.monotonic()
        if left <= 0 or not select.select([reading], [], [], left)[0]:
            os.kill(pid, signal.SIGKILL)
            break
        chunk = os.read(reading, 65536)
        if not chunk:
            break
        data += chunk
    os.close(reading)
    os.waitpid(pid, 0)
    try:
        return json.loads(data.decode("utf-8")) if data else None
    except ValueError:
        return None


def ask_accessibility(browser, bus_known):
    if not bus_known and not os.environ.get("DBUS_SESSION_BUS_ADDRESS"):
        return None
    answer = in_child(lambda: accessibility_answer(browser), ACCESSIBILITY_SECONDS + 1.0)
    return tuple(answer) if isinstance(answer, list) and len(answer) == 2 else None


def accessibility_answer(browser):
    warnings.simplefilter("ignore")
    import gi
    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi
    Atspi.set_timeout(int(ACCESSIBILITY_SECONDS * 1000), int(ACCESSIBILITY_SECONDS * 1000))
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        app = desktop.get_child_at_index(i)
        if app is None or app.get_process_id() != browser.pid:
            continue
        frame = front_frame(Atspi, app, browser.window_name)
        if frame is None:
            return None
        document = showing_document(Atspi, frame)
        if document is not None:
            address = (Atspi.Document.get_document_attribute_value(document, "DocURL")
                       or Atspi.Document.get_document_attribute_value(document, "URI") or "")
            if address:
                return address, document.get_name() or ""
        address = address_bar_text(Atspi, frame)
        if address is not None:
            return address, title_from_window(browser)
        return None
    return None


def children(o):
    for i in range(o.get_child_count()):
        c = o.get_child_at_index(i)
        if c is not None:
            yield c


def front_frame(Atspi, app, window_name):
    frames = [c for c in children(app) if c.get_role() in (Atspi.Role.FRAME, Atspi.Role.WINDOW)]
    for f in frames:
        if f.get_name() == window_name:
            return f
    for f in frames:
        if f.get_state_set().contains(Atspi.StateType.ACTIVE):
            return f
    for f in frames:
        if f.get_state_set().contains(Atspi.StateType.SHOWING):
            return f
    return None


def breadth_first(Atspi, frame, limit=4000):
    """The accessibles of a frame, breadth first; what a web document holds
    is not entered (a page's own fields and frames are not the browser's)."""
    queue, seen = [frame], 0
    while queue and seen < limit:
        o = queue.pop(0)
        seen += 1
        yield o
        if o.get_role() != Atspi.Role.DOCUMENT_WEB:
            queue.extend(children(o))


def showing_document(Atspi, frame):
    # A document not showing is a tab in the background.
    for o in breadth_first(Atspi, frame):
        if o.get_role() == Atspi.Role.DOCUMENT_WEB and o.get_state_set().contains(Atspi.StateType.SHOWING):
            return o
    return None


def address_bar_text(Atspi, frame):
    for o in breadth_first(Atspi, frame):
        if o.get_role() in (Atspi.Role.ENTRY, Atspi.Role.COMBO_BOX) and \
                o.get_state_set().contains(Atspi.StateType.EDITABLE):
            return Atspi.Text.get_text(o, 0, -1) or ""
    return None


# --- the keyboard ----------------------------------------------------------

def run(*args, timeout=2.0):
    return subprocess.run(list(args), stdin=subprocess.DEVNULL, capture_output=True, timeout=timeout)


def clipboard_text():
    try:
        out = run("xclip", "-o", "-selection", "clipboard", "-t", "UTF8_STRING", timeout=1.0)
    except (OSError, subprocess.TimeoutExpired):
        return None
    return out.stdout if out.returncode == 0 else None


def set_clipboard(data):
    # xclip keeps the selection from a process of its own, outside this
    # program's process group: it outlives this program, and a cancel that
    # ends the group does not take the restored clipboard with it.
    p = subprocess.Popen(["xclip", "-selection", "clipboard", "-i"], stdin=subprocess.PIPE,
                         stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
    p.communicate(data, timeout=2.0)


def focused_window():
    for args in (("xdotool", "getactivewindow"), ("xdotool", "getwindowfocus")):
        try:
            out = run(*args)
        except (OSError, subprocess.TimeoutExpired):
            continue
        if out.returncode == 0 and out.stdout.strip():
            return out.stdout.strip().decode()
    return None


def focus(window):
    # A window manager hands the focus over (_NET_ACTIVE_WINDOW); without
    # one, the input focus is set directly.
    if run("xdotool", "windowactivate", "--sync", str(window), timeout=3.0).returncode != 0:
        run("xdotool", "windowraise", str(window))
        run("xdotool", "windowfocus", "--sync", str(window), timeout=3.0)


def ask_keyboard(browser, state):
    saved = clipboard_text()
    state["restore"] = saved if saved is not None else b""
    set_clipboard(b"")
    previous = focused_window()
    try:
        focus(browser.window)
        time.sleep(0.2)
        run("xdotool", "key", "--clearmodifiers", "ctrl+l", "ctrl+c")
        deadline = time.monotonic() + COPY_SECONDS
        copied = b""
        while time.monotonic() < deadline:
            copied = clipboard_text() or b""
            if copied:
                break
            time.sleep(0.1)
        run("xdotool", "key", "Escape")
    finally:
        if previous is not None and previous != str(browser.window):
            focus(previous)
        restore_clipboard(state)
    return copied.decode("utf-8", "replace").strip(), title_from_window(browser)


def restore_clipboard(state):
    data = state.pop("restore", None)
    if data is not None:
        set_clipboard(data)


# --- the answer ------------------------------------------------------------

def is_web_page(address):
    return address.lower().startswith(WEB_SCHEMES)


def main():
    own_pid = -1
    if "--own-pid" in sys.argv:
        own_pid = int(sys.argv[sys.argv.index("--own-pid") + 1])
    state = {}

    def stop(signum, frame):
        restore_clipboard(state)
        os._exit(1)
    signal.signal(signal.SIGTERM, stop)

    try:
        browsers, bus_known = browsers_on_display(own_pid)
    except Exception as e:
        sys.stderr.write("no display: %s\n" % e)
        browsers, bus_known = [], False
    result = {"outcome": "no-browser" if not browsers else "none", "tried": []}
    methods = (("DevTools", ask_devtools),
               ("the accessibility bus", lambda b: ask_accessibility(b, bus_known)),
               ("the keyboard", lambda b: ask_keyboard(b, state)))
    for browser in browsers:
        for method, ask in methods:
            try:
                answer = ask(browser)
            except Exception as e:   # a browser that does not answer this way
                sys.stderr.write("%s, %s: %s\n" % (browser.name, method, e))
                answer = None
            if answer is None:
                continue
            result["tried"].append("%s (%s)" % (browser.name, method))
            address, title = answer
            if ask is methods[2][1] and not address and browser is not browsers[0]:
                continue
            result.update(browser=browser.name, method=method, address=address.strip(),
                          title=(title or "").strip(),
                          outcome="page" if is_web_page(address.strip()) else "no-page")
            print(json.dumps(result))
            return 0
        result["tried"].append(browser.name)
    print(json.dumps(result))
    return 0


if __name__ == "__main__":
    sys.exit(main())
