#!/bin/sh
# Renders packaging/icons/vantorel.svg in the sizes that trays and menus ask for. Run by hand after
# a change of the drawing (package librsvg2-bin); the pictures are kept in the repository.
set -eu
cd "$(dirname "$0")/../packaging/icons"
for size in 22 24 32 48 64 128 256; do
  rsvg-convert --width=$size --height=$size --output=vantorel-$size.png vantorel.svg
done
