#!/usr/bin/env bash
# Format and tidy. Of the files changed since the last landing, or of all with --all. Needs a
# configured build/release.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --all ]; then
  mapfile -t files < <(git ls-files '*.cpp' '*.hpp')
else
  base=$(git merge-base HEAD origin/main 2>/dev/null || true)
  if [ -z "$base" ] || [ "$base" = "$(git rev-parse HEAD)" ]; then
    base=$(git rev-parse --verify -q HEAD~1 || git hash-object -t tree /dev/null)
  fi
  mapfile -t files < <(git diff --name-only --diff-filter=d "$base" -- '*.cpp' '*.hpp')
fi
[ "${#files[@]}" -eq 0 ] && exit 0

clang-format-19 --dry-run --Werror "${files[@]}"

# clang cannot read the precompiled headers of g++, nor does it know all of its options; and it
# sees the deprecation in libstdc++'s own stable sort.
commands=$(mktemp -d)
trap 'rm -rf "$commands"' EXIT
python3 - "$commands/compile_commands.json" <<'PYTHON'
import json, re, sys
entries = json.load(open("build/release/compile_commands.json"))
for entry in entries:
    command = re.sub(r" -include \S*cmake_pch\S*", "", entry["command"])
    command = re.sub(r" -Winvalid-pch", "", command)
    entry["command"] = re.sub(r"^.*?ccache ", "", command) + (
        " -Wno-unknown-warning-option -Wno-deprecated-declarations -Wno-keyword-macro")
json.dump([e for e in entries if "cmake_pch" not in e["file"]], open(sys.argv[1], "w"))
PYTHON
mapfile -t sources < <(
  printf '%s\n' "${files[@]}" | grep '\.cpp$' |
    python3 -c 'import json, os, sys
known = {os.path.relpath(e["file"]) for e in json.load(open(sys.argv[1]))}
for file in sys.stdin.read().split():
    if file in known:
        print(file)' "$commands/compile_commands.json"
)
[ "${#sources[@]}" -eq 0 ] && exit 0
printf '%s\0' "${sources[@]}" |
  xargs -0 -n 4 -P 2 clang-tidy-19 -p "$commands" --quiet 2> >(grep -v 'warnings\? generated\|Suppressed\|Use -header-filter' >&2)
