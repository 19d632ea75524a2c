#!/usr/bin/python3
"""Scrolls long pages in a real browser on a private display, joins what is seen, and compares the
tall picture row for row with the browser's own picture of the whole page.

    bench/scroll_page.py [--session build/release/bin/scroll_session] [--only NAME] [--keep FOLDER]

A line for each page and way of scrolling: how many rows of the page are in the picture as the
browser shows them, and what joining took. Fails when a row is missing, wrong or there twice.
"""

import argparse
import base64
import ctypes
import html
import io
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import time

from PIL import Image

WORDS = """the of and a to in is was he for it with as his on be at by had not are but from or have
an they which one you were all her she there would their we him been has when who will no more if out
so up said what its about than into them can only other time new some could these two may first then
do any like my now over such our man me even most made after also did many off before must well back
through years much where your way down should because long each just state those people too mister
little good world make very year still see own work men day get here between both life being under
three never know same last another while us might great go come since against right came take used
himself few house american use place during high without again home around small however found mrs part
school thought went say general once upon every war left until always away something fact water
less public put think almost hand enough far took head yet government system set better told nothing
night end why called eyes find going look asked later point knew next city business give group toward
young days let room word within several kept point present""".split()


def words(source, count):
    return " ".join(source.choice(WORDS) for _ in range(count))


def paragraph(source):
    text = words(source, source.randrange(20, 110))
    return f"<p>{text[0].upper()}{text[1:]}.</p>"


def article(source, blocks):
    parts = []
    for number in range(blocks):
        kind = source.random()
        if kind < 0.12:
            parts.append(f"<h2>{number}. {html.escape(words(source, 4).title())}</h2>")
        elif kind < 0.2:
            lines = [f"    {words(source, 1)}({source.randrange(999)});" for _ in range(source.randrange(2, 9))]
            parts.append("<pre>if (ready) {\n" + "\n".join(lines) + "\n}</pre>")
        elif kind < 0.26:
            rows = "".join(f"<tr><td>{words(source, 1)}</td><td>{source.randrange(10**6)}</td></tr>" for _ in range(6))
            parts.append(f"<table>{rows}</table>")
        else:
            parts.append(paragraph(source))
    return "\n".join(parts)


STYLE = """html { scroll-behavior: auto } ::-webkit-scrollbar { display: none }
body { margin: 0; font: 16px/1.45 'DejaVu Sans', sans-serif; background: #fff; color: #222 }
main { max-width: 860px; margin: 0 auto; padding: 24px }
pre { background: #f2f2f2; padding: 10px; font: 13px/1.4 'DejaVu Sans Mono', monospace }
table { border-collapse: collapse } td { border: 1px solid #bbb; padding: 3px 14px }
header { position: sticky; top: 0; background: #234; color: #fff; padding: 16px 24px; z-index: 1 }
footer { position: fixed; bottom: 0; left: 0; right: 0; background: #eee; padding: 12px 24px;
  border-top: 1px solid #999 }
.dark { background: #16181d; color: #d8d8d8 } .dark pre { background: #22252c }"""


def page(kind, blocks):
    """`kind`: words of "header", "footer", "dark", "lines"."""
    source = random.Random(kind + str(blocks))
    head = "<header>Notes on nearly everything</header>" if "header" in kind else ""
    foot = "<footer>Page of the notes, kept in sight</footer><div style='height:50px'></div>" if "footer" in kind else ""
    if "lines" in kind:
        body = "<br>\n".join(f"{n:05} {words(source, 9)}" for n in range(blocks))
    else:
        body = article(source, blocks)
    theme = ' class="dark"' if "dark" in kind else ""
    return (f"<!doctype html><meta charset=utf-8><title>notes</title><style>{STYLE}</style>"
            f"<body{theme}>{head}<main>{body}</main>{foot}</body>")


class Server:
    """A display of its own."""

    def __init__(self, width, height):
        read, write = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", f"{width}x{height}x24", "-nolisten", "tcp",
             "-noreset"], pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as told:
            self.name = ":" + told.readline().strip()

    def close(self):
        self.process.terminate()
        self.process.wait()


class Wheel:
    """The wheel of the display's mouse."""

    def __init__(self, display):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.test = ctypes.CDLL("libXtst.so.6")
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(display.encode()))

    def move(self, x, y):
        self.test.XTestFakeMotionEvent(self.display, -1, x, y, 0)
        self.x11.XSync(self.display, 0)

    def turn(self, clicks):
        button = 5 if clicks > 0 else 4
        for _ in range(abs(clicks)):
            self.test.XTestFakeButtonEvent(self.display, button, 1, 0)
            self.test.XTestFakeButtonEvent(self.display, button, 0, 0)
        self.x11.XFlush(self.display)

    def close(self):
        self.x11.XCloseDisplay(self.display)


