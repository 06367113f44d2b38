#!/usr/bin/python3
"""A stand-in for a web browser, for the From Browser tests: a window on
$DISPLAY that carries this process's pid (_NET_WM_PID) and a browser-like
name ("<title> - Chromium"), a process name of the browser's executable
(--as chromium), and for a Chromium-family browser a DevTools endpoint on
loopback that answers /json/list from a file (re-read on every request).

  stand_in_browser.py --as chromium --title T --list FILE --ready-file F
      [--remote-debugging-port=N] [--user-data-dir=DIR]   as Chromium takes them
      [--no-window]     a browser that shows nothing on this display
      [--hang]          the endpoint accepts and never answers
      [--watch-pid P]   ends when process P is gone

With --remote-debugging-port=0 the port is chosen by the system and written
to DIR/DevToolsActivePort, as Chromium does. The ready file gets the port
(or 0) once the window is mapped and the endpoint listens.
"""
import argparse
import ctypes
import os
import socket
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

SUFFIX = {"chromium": " - Chromium", "firefox-esr": " \u2014 Mozilla Firefox", "firefox": " \u2014 Mozilla Firefox"}


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.0"

    def log_message(self, fmt, *args):
        pass

    def do_GET(self):
        if self.server.requests:
            with open(self.server.requests, "a") as f:
                f.write(self.path + "\n")
        if self.server.hang:
            time.sleep(120)
            return
        body = b"[]"
        if self.path == "/json/list" and self.server.list_file:
            with open(self.server.list_file, "rb") as f:
                body = f.read()
        self.send_response(200)
        self.send_header("Content-Type", "application/json; charset=UTF-8")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)


def show_window(title, name):
    from Xlib import X, Xatom, display as xdisplay
    d = xdisplay.Display()
    screen = d.screen()
    w = screen.root.create_window(40, 40, 500, 300, 0, screen.root_depth, X.InputOutput,
                                  X.CopyFromParent, background_pixel=screen.white_pixel,
                                  event_mask=X.ExposureMask | X.KeyPressMask | X.FocusChangeMask)
    full = title + SUFFIX.get(name, " - " + name)
    w.set_wm_name(full.encode("latin-1", "replace").decode("latin-1"))
    w.change_property(d.intern_atom("_NET_WM_NAME"), d.intern_atom("UTF8_STRING"), 8, full.encode("utf-8"))
    w.change_property(d.intern_atom("_NET_WM_PID"), Xatom.CARDINAL, 32, [os.getpid()])
    w.change_property(Xatom.WM_CLIENT_MACHINE, Xatom.STRING, 8, socket.gethostname().encode())
    w.set_wm_class(name, name.capitalize())
    w.map()
    d.sync()
    return d, w


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--as", dest="name", default="chromium")
    parser.add_argument("--title", default="Stand-in Page")
    parser.add_argument("--list")
    parser.add_argument("--requests")
    parser.add_argument("--ready-file", required=True)
    parser.add_argument("--remote-debugging-port", type=int)
    parser.add_argument("--user-data-dir")
    parser.add_argument("--no-window", action="store_true")
    parser.add_argument("--hang", action="store_true")
    parser.add_argument("--watch-pid", type=int)
    args = parser.parse_args()

    # The process name the browser's executable has (/proc/PID/comm).
    ctypes.CDLL(None).prctl(15, args.name.encode()[:15], 0, 0, 0)

    port = 0
    server = None
    if args.remote_debugging_port is not None:
        try:
            server = ThreadingHTTPServer(("127.0.0.1", args.remote_debugging_port), Handler)
        except OSError:
            pass   # the port is taken: like Chromium, go on without DevTools
    if server is not None:
        server.daemon_threads = True
        server.list_file, server.requests, server.hang = args.list, args.requests, args.hang
        port = server.server_address[1]
        if args.remote_debugging_port == 0 and args.user_data_dir:
            os.makedirs(args.user_data_dir, exist_ok=True)
            with open(os.path.join(args.user_data_dir, "DevToolsActivePort"), "w") as f:
                f.write("%d\n/devtools/browser/stand-in\n" % port)
        threading.Thread(target=server.serve_forever, daemon=True).start()

    display = None
    if not args.no_window:
        display, window = show_window(args.title, args.name)

    tmp = args.ready_file + ".tmp"
    with open(tmp, "w") as f:
        f.write("%d\n" % port)
    os.rename(tmp, args.ready_file)

    while True:
        if args.watch_pid:
            try:
                os.kill(args.watch_pid, 0)
            except OSError:
                return 0
        if display is not None:
            while display.pending_events():
                display.next_event()
        time.sleep(0.1)


if __name__ == "__main__":
    sys.exit(main())
