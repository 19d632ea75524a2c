#!/usr/bin/env bash
# Kills the program at random moments while it captures, converts, compresses, annotates, stars,
# titles, collects, deletes, undoes and moves its library; alone and in the tray. After each kill the next start must find every
# capture that was ever acknowledged, whole and once, with all that was acknowledged about it.
#
#   bench/library_soak.sh [program] [kills] [seed]
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
kills=${2:-300}
seed=${3:-1}
screen=320x200x24
. "$(dirname "$0")/private_desktop.sh"
seen_library "$folder/library"

python3 - "$program" "$folder" "$kills" "$seed" <<'PYTHON'
import json, os, pathlib, random, signal, struct, subprocess, sys, time, zlib

program, folder, kills, seed = sys.argv[1], pathlib.Path(sys.argv[2]), int(sys.argv[3]), int(sys.argv[4])
random.seed(seed)
root, trash = folder / "library", folder / "data" / "Trash"
document = folder / "note.json"
document.write_text('{"shapes":[{"id":"box","type":"rect","color":"#ff0000","width":2,'
                    '"x1":10,"y1":10,"x2":50,"y2":40}]}')
moved_to = [folder / "moved", root / "Captures"]

def start(*words):
    return subprocess.Popen([program, "--root", str(root), *words], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True)

def output(process):
    out, err = process.communicate(timeout=60)
    return process.returncode, out, err

def has_tray():
    names = subprocess.run(["dbus-send", "--session", "--dest=org.freedesktop.DBus", "--print-reply",
                            "/", "org.freedesktop.DBus.ListNames"], capture_output=True, text=True)
    return "com.hollen.Vantorel" in names.stdout