class Browser:
    """Chromium with one window that fills the display, told what to do through a pipe."""

    def __init__(self, display, folder, size, scale, is_smooth):
        to_child, self.commands = os.pipe()
        self.answers, from_child = os.pipe()
        smooth = "--enable-smooth-scrolling" if is_smooth else "--disable-smooth-scrolling"
        arguments = [
            "chromium", "--no-sandbox", "--no-first-run", "--no-default-browser-check", "--kiosk",
            "--disable-gpu", "--disable-dev-shm-usage", "--disable-background-networking", "--disable-sync",
            "--disable-component-update", "--disable-extensions", "--disable-features=Translate,OverlayScrollbar",
            "--hide-scrollbars", "--password-store=basic", "--remote-debugging-pipe", smooth,
            f"--force-device-scale-factor={scale}", f"--window-size={size[0] // scale},{size[1] // scale}",
            "--window-position=0,0", f"--user-data-dir={folder}/browser", "about:blank"]
        environment = {key: value for key, value in os.environ.items() if not key.startswith("WAYLAND")}
        environment.update(DISPLAY=display, HOME=str(folder), XDG_CONFIG_HOME=f"{folder}/config",
                           XDG_CACHE_HOME=f"{folder}/cache", DBUS_SESSION_BUS_ADDRESS="disabled:")
        # The browser reads commands from descriptor 3 and answers on 4.
        self.process = subprocess.Popen(
            ["bash", "-c", f'exec "$@" 3<&{to_child} 4>&{from_child}', "bash", *arguments],
            pass_fds=[to_child, from_child], env=environment, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_child)
        os.close(from_child)
        self.deadline = time.monotonic() + 90
        self.rest = b""
        self.last = 0
        self.session = None
        target = next(one for one in self.call("Target.getTargets")["targetInfos"] if one["type"] == "page")
        self.session = self.call("Target.attachToTarget", targetId=target["targetId"], flatten=True)["sessionId"]
        self.call("Page.enable")

    def message(self):
        while b"\0" not in self.rest:
            more = os.read(self.answers, 1 << 20)
            if not more:
                sys.exit("the browser went away")
            self.rest += more
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **parameters):
        self.last += 1
        command = {"id": self.last, "method": method, "params": parameters}
        if self.session:
            command["sessionId"] = self.session
        os.write(self.commands, json.dumps(command).encode() + b"\0")
        while True:
            answer = self.message()
            if answer.get("id") == self.last:
                if "error" in answer:
                    sys.exit(f"{method}: {answer['error']['message']}")
                return answer["result"]

    def evaluate(self, expression):
        return self.call("Runtime.evaluate", expression=expression, awaitPromise=True,
                         returnByValue=True)["result"].get("value")

    def open(self, path):
        self.call("Page.navigate", url=f"file://{path}")
        while self.evaluate("document.readyState + location.protocol") != "completefile:":
            pass
        self.settle()

    def settle(self):
        """Until what was asked for is painted."""
        self.evaluate("document.fonts.ready.then(() => new Promise(done => requestAnimationFrame("
                      "() => requestAnimationFrame(() => requestAnimationFrame(() => done(1))))))")

    def place(self):
        """How far it is scrolled, and how far it can be, in pixels of the screen."""
        return self.evaluate("[scrollY, document.documentElement.scrollHeight - innerHeight]"
                             ".map(one => Math.round(one * devicePixelRatio))")

    def is_at_end(self):
        if time.monotonic() > self.deadline:
            raise RuntimeError("the page's end is not reached")
        place, end = self.place()
        return place >= end - 1

    def picture(self):
        """Of the whole page, by the browser itself."""
        # It may end between two of its own pixels where the screen has more of them.
        width, height = self.evaluate("[innerWidth, Math.round(document.documentElement.getBoundingClientRect().height"
                                      " * devicePixelRatio) / devicePixelRatio]")
        clip = {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}
        data = self.call("Page.captureScreenshot", format="png", captureBeyondViewport=True, clip=clip)["data"]
        return Image.open(io.BytesIO(base64.b64decode(data))).convert("RGB")

    def close(self):
        self.session = None
        try:
            self.call("Browser.close")
        except SystemExit:
            pass
        self.process.wait()


