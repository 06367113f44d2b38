#!/usr/bin/python3
"""A web server on loopback for the page-fetch tests and the benchmark.

Serves a few fixed behaviours by path, over HTTP or (with --cert/--key) HTTPS:

  /page.html            a UTF-8 page with relative references
  /missing.html         404 with an HTML error page as the body
  /latin1.html          a page in ISO 8859-1 with accented letters, declared
                        as such in the header and in the page
  /docs/index.html      a page with relative references, served only under
                        its lower-case path (a mixed-case path gets a 404 page)
  /tags.html            a page with personalisation tags
  /empty                200 without a byte of body
  /silent               accepts, reads the request and never answers
  /endless              answers 200 and sends a body that never ends, fast
  /drip                 answers 200 and sends a few bytes every 0.2 s, for ever
  /slow?seconds=N       the page of /page.html, answered after N seconds
  /generated?bytes=N    an HTML page of exactly N bytes with relative
                        references throughout (for the benchmark)
  /title/<anything>     a page whose <title> is the rest of the path
  /pages/NAME           the file NAME of the --pages folder, byte for byte
  /json/list            the contents of --json-list: a stand-in for a
                        Chromium-family browser's DevTools tab list

Every request path is appended, one per line, to --requests if given.
The chosen port is written to --ready-file once the socket listens; with
--watch-pid the server ends when that process is gone. Nothing here waits
without a bound: the silent and endless answers stop after --hold seconds.
"""
import argparse
import os
import socketserver
import ssl
import sys
import threading
import time
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

PAGE = (
    '<html><head><title>Loopback page</title></head><body>\n'
    '<p>Hello from the loopback server.</p>\n'
    '<a href="other.html">other</a> <img src="images/pic.gif">\n'
    '</body></html>\n'
)

MISSING = (
    '<html><head><title>404 Not Found</title></head><body>\n'
    '<h1>Not Found</h1><p>No such page here.</p>\n'
    '<a href="index.html">home</a>\n'
    '</body></html>\n'
)

LATIN1 = (
    '<html><head><meta http-equiv="Content-Type" '
    'content="text/html; charset=iso-8859-1"><title>Caf\u00e9</title></head>'
    '<body><p>Caf\u00e9 cr\u00e8me \u00e0 la fran\u00e7aise, \u00fcber '
    'na\u00efve</p></body></html>\n'
)

DOCS = (
    '<html><head><title>Docs</title></head><body>\n'
    '<a href="Chapter1.html">one</a> <img src="../Images/Logo.gif">\n'
    '<a href="/Top.html">top</a>\n'
    '</body></html>\n'
)


TAGS = (
    '<html><head><title>For {toName}</title></head><body>\n'
    '<p>Dear {toName} &lt;{to}&gt;, from {fromName}.</p>\n'
    '<a href="more.html">more</a>\n'
    '</body></html>\n'
)


def generated_page(size):
    """An HTML page of exactly `size` bytes, full of relative references."""
    head = b'<html><head><title>Generated</title></head><body>\n'
    tail = b'</body></html>\n'
    out = bytearray(head)
    i = 0
    while len(out) + len(tail) < size:
        out += (b'<p>Paragraph %d <a href="page%d.html">link</a> '
                b'<img src="img/p%d.gif"></p>\n' % (i, i % 500, i % 500))
        i += 1
    body = bytes(out[:max(0, size - len(tail))]) + tail
    return body[:size] if len(body) > size else body + b' ' * (size - len(body))


