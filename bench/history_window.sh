#!/usr/bin/env bash
# The History window over 100,000 captures, of which each has a file, on a private display, with the
# program in the tray. `size` is the display's.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
tools=$(realpath "${2:-$(dirname "$program")}")
size=${size:-1920x1080}
rounds=${3:-15}
pages=${4:-160}
screen=${size}x24
. "$(dirname "$0")/private_desktop.sh"
openbox >/dev/null 2>&1 &
children+=($!)
xsetroot -solid magenta
seen_library "$folder/library"
printf '{"version":1,"places":[{"window":"history","displays":"screen %s+0+0@1","x":40,"y":40,"width":1120,"height":760,"isMaximized":true}]}' \
  "$size" >"$folder/library/windows.json"

python3 - "$folder/library" <<'PYTHON'
import json, os, random, struct, sys, time, zlib

root, count, files = sys.argv[1], 100_000, 5_000
captures = f"{root}/Captures"
os.makedirs(captures)
random.seed(7)

def picture(i, width=320, height=200):
    part = lambda name, data: (struct.pack(">I", len(data)) + name + data +
                               struct.pack(">I", zlib.crc32(name + data)))
    color = [bytes(random.randrange(256) for _ in range(3)) for _ in range(8)]
    rows = b"".join(b"\0" + b"".join(color[(x // 40 + y // 25) % 8] * 40 for x in range(0, width, 40))
                    for y in range(height))
    return (b"\x89PNG\r\n\x1a\n" + part(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
            + part(b"IDAT", zlib.compress(rows, 1)) + part(b"IEND", b""))

words = ["North bridge log", "Überblick", "Payment form", "Way to the weir"]
applications = ["Terminal", "Web Browser", "Code Editor", "Mail", "Maps"]
now, entries = time.time(), []
for i in range(count):  # the newest first
    path = f"{captures}/Screenshot {i // 7} at {i:06}.png"
    if i < files:
        with open(path, "wb") as file:
            file.write(picture(i))
    else:
        os.link(f"{captures}/Screenshot {i % files // 7} at {i % files:06}.png", path)
    entry = {"id": f"{random.randrange(1 << 32):08X}-0000-4000-8000-{i:012X}",
             "capturedAt": now - i * 946.0 - 60, "path": path, "shapes": [], "medium": "image",
             "pixelWidth": 320, "pixelHeight": 200, "captureScale": 1, "starred": i % 50 == 0,
             "collectionIDs": [], "sourceApp": {"name": random.choice(applications)}}
    if i % 3 == 0:
        entry["title"] = f"{random.choice(words)} {i}"
    entries.append(entry)
with open(f"{root}/history.json", "w") as index:
    json.dump({"version": 4, "entries": entries[::-1], "collections": []}, index)
PYTHON

head -c 64 /dev/zero >"$folder/holds"
VT_LOOP_HOLDS=$folder/holds LD_PRELOAD=$tools/libloop_holds.so \
  "$program" --root "$folder/library" 2>"$folder/log" &
tray=$!
until "$program" --root "$folder/library" displays >/dev/null 2>&1; do :; done
sleep "${wait:-15}" # what is done once after the start
echo "History over 100,000 captures at $size"
"$tools/history_window" "$tray" "$folder/holds" "$rounds" "$pages" \
  "$program" --root "$folder/library" show history
"$program" --root "$folder/library" quit >/dev/null
wait "$tray"