class Session:
    """The program that joins."""

    def __init__(self, program, display, size, output, extra):
        self.process = subprocess.Popen(
            [program, "--display", display, "--rect", f"0,0,{size[0]},{size[1]}", "--output", output, *extra],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.process.stdout.readline()  # it runs

    def state(self):
        print("state", file=self.process.stdin, flush=True)
        return json.loads(self.process.stdout.readline())

    def finish(self):
        self.process.stdin.close()
        result = json.loads(self.process.stdout.readline())
        if self.process.wait() != 0:
            sys.exit("the session failed")
        return result


def go_back_until_seen(wheel, browser, session):
    """What a user does who reads that it was too fast: scrolls back until it goes on."""
    for _ in range(100):
        if session.state()["sight"] not in ("tooFast", "panes", "nothing"):
            return
        wheel.turn(-1)
        time.sleep(0.04)
        browser.settle()
    raise RuntimeError("scrolling back does not help")


def scroll_evenly(wheel, browser, session, clicks, seconds):
    """Turns the wheel by so many clicks every so many seconds, to the end of the page."""
    while not browser.is_at_end():
        due = time.monotonic()
        for _ in range(5):
            wheel.turn(clicks)
            due += seconds
            time.sleep(max(0, due - time.monotonic()))
        go_back_until_seen(wheel, browser, session)


def scroll_restlessly(wheel, browser, session):
    """Down, some of it up again, at changing speeds."""
    source = random.Random(1)
    for clicks, count, seconds in RESTLESS * 3:
        for _ in range(count):
            wheel.turn(clicks)
            time.sleep(seconds * source.uniform(0.5, 1.5))
        go_back_until_seen(wheel, browser, session)
    scroll_evenly(wheel, browser, session, 1, 0.02)


RESTLESS = [(1, 25, 0.03), (2, 12, 0.02), (-1, 10, 0.02), (2, 8, 0.025), (-2, 6, 0.02)]


def scroll_in_flings(wheel, browser, session):
    """So fast now and then that the page leaps; whoever sees that scrolls back until it goes on."""
    while not browser.is_at_end():
        for clicks in (1, 2, 4, 7, 9, 5, 2, 1):
            wheel.turn(clicks)
            time.sleep(0.016)
        browser.settle()
        go_back_until_seen(wheel, browser, session)


WAYS = {
    "slow": lambda *what: scroll_evenly(*what, clicks=1, seconds=0.06),
    "even": lambda *what: scroll_evenly(*what, clicks=1, seconds=0.016),
    "fast": lambda *what: scroll_evenly(*what, clicks=2, seconds=0.016),
    "restless": scroll_restlessly,
    "flings": scroll_in_flings,
}

CASES = [
    # page, blocks, size of the window, scale, smooth
    ("article", 220, (1280, 800), 1, False),
    ("article", 220, (1280, 800), 1, True),
    ("article header", 160, (1280, 800), 1, False),
    ("article header", 160, (1280, 800), 1, True),
    ("article footer", 160, (1280, 800), 1, False),
    ("article header footer", 160, (1280, 800), 1, True),
    ("article dark", 160, (1280, 800), 1, True),
    ("lines", 500, (1280, 800), 1, False),
    ("lines", 500, (1280, 800), 1, True),
    ("article", 100, (1600, 1200), 2, False),
    ("article header", 100, (1600, 1200), 2, True),
]


# What the test tries, in less than a minute.
BRIEF = [
    (("article header footer", 60, (1280, 800), 1, True), "even"),
    (("article", 60, (1280, 800), 1, False), "restless"),
    (("article", 60, (1280, 800), 1, True), "flings"),
    (("article header", 40, (1600, 1200), 2, True), "fast"),
]


def rows_of(image):
    data = image.tobytes()
    stride = image.width * 3
    return [data[i:i + stride] for i in range(0, len(data), stride)]


def compare(joined, whole):
    """How many rows are the same, and the first runs of those that are not."""
    ours, theirs = rows_of(joined), rows_of(whole)
    same = sum(a == b for a, b in zip(ours, theirs))
    unlike = [i for i, (a, b) in enumerate(zip(ours, theirs)) if a != b]
    runs = []
    for row in unlike:
        if runs and row == runs[-1][1] + 1:
            runs[-1][1] = row
        else:
            runs.append([row, row])
    return same, max(len(ours), len(theirs)), runs


def name_of(case, way):
    kind, blocks, _, scale, is_smooth = case
    return f"{kind} {blocks} {scale}x {'smooth' if is_smooth else 'steps'} {way}".replace(" ", "-")


def measure(case, way, folder, arguments):
    kind, blocks, size, scale, is_smooth = case
    name = name_of(case, way)
    keep = arguments.keep
    source = folder / "page.html"
    source.write_text(page(kind, blocks))
    # Windows as large as the display are made smaller, and the panel has its place beside them.
    server = Server(size[0] + 400, size[1] + 100)
    browser = Browser(server.name, folder, size, scale, is_smooth)
    wheel = Wheel(server.name)
    try:
        wheel.move(size[0] // 2, size[1] // 2)
        browser.open(source)
        # What sticks to the window's end is at the page's end in the tall picture.
        browser.evaluate("const foot = document.querySelector('footer'); if (foot) {"
                         "document.body.style.position = 'relative'; foot.style.position = 'absolute' }")
        whole = browser.picture()
        browser.open(source)
        output = folder / "joined.png"
        extra = ["--pairs"] if arguments.pairs else []
        if arguments.dump:
            (keep / name).mkdir(parents=True, exist_ok=True)
            extra += ["--dump", str(keep / name)]
        joins = Program if arguments.program else Session
        session = joins(arguments.program or arguments.session, server.name, size, str(output), extra)
        while session.state()["frames"] == 0:
            pass
        began = time.monotonic()
        before = session.state()["processor"]
        WAYS[way](wheel, browser, session)
        took = time.monotonic() - began
        last = browser.place()
        while True:  # until a smooth end has come to rest
            browser.settle()
            time.sleep(0.1)
            if browser.place() == last:
                break
            last = browser.place()
        result = session.finish()
        joined = Image.open(output).convert("RGB")
        same, rows, runs = compare(joined, whole)
        share = (result["processor"] - before) / took
        print(f"{name:46} {same}/{rows} rows ({100 * same / rows:.2f} %)  {result['frames']} frames in {took:.1f} s, "
              f"{result['dropped']} lost, {result['join_ms']:.1f} ms each, {100 * share:.0f} % of a core  "
              f"{result['sights']}", flush=True)
        if same != rows:
            print(f"    joined {joined.height}, whole {whole.height} rows; unlike: "
                  + ", ".join(f"{a}-{b}" for a, b in runs[:8]) + (" ..." if len(runs) > 8 else ""))
            if keep:
                joined.save(keep / f"{name}-joined.png")
                whole.save(keep / f"{name}-whole.png")
        return same == rows
    finally:
        wheel.close()
        browser.close()
        server.close()


class Program:
    """The program itself, in place of `Session`; it tells nothing before its end."""

    def __init__(self, program, display, size, output, extra):
        del extra
        self.began = time.monotonic()
        self.folder = tempfile.mkdtemp(prefix="vantorel-scroll.")
        root = pathlib.Path(self.folder) / "library"
        root.mkdir()
        (root / "settings.json").write_text('{"hasCompletedOnboarding":true}')
        environment = dict(os.environ, DISPLAY=display, HOME=self.folder, XDG_RUNTIME_DIR=self.folder,
                           XDG_SESSION_TYPE="x11")
        environment.pop("WAYLAND_DISPLAY", None)
        self.process = subprocess.Popen(
            [program, "--root", str(root), "capture", "scroll", "--rect", f"0,0,{size[0]},{size[1]}",
             "--timeout", "15", "--output", output], env=environment, stdout=subprocess.DEVNULL)
        # Its panel is there.
        while "Vantorel" not in subprocess.run(["xwininfo", "-root", "-tree"], env=environment, text=True,
                                               capture_output=True, check=True).stdout:
            if self.process.poll() is not None:
                sys.exit("the program ended before it began")

    def state(self):
        return {"frames": 1, "sight": "joined", "processor": 0}

    def finish(self):
        before = os.times()
        if self.process.wait() != 0:
            sys.exit("the program failed")
        after = os.times()
        spent = after.children_user + after.children_system - before.children_user - before.children_system
        shutil.rmtree(self.folder, ignore_errors=True)
        return {"frames": 0, "dropped": 0, "join_ms": 0, "sights": {}, "processor": spent}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--session", default="build/release/bin/scroll_session")
    parser.add_argument("--program", help="this vantorel in place of the session")
    parser.add_argument("--brief", action="store_true", help="a few cases, as the test does")
    parser.add_argument("--only", default="", help="words that a case's name has")
    parser.add_argument("--keep", type=pathlib.Path, help="folder for pictures that differ")
    parser.add_argument("--dump", action="store_true", help="keep every frame as well")
    parser.add_argument("--pairs", action="store_true", help="tell of every frame")
    arguments = parser.parse_args()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended"))  # by way of all that cleans up
    if arguments.keep:
        arguments.keep.mkdir(parents=True, exist_ok=True)
    cases = BRIEF if arguments.brief else [(case, way) for case in CASES for way in WAYS]
    good = True
    for case, way in cases:
        name = name_of(case, way)
        if not all(word in name.split("-") for word in arguments.only.split()):
            continue
        folder = pathlib.Path(tempfile.mkdtemp(prefix="vantorel-scroll."))
        try:
            good &= measure(case, way, folder, arguments)
        except RuntimeError as failure:
            print(f"{name}: {failure}", flush=True)
            good = False
        finally:
            shutil.rmtree(folder, ignore_errors=True)
    sys.exit(0 if good else 1)


if __name__ == "__main__":
    main()