class Handler(BaseHTTPRequestHandler):
    protocol_version = 'HTTP/1.0'
    server_version = 'TolvoPageServer/1.0'

    def log_message(self, fmt, *args):
        sys.stderr.write('page_server: ' + (fmt % args) + '\n')

    def record(self):
        path = self.server.requests_path
        if path:
            with self.server.requests_lock, open(path, 'a', encoding='utf-8') as f:
                f.write(self.path + '\n')

    def send_body(self, status, body, content_type='text/html; charset=utf-8'):
        self.send_response(status)
        self.send_header('Content-Type', content_type)
        self.send_header('Content-Length', str(len(body)))
        self.send_header('Connection', 'close')
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        self.record()
        url = urllib.parse.urlsplit(self.path)
        path = url.path
        hold = self.server.hold
        if path == '/page.html':
            self.send_body(200, PAGE.encode('utf-8'))
        elif path == '/missing.html':
            self.send_body(404, MISSING.encode('utf-8'))
        elif path == '/latin1.html':
            self.send_body(200, LATIN1.encode('iso-8859-1'),
                           'text/html; charset=iso-8859-1')
        elif path == '/tags.html':
            self.send_body(200, TAGS.encode('utf-8'))
        elif path == '/empty':
            self.send_body(200, b'')
        elif path == '/drip':
            self.send_response(200)
            self.send_header('Content-Type', 'text/html; charset=utf-8')
            self.end_headers()
            deadline = time.monotonic() + hold
            try:
                while time.monotonic() < deadline:
                    self.wfile.write(b'<p>drip</p>\n')
                    self.wfile.flush()
                    time.sleep(0.2)
            except (BrokenPipeError, ConnectionResetError, ssl.SSLError, OSError):
                pass
        elif path == '/slow':
            query = urllib.parse.parse_qs(url.query)
            time.sleep(min(float(query.get('seconds', ['3'])[0]), hold))
            self.send_body(200, PAGE.encode('utf-8'))
        elif path == '/docs/index.html':
            self.send_body(200, DOCS.encode('utf-8'))
        elif path.startswith('/title/'):
            title = urllib.parse.unquote(path[len('/title/'):])
            body = ('<html><head><title>%s</title></head><body><p>%s</p>'
                    '</body></html>\n' % (title, title)).encode('utf-8')
            self.send_body(200, body)
        elif path == '/json/list' and self.server.json_list:
            with open(self.server.json_list, 'rb') as f:
                self.send_body(200, f.read(), 'application/json; charset=UTF-8')
        elif path == '/generated':
            query = urllib.parse.parse_qs(url.query)
            size = int(query.get('bytes', ['1000000'])[0])
            self.send_body(200, self.server.generated(size))
        elif path.startswith('/pages/') and self.server.pages:
            # A saved page of --pages, byte for byte.
            name = os.path.basename(urllib.parse.unquote(path[len('/pages/'):]))
            try:
                with open(os.path.join(self.server.pages, name), 'rb') as f:
                    self.send_body(200, f.read())
            except OSError:
                self.send_body(404, MISSING.encode('utf-8'))
        elif path == '/silent':
            # Holds the connection open without a byte of answer.
            deadline = time.monotonic() + hold
            while time.monotonic() < deadline:
                time.sleep(0.2)
        elif path == '/endless':
            self.send_response(200)
            self.send_header('Content-Type', 'text/html; charset=utf-8')
            self.end_headers()
            chunk = b'<p>more and more</p>\n' * 3000
            deadline = time.monotonic() + hold
            try:
                while time.monotonic() < deadline:
                    self.wfile.write(chunk)
            except (BrokenPipeError, ConnectionResetError, ssl.SSLError, OSError):
                pass
        else:
            self.send_body(404, MISSING.encode('utf-8'))


class Server(ThreadingHTTPServer):
    daemon_threads = True
    allow_reuse_address = True

    def __init__(self, *args, **kwargs):
        super().__init__(*args, **kwargs)
        self.requests_lock = threading.Lock()
        self._generated = {}

    def generated(self, size):
        if size not in self._generated:
            self._generated[size] = generated_page(size)
        return self._generated[size]


def watch(pid, server):
    while True:
        try:
            os.kill(pid, 0)
        except OSError:
            os._exit(0)
        time.sleep(0.5)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--port', type=int, default=0)
    parser.add_argument('--ready-file')
    parser.add_argument('--requests')
    parser.add_argument('--cert')
    parser.add_argument('--key')
    parser.add_argument('--watch-pid', type=int)
    parser.add_argument('--json-list')
    parser.add_argument('--pages', help='serve the files of this folder as /pages/NAME')
    parser.add_argument('--hold', type=float, default=120.0,
                        help='seconds the silent and endless answers last')
    parser.add_argument('--pregenerate', type=int, default=0,
                        help='build the /generated page of this size up front')
    args = parser.parse_args()

    server = Server(('127.0.0.1', args.port), Handler)
    server.requests_path = args.requests
    server.hold = args.hold
    server.json_list = args.json_list
    server.pages = args.pages
    if args.pregenerate:
        server.generated(args.pregenerate)
    if args.cert:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(args.cert, args.key)
        server.socket = context.wrap_socket(server.socket, server_side=True)
    if args.watch_pid:
        threading.Thread(target=watch, args=(args.watch_pid, server),
                         daemon=True).start()
    port = server.server_address[1]
    if args.ready_file:
        tmp = args.ready_file + '.tmp'
        with open(tmp, 'w') as f:
            f.write('%d\n' % port)
        os.rename(tmp, args.ready_file)
    else:
        print(port, flush=True)
    try:
        server.serve_forever(poll_interval=0.2)
    except KeyboardInterrupt:
        pass


if __name__ == '__main__':
    main()
