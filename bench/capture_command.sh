#!/usr/bin/env bash
# One command, one durable PNG of a 3840x2160 screen: the program cold, the program through the one
# that runs, and scrot, the fastest common tool, in turns on the same private display. Prints
# medians, the ratios to scrot, and what a cold capture is made of.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
rounds=${2:-11}
. "$(dirname "$0")/private_desktop.sh"
seen_library "$folder/warm"

# A text-rich screen: what people take pictures of.
xsetroot -mod 24 24 -fg '#30506a' -bg '#2d4a66'
for column in 0 1 2 3; do
  fold -w 150 -s "$(dirname "$0")"/../LICENSE |
    sed -n "$((column * 150 + 1)),$((column * 150 + 150))p" >"$folder/text"
  xmessage -fn fixed -geometry 930x2100+$((column * 960 + 10))+20 -file "$folder/text" >/dev/null 2>&1 &
  children+=($!)
done
sleep 1

python3 - "$program" "$folder" "$rounds" <<'PYTHON'
import os, resource, statistics, subprocess, sys, time, glob

program, folder, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])

def timed(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    start = time.perf_counter()
    done = subprocess.run(command, capture_output=True, text=True, timeout=60)
    wall = time.perf_counter() - start
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    if done.returncode != 0:
        sys.exit(f"{command}: {done.stderr}")
    cpu = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
    return wall * 1000, cpu * 1000, done.stdout.strip()

def scrot(i):
    path = f"{folder}/scrot.png"
    wall, cpu, _ = timed(["scrot", "-o", path])
    return wall, cpu, os.path.getsize(path)

def cold(i):
    wall, cpu, path = timed([program, "--root", f"{folder}/cold", "capture", "display"])
    return wall, cpu, os.path.getsize(path)

def warm(i):
    wall, cpu, path = timed([program, "--root", f"{folder}/warm", "capture", "display"])
    return wall, cpu, os.path.getsize(path)

tray = subprocess.Popen([program, "--root", f"{folder}/warm"])
deadline = time.time() + 10
while subprocess.run([program, "--root", f"{folder}/warm", "displays"], capture_output=True).returncode:
    if time.time() > deadline:
        sys.exit("the program in the tray does not answer")
results = {"scrot -o": [], "vantorel, cold": [], "vantorel, running": []}
for i in range(rounds):
    results["scrot -o"].append(scrot(i))
    results["vantorel, cold"].append(cold(i))
    results["vantorel, running"].append(warm(i))
subprocess.run([program, "--root", f"{folder}/warm", "quit"])
tray.wait(10)
base = [statistics.median(r[k] for r in results["scrot -o"]) for k in range(3)]
print(f"{'':20} {'wall ms':>9} {'cpu ms':>9} {'bytes':>10}   ratios to scrot: wall, cpu, size")
for name, rows in results.items():
    m = [statistics.median(r[k] for r in rows) for k in range(3)]
    ratios = "  ".join(f"{m[k] / base[k]:.2f}" for k in range(3))
    print(f"{name:20} {m[0]:9.1f} {m[1]:9.1f} {m[2]:10.0f}   {ratios}")
env = dict(os.environ, VANTOREL_LOG="debug")
parts = subprocess.run([program, "--root", f"{folder}/cold", "capture", "display"],
                       capture_output=True, text=True, env=env).stderr
print("\nA cold capture is made of:")
print("".join(f"  {line}\n" for line in parts.splitlines() if "[CaptureLatency]" in line), end="")
PYTHON
