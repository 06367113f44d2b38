#!/usr/bin/python3
"""Reads an HTML document the way a mail reader would and prints, as JSON,
what it shows: the declared charset, and per <p> its text and its runs with
their emphasis (bold, italic, underline, strike, colour, link, font family and
size, alignment).

usage: html_runs.py FILE CODEC   (CODEC: a Python codec name, e.g. shift_jis)

Markup problems that a browser would repair silently (an end tag that does not
close the innermost open element, text outside any <p>, elements still open at
the end) are listed under "errors", so that a test sees them.
"""
import json
import re
import sys
from html.parser import HTMLParser

VOID = {"br", "meta", "img", "hr", "link", "input"}


def style_of(attrs):
    declarations = {}
    for name, value in attrs:
        if name == "style" and value:
            for part in value.split(";"):
                if ":" in part:
                    key, val = part.split(":", 1)
                    declarations[key.strip().lower()] = val.strip()
    return declarations


class Runs(HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.stack = []          # (tag, look changes)
        self.paragraphs = []
        self.current = None
        self.charset = None
        self.errors = []
        self.seen = []

    def look(self):
        look = {"bold": False, "italic": False, "underline": False,
                "strike": False, "color": None, "link": None,
                "font_family": None, "font_size": None}
        for _tag, changes in self.stack:
            look.update(changes)
        return look

    def handle_starttag(self, tag, attrs):
        self.seen.append(tag)
        attributes = dict(attrs)
        if tag == "meta":
            match = re.search(r"charset=([^;\s]+)", attributes.get("content") or "")
            if match:
                self.charset = match.group(1)
            if "charset" in attributes:
                self.charset = attributes["charset"]
        if tag == "br":
            self.text("\n")
            return
        if tag in VOID:
            return
        changes = {}
        if tag in ("b", "strong"):
            changes["bold"] = True
        elif tag in ("i", "em"):
            changes["italic"] = True
        elif tag == "u":
            changes["underline"] = True
        elif tag in ("s", "strike", "del"):
            changes["strike"] = True
        elif tag == "a":
            changes["link"] = attributes.get("href")
        style = style_of(attrs)
        if "color" in style:
            changes["color"] = style["color"]
        if "font-family" in style:
            changes["font_family"] = style["font-family"].strip("'\"")
        if "font-size" in style:
            changes["font_size"] = style["font-size"]
        if style.get("font-weight") == "bold":
            changes["bold"] = True
        if style.get("font-style") == "italic":
            changes["italic"] = True
        if tag == "p":
            if self.current is not None:
                self.errors.append("<p> inside <p>")
            self.current = {"text": "", "runs": [], "align": style.get("text-align")}
        self.stack.append((tag, changes))

    def handle_endtag(self, tag):
        if tag in VOID:
            return
        if not self.stack or self.stack[-1][0] != tag:
            self.errors.append("</%s> does not close <%s>"
                               % (tag, self.stack[-1][0] if self.stack else ""))
            return
        self.stack.pop()
        if tag == "p":
            paragraph = self.current
            # A <br> that ends a block adds no line of its own.
            if paragraph["text"].endswith("\n"):
                paragraph["text"] = paragraph["text"][:-1]
                last = paragraph["runs"][-1]
                last["text"] = last["text"][:-1]
                if not last["text"]:
                    paragraph["runs"].pop()
            self.paragraphs.append(paragraph)
            self.current = None

    def handle_data(self, data):
        if self.current is None:
            if data.strip():
                self.errors.append("text outside <p>: %r" % data)
            return
        # Inside a paragraph, a line break in the source is a space.
        self.text(data.replace("\n", " "))

    def text(self, data):
        if self.current is None:
            self.errors.append("line break outside <p>")
            return
        look = self.look()
        runs = self.current["runs"]
        if runs and {k: v for k, v in runs[-1].items() if k != "text"} == look:
            runs[-1]["text"] += data
        else:
            runs.append(dict(look, text=data))
        self.current["text"] += data


def main():
    path, codec = sys.argv[1], sys.argv[2]
    with open(path, "rb") as handle:
        raw = handle.read()
    result = {"decoded": True}
    try:
        source = raw.decode(codec)
    except UnicodeDecodeError as error:
        result["decoded"] = False
        result["decode_error"] = str(error)
        source = raw.decode(codec, errors="replace")
    parser = Runs()
    parser.feed(source)
    parser.close()
    if parser.stack:
        parser.errors.append("left open: " + " ".join(t for t, _ in parser.stack))
    result.update({"charset": parser.charset, "paragraphs": parser.paragraphs,
                   "errors": parser.errors, "elements": parser.seen,
                   "doctype": source.lstrip().lower().startswith("<!doctype html>")})
    json.dump(result, sys.stdout, ensure_ascii=True)


if __name__ == "__main__":
    main()
