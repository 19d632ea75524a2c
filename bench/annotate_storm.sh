#!/usr/bin/env bash
# Random pointer, keys, menus, undo, second windows, lost focus, commands from outside and a display
# that shrinks, over Annotate windows. The program must not end and nothing must be wrong in its
# output; and every so often what was saved must be a document that is printed, that another capture
# of the same picture takes, and that draws the same there.
#
#   bench/annotate_storm.sh [program] [seconds] [seed]
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
seconds=${2:-60}
seed=${3:-1}
screen=1500x1000x24
. "$(dirname "$0")/private_desktop.sh"
seen_library "$folder/library"
# What the libraries keep to the end is none of this program's leaks.
export ASAN_OPTIONS="detect_leaks=0:${ASAN_OPTIONS:-}" UBSAN_OPTIONS="print_stacktrace=1:${UBSAN_OPTIONS:-}"
openbox --sm-disable >/dev/null 2>&1 &
children+=($!)

python3 - "$program" "$folder" "$seconds" "$seed" <<'PYTHON'
import ctypes, ctypes.util, json, os, pathlib, random, struct, subprocess, sys, time, zlib

program, folder, seconds, seed = sys.argv[1], pathlib.Path(sys.argv[2]), float(sys.argv[3]), int(sys.argv[4])
random.seed(seed)
root = folder / "library"
WIDTH, HEIGHT = 1500, 1000

x11 = ctypes.CDLL(ctypes.util.find_library("X11"))
xtest = ctypes.CDLL(ctypes.util.find_library("Xtst"))
x11.XOpenDisplay.restype = ctypes.c_void_p
x11.XKeysymToKeycode.argtypes = [ctypes.c_void_p, ctypes.c_ulong]
x11.XStringToKeysym.restype = ctypes.c_ulong
display = ctypes.c_void_p(x11.XOpenDisplay(None))

def code_of(name):
    return x11.XKeysymToKeycode(display, x11.XStringToKeysym(name.encode()))

def key(name, modifiers=()):
    codes = [code for code in map(code_of, (*modifiers, name)) if code]   # the keyboard may lack one
    for code in codes:
        xtest.XTestFakeKeyEvent(display, code, 1, 0)
    for code in reversed(codes):
        xtest.XTestFakeKeyEvent(display, code, 0, 0)
    x11.XFlush(display)

def move(x, y):
    xtest.XTestFakeMotionEvent(display, -1, int(x), int(y), 0)
    x11.XFlush(display)

def button(number, isDown):
    xtest.XTestFakeButtonEvent(display, number, int(isDown), 0)
    x11.XFlush(display)

def spot():
    if random.random() < 0.75:   # over the picture
        return random.uniform(120, 1100), random.uniform(120, 850)
    return random.uniform(0, WIDTH), random.uniform(0, HEIGHT)

def pause(most=0.01):
    time.sleep(random.random() * most)

def drag():
    held = [name for name in ("Shift_L", "Control_L", "Alt_L") if random.random() < 0.12]
    move(*spot()); pause()
    for name in held:
        xtest.XTestFakeKeyEvent(display, code_of(name), 1, 0)
    button(1, True)
    for _ in range(random.randint(1, 12)):
        move(*spot()); pause(0.006)
        if random.random() < 0.06:   # in the middle of the gesture
            random.choice([keys, wheel, click, other_window])()
    button(1, False)
    for name in held:
        xtest.XTestFakeKeyEvent(display, code_of(name), 0, 0)
    x11.XFlush(display)

def click():
    move(*spot())
    number = random.choices([1, 2, 3], [8, 1, 2])[0]
    for _ in range(random.choice([1, 1, 1, 2, 3])):
        button(number, True); button(number, False)
    if number == 3:
        pause(0.05)
        for _ in range(random.randint(0, 6)):
            key("Down")
        key(random.choice(["Return", "Escape"]))