def is_whole_png(path):
    data = path.read_bytes()
    if data[:8] != b"\x89PNG\r\n\x1a\n":
        return False
    at, pixels, header, ended = 8, b"", None, False
    while at + 12 <= len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        if zlib.crc32(kind + body) != struct.unpack(">I", data[at + 8 + size:at + 12 + size])[0]:
            return False
        header = struct.unpack(">IIBBBBB", body) if kind == b"IHDR" else header
        pixels += body if kind == b"IDAT" else b""
        ended = kind == b"IEND"
        at += 12 + size
    if not (ended and at == len(data) and header):
        return False
    width, height, depth, colour = header[:4]
    channels = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}[colour]
    return len(zlib.decompress(pixels)) == height * (1 + (width * channels * depth + 7) // 8)

def is_whole(path):
    data = path.read_bytes()
    if path.suffix == ".jpg":
        return data[:2] == b"\xff\xd8" and data[-2:] == b"\xff\xd9"
    if path.suffix == ".webp":
        return data[:4] == b"RIFF" and struct.unpack("<I", data[4:8])[0] + 8 in (len(data), len(data) + 1)
    return is_whole_png(path)

known_whole = set()
def expect_whole(path, what):
    status = path.stat()
    mark = (status.st_ino, status.st_size, status.st_mtime_ns)
    if mark not in known_whole:
        if not is_whole(path):
            fail(f"{what}: {path} is not whole")
        known_whole.add(mark)
    return status.st_ino

class Capture:
    def __init__(self, path):
        # Neither a move nor the Trash makes another file of it.
        self.inodes = {os.stat(path).st_ino} if os.path.exists(path) else set()
        self.starred = None    # what was acknowledged; None when a kill left it open
        self.annotated = None
        self.title = None
        self.collected = None
        self.is_back = False   # an undo was acknowledged

acknowledged = {}
story = []   # what was done, for the report of a failure
counts = dict.fromkeys(["commands", "captures", "kills", "trash", "undo", "star", "annotate", "relocate",
                        "convert", "compress", "title", "collect", "undone after a kill",
                        "tray kills"], 0)

def fail(text):
    print("\n".join(story[-25:]))
    print(f"FAILED after {counts['kills']} kills (seed {seed}): {text}")
    for path in sorted(root.rglob("*")) + sorted(trash.rglob("*")):
        print(" ", path)
    for name in ("relocation.json", "deletions.json", "rewrites.json", "undo.json", "history.json"):
        if (root / name).exists():
            print(f"{name}: {(root / name).read_text()}")
    sys.exit(1)

def index():
    return json.loads((root / "history.json").read_text())["entries"] if (root / "history.json").exists() else []

def in_trash():
    return [file for file in (trash / "files").glob("*")
            if (trash / "info" / (file.name + ".trashinfo")).exists()]

def check():
    # Any command clears up what an earlier run left, if only when it has done its own work.
    code, out, err = output(start("displays"))
    if code != 0:
        fail(f"displays: {err}")
    code, out, err = output(start("--json", "library", "list"))
    if code != 0:
        fail(f"library list: {err}")
    entries = index()
    by_id = {entry["id"]: entry for entry in entries}
    if len(by_id) != len(entries) or len({entry["path"] for entry in entries}) != len(entries):
        fail("an id or a path is in the index twice")
    if len(out.splitlines()) != len(entries):
        fail("the list is not the index")
    inodes = {}
    for entry in entries:
        path = pathlib.Path(entry["path"])
        if not path.exists():
            fail(f"{entry['id']}: {path} is gone")
        inode = expect_whole(path, entry["id"])
        if inode in inodes:
            fail(f"{path} and {inodes[inode]} are one file")
        inodes[inode] = path
        if entry["id"] in acknowledged:
            acknowledged[entry["id"]].inodes.add(inode)
        if "originalPath" in entry:
            original = pathlib.Path(entry["originalPath"])
            if not original.exists():
                fail(f"{entry['id']}: its original {original} is gone")
            if expect_whole(original, entry["id"]) in inodes:
                fail(f"{original} and {inodes[original.stat().st_ino]} are one file")
            inodes[original.stat().st_ino] = original
    trashed = set()
    for file in in_trash():
        inode = expect_whole(file, "in the Trash")
        if inode in inodes:
            fail(f"{file} and {inodes[inode]} are one file")
        inodes[inode] = file
        trashed.add(inode)
    for id, capture in acknowledged.items():
        entry = by_id.get(id)
        if entry is None:
            if not capture.inodes & trashed:
                fail(f"{id} is neither in the library nor in the Trash")
            if capture.is_back:
                fail(f"{id} was brought back and is not there")
            continue
        if capture.starred is not None and entry.get("starred", False) != capture.starred:
            fail(f"{id}: its star is not what was acknowledged")
        if capture.annotated and not entry.get("shapes"):
            fail(f"{id}: its annotations are lost")
        if capture.title is not None and entry.get("title") != capture.title:
            fail(f"{id}: its title is not what was acknowledged")
        if capture.collected and not entry.get("collectionIDs"):
            fail(f"{id}: its collection is lost")
    left = [path for path in root.rglob("*") if path.is_file() and (
        path.name.endswith((".staging", ".partial")) or path.parent.name == "Staged Captures" or
        path.name in ("deletions.json", "rewrites.json"))]
    named = {entry.get(key) for entry in entries for key in ("path", "originalPath")}
    left += [path for path in (root / "Originals").glob("*") if str(path) not in named]
    left += [info for info in (trash / "info").glob("*.trashinfo")
             if not (trash / "files" / info.stem).exists()]
    if left:
        fail(f"left over: {left}")
    # What a move that was cut short did not get to waits in its journal for the next one.
    journal = root / "relocation.json"
    for pair in json.loads(journal.read_text())["pairs"] if journal.exists() else []:
        if pair["old"] not in named:
            fail(f"the journal of a move has {pair['old']}, which the index has not")
    for place in moved_to:
        for path in place.glob("*") if place.exists() else []:
            if str(path) not in named:
                fail(f"{path} has no entry")
    return list(by_id)

class Action:
    """One command, what it promises when it says it is done, and what a kill leaves open."""
    def __init__(self, ids):
        kinds = ["capture"] * 4 + (["star", "unstar", "annotate", "trash", "trash", "undo", "undo",
                                    "relocate", "convert", "convert", "compress", "title",
                                    "collect"] if ids else [])
        self.kind = random.choice(kinds)
        self.id = random.choice(ids) if ids else None
        words = {"capture": ["--json", "capture", "display"], "undo": ["library", "undo"],
                 "annotate": ["annotate", self.id, "--apply", str(document)],
                 "relocate": ["library", "relocate", str(random.choice(moved_to))],
                 "convert": ["convert", self.id, "--format", random.choice(["png", "jpeg", "webp"])],
                 "compress": ["compress", self.id],
                 "collect": ["library", "collect", "Box", "--new", self.id]}
        self.title = f"title {random.randint(0, 999)}"
        words["title"] = ["library", "title", self.id, self.title]
        capture = acknowledged.get(self.id)
        if capture and self.kind == "title":
            capture.title = None
        if capture and self.kind == "trash":
            capture.is_back = False
        if capture and self.kind in ("star", "unstar"):
            capture.starred = None
        self.words = words.get(self.kind, ["library", self.kind, self.id])
        self.process = start(*self.words)

    def finish(self):
        code, out, err = output(self.process)
        story.append(f"{' '.join(self.words)}: {code} {out.strip()[:60]} {err.strip()[:200]}")
        counts["commands"] += 1
        if code != 0:
            return
        name = {"capture": "captures", "unstar": "star"}.get(self.kind, self.kind)
        counts[name] += 1
        if self.kind == "capture":
            entry = json.loads(out)
            if entry["id"] in acknowledged:
                fail("an id was given twice")
            acknowledged[entry["id"]] = Capture(entry["path"])
            return
        capture = acknowledged.get(self.id)
        if capture and self.kind in ("star", "unstar"):
            capture.starred = self.kind == "star"
        if capture and self.kind == "annotate":
            capture.annotated = True
        if capture and self.kind == "title":
            capture.title = self.title
        if capture and self.kind == "collect":
            capture.collected = True
        if self.kind == "undo":
            for line in out.splitlines():
                if line.split("\t")[0] in acknowledged:
                    acknowledged[line.split("\t")[0]].is_back = True

begin = time.time()
span = 0.25   # seconds in which the kill falls; follows how long commands take
ids = []
while counts["kills"] < kills:
    tray = None
    if random.random() < 0.4:
        tray = start()
        while not has_tray() and tray.poll() is None:
            time.sleep(0.02)
        for _ in range(random.randint(0, 3)):
            Action(ids).finish()
            ids = [entry["id"] for entry in index()]
    before = time.time()
    actions = []
    chosen = set()
    for _ in range(random.randint(1, 3) if tray else 1):
        action = Action([id for id in ids if id not in chosen])
        chosen.add(action.id)
        actions.append(action)
    time.sleep(random.random() * span)
    victim = tray or actions[0].process
    if victim.poll() is None:
        counts["kills"] += 1
        counts["tray kills"] += tray is not None
        story.append("kill the tray" if tray else "kill")
    victim.send_signal(signal.SIGKILL)
    for action in actions:
        action.finish()
    if tray:
        output(tray)
    ids = check()
    # A deletion that a kill cut short and that was carried on can be undone like any other.
    for action in actions:
        if (action.kind == "trash" and action.process.returncode == -signal.SIGKILL
                and action.id not in ids):
            code, out, err = output(start("library", "undo"))
            story.append(f"undo after a kill: {code} {out.strip()[:60]} {err.strip()[:200]}")
            ids = check()
            if action.id not in ids:
                fail(f"{action.id} was deleted, and the kill took its undo away")
            counts["undone after a kill"] += 1
    if len(ids) > 60:   # a library that stays small enough to look at after each kill
        going = random.sample(ids, 30)
        for id in going:
            if id in acknowledged:
                acknowledged[id].is_back = False
        output(start("library", "trash", *going))
        ids = check()
    if random.random() < 0.3:
        before = time.time()
        action = Action(ids)
        action.finish()
        if action.kind == "capture":
            span = 1.3 * (time.time() - before)
        ids = check()
print(f"{counts['kills']} kills in {time.time() - begin:.0f} s, seed {seed}: "
      + ", ".join(f"{count} {name}" for name, count in counts.items() if name != "kills")
      + f"; {len(acknowledged)} captures acknowledged, {len(ids)} in the library, none lost or twice")
PYTHON
