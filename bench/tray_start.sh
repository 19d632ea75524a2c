#!/usr/bin/env bash
# From the start of the tray program until its first command is answered, the asking command's own
# time included, and the memory it holds at rest; beside it the same command run without one.
set -euo pipefail
program=$(realpath "${1:-build/release/bin/vantorel}")
rounds=${2:-11}
. "$(dirname "$0")/private_desktop.sh"
seen_library "$folder/library"

python3 - "$program" "$folder" "$rounds" <<'PYTHON'
import re, statistics, subprocess, sys, time

program, folder, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
command = [program, "--root", f"{folder}/library"]

def names():
    return subprocess.run(["dbus-send", "--session", "--print-reply",
                           "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus.ListNames"],
                          capture_output=True, text=True, check=True).stdout

def alone():
    start = time.perf_counter()
    subprocess.run(command + ["displays"], check=True, capture_output=True)
    return (time.perf_counter() - start) * 1000

def tray():
    start = time.perf_counter()
    resident = subprocess.Popen(command)
    while "Vantorel" not in names():
        pass
    subprocess.run(command + ["displays"], check=True, capture_output=True)
    ready = (time.perf_counter() - start) * 1000
    time.sleep(1)
    status = open(f"/proc/{resident.pid}/status").read()
    shares = open(f"/proc/{resident.pid}/smaps_rollup").read()
    subprocess.run(command + ["quit"], check=True, capture_output=True)
    resident.wait(10)
    megabytes = lambda text, key: int(re.search(rf"^{key}:\s+(\d+)", text, re.M)[1]) / 1024
    return ready, megabytes(status, "VmRSS"), megabytes(shares, "Pss")

pairs = [(alone(), *tray()) for _ in range(rounds)]
alone_ms, ready_ms, rss, pss = (statistics.median(column) for column in zip(*pairs))
print(f"vantorel displays, alone        {alone_ms:7.1f} ms")
print(f"tray started, displays answered {ready_ms:7.1f} ms  ({ready_ms / alone_ms:.1f} times)")
print(f"tray at rest                    {rss:7.1f} MB resident, {pss:.1f} MB its share")
PYTHON