def wheel():
    move(*spot())
    control = random.random() < 0.5
    if control:
        xtest.XTestFakeKeyEvent(display, code_of("Control_L"), 1, 0)
    for _ in range(random.randint(1, 6)):
        number = random.choice([4, 5, 6, 7])
        button(number, True); button(number, False)
    if control:
        xtest.XTestFakeKeyEvent(display, code_of("Control_L"), 0, 0)
    x11.XFlush(display)

CONTROL, SHIFT, ALT = ("Control_L",), ("Shift_L",), ("Alt_L",)
PLAIN = list("vcphaorgtblnemis") + list("123456789") + ["bracketleft", "bracketright", "Tab", "Delete", "BackSpace",
         "Left", "Right", "Up", "Down", "Escape", "Return", "F9", "F6", "space", "Home", "End", "F2"]
COMMANDS = [("z", CONTROL)] * 6 + [("z", CONTROL + SHIFT)] * 4 + [("a", CONTROL), ("c", CONTROL), ("x", CONTROL),
           ("v", CONTROL), ("d", CONTROL), ("c", CONTROL + SHIFT), ("0", CONTROL), ("1", CONTROL), ("plus", CONTROL),
           ("minus", CONTROL), ("Tab", SHIFT), ("Left", SHIFT), ("Up", ALT), ("Right", ALT), ("s", CONTROL),
           ("bracketright", CONTROL), ("bracketleft", CONTROL), ("bracketright", CONTROL + SHIFT)]

def keys():
    for _ in range(random.randint(1, 6)):
        if random.random() < 0.5:
            key(random.choice(PLAIN))
        else:
            key(*random.choice(COMMANDS))

def typing():
    key("t"); move(*spot()); button(1, True); button(1, False); pause(0.02)
    for _ in range(random.randint(1, 25)):
        key(random.choice(list("abcdefghij") + ["space", "Return", "BackSpace", "Left", "Right", "Delete", "eacute"]),
            random.choice([(), (), (), SHIFT, CONTROL]))
    key(random.choice(["Escape", "v", "Tab"]))

def run(*words, timeout=60):
    return subprocess.run([program, "--root", str(root), *words], capture_output=True, text=True, timeout=timeout)

def run_beside(*words):
    """In the twins' own library, which the hand cannot come to: no bus leads there."""
    alone = {name: value for name, value in os.environ.items() if name != "DBUS_SESSION_BUS_ADDRESS"}
    return subprocess.run([program, "--root", str(folder / "twins"), *words], capture_output=True, text=True, timeout=60,
                          env=alone)

def other_window():
    random.choice([lambda: run("show", random.choice(["history", "help"])), lambda: run("edit", random.choice(ids)),
                   lambda: key("Tab", ALT)])()

def display_shrinks():
    for size in ("1024x768", f"{WIDTH}x{HEIGHT}"):
        subprocess.run(["xrandr", "-s", size], capture_output=True)
        time.sleep(0.05)

def from_outside():
    words = random.choice([["convert", ids[2], "--format", random.choice(["png", "webp"])], ["library", "star", ids[0]],
                           ["library", "title", ids[1], f"title {random.randint(0, 99)}"],
                           ["annotate", ids[0], "--print"], ["library", "trash", ids[2]], ["library", "undo"]])
    run(*words)

def picture(path, pattern):
    width, height = 900, 600
    rows = b"".join(b"\0" + bytes((pattern * x // 7 + y * 3 + c * 80) % 256 for x in range(width) for c in range(3))
                    for y in range(height))
    def chunk(kind, body):
        return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body))
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
                     + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))

def fail(text):
    print(f"FAILED after {rounds} rounds (seed {seed}): {text}")
    log_file = folder / "tray.log"
    print(log_file.read_text(errors="replace")[-6000:] if log_file.exists() else "")
    sys.exit(1)

