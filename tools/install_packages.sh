#!/usr/bin/env bash
# Installs what packaging/debian-packages.txt lists and this machine lacks. Quick when nothing is
# missing; needs root (or sudo) only otherwise.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t wanted < <(grep -vE '^(#|$)' packaging/debian-packages.txt)
mapfile -t missing < <(
  comm -23 <(printf '%s\n' "${wanted[@]}" | sort -u) \
    <(dpkg-query -W -f '${Package} ${db:Status-Status}\n' | awk '$2 == "installed" {print $1}' | sort -u)
)
[ "${#missing[@]}" -eq 0 ] && exit 0

printf 'Installing: %s\n' "${missing[*]}" >&2
run=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    printf 'These Debian packages are missing and sudo is not there: %s\n' "${missing[*]}" >&2
    exit 1
  }
  run=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${run[@]}" apt-get update -qq
"${run[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