def pixels_of(png):
    """Of a file without the moment of its capture."""
    at, pixels = 8, b""
    while at + 12 <= len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        pixels += png[at + 8:at + 8 + size] if kind in (b"IHDR", b"IDAT") else b""
        at += 12 + size
    return pixels

def saved_document_is_whole(id, twin):
    """What save, print and render make of it agree. The twin, of the same picture, is never open."""
    printed = run("annotate", id, "--print")
    if "Couldn't find" in printed.stderr:
        return 0  # the hand has deleted it
    if printed.returncode != 0:
        return fail(f"--print: {printed.stderr}")
    document = folder / "document.json"
    document.write_text(printed.stdout)
    applied = run_beside("annotate", twin, "--apply", str(document))
    if applied.returncode != 0:
        fail(f"what was saved is refused: {applied.stderr}\n{printed.stdout[:3000]}")
    drawn = []
    for one, run_there in ((id, run), (twin, run_beside)):
        file = folder / "drawn.png"
        rendered = run_there("render", one, "--output", str(file))
        if rendered.returncode != 0:
            fail(f"render: {rendered.stderr}")
        drawn.append(pixels_of(file.read_bytes()))
    if drawn[0] != drawn[1]:
        fail("the capture and its twin are drawn differently")
    return len(json.loads(printed.stdout).get("shapes", []))

rounds = 0
captures = []
for pattern, capturing in ((3, run), (5, run), (9, run), (3, run_beside), (5, run_beside)):
    taken = capturing("--json", "capture", "display")  # as if another program wrote over it
    if taken.returncode != 0:
        fail(f"no capture: {taken.stderr}")
    captures.append(json.loads(taken.stdout)["id"])
    picture(pathlib.Path(json.loads(taken.stdout)["path"]), pattern)
ids = captures[:3]
twins = {captures[0]: captures[3], captures[1]: captures[4]}

log = open(folder / "tray.log", "wb")
tray = subprocess.Popen([program, "--root", str(root)], stdout=log, stderr=log)
def is_on_bus():
    names = subprocess.run(["dbus-send", "--session", "--dest=org.freedesktop.DBus", "--print-reply",
                            "/", "org.freedesktop.DBus.ListNames"], capture_output=True, text=True)
    return "com.hollen.Vantorel" in names.stdout

while not is_on_bus():
    if tray.poll() is not None:
        fail("it does not start")
    time.sleep(0.1)
opened = run("edit", *ids[:2])
if opened.returncode != 0:
    fail(f"the windows do not open: {opened.stderr}")
begin = time.time()
checks = shapes = 0
while time.time() - begin < seconds:
    for _ in range(40):
        random.choices([drag, keys, typing, click, wheel, other_window, display_shrinks, from_outside],
                       [30, 25, 8, 20, 10, 2, 0.4, 1.5])[0]()
        pause(0.02)
        rounds += 1
    # Whatever is open goes, and what is typed ends.
    for _ in range(4):
        key("Escape"); time.sleep(0.05)
    if tray.poll() is not None:
        fail(f"the program ended: {tray.returncode}")
    text = (folder / "tray.log").read_text(errors="replace")
    if "AddressSanitizer" in text or "runtime error" in text:
        fail("a sanitizer complains")
    id = random.choice(ids[:2])
    opened = run("edit", id)
    if "Couldn't find" in opened.stderr:  # the hand has deleted it
        continue
    if opened.returncode != 0:
        fail(f"edit: {opened.stderr}")
    time.sleep(0.3)
    key("s", CONTROL)
    time.sleep(0.3)
    shapes += saved_document_is_whole(id, twins[id])
    checks += 1
tray.terminate()
for _ in range(100):   # it asks about what is not saved
    if tray.poll() is not None:
        break
    time.sleep(0.1)
    key("Return")
else:
    fail("it does not quit")
print(f"{rounds} rounds in {time.time() - begin:.0f} s, seed {seed}: {checks} saved documents with {shapes} shapes, all "
      "printed, taken and drawn alike; the program answered to the end")
PYTHON
