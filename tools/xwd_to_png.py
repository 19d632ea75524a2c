#!/usr/bin/env python3
"""Standard input, as xwd writes it from a display of 24 bits, to a PNG with at most 256 colors:
xwd_to_png.py FILE. The colors most used stay exact; the others go to the nearest of them."""
import struct
import sys
import zlib
from collections import Counter


def main():
    data = sys.stdin.buffer.read()
    head = struct.unpack(">25I", data[:100])
    size, width, height, stride, colors = head[0], head[4], head[5], head[12], head[19]
    body = data[size + colors * 12:]
    rows = []
    for y in range(height):
        row = body[y * stride : y * stride + width * 4]
        rows.append((row[2::4], row[1::4], row[0::4]))
    counted = Counter()
    pixels = []
    for red, green, blue in rows:
        line = list(zip(red, green, blue))
        pixels.append(line)
        counted.update(line)
    palette = []
    # Much used colors first; those like one that is there already only when there is room.
    common = [color for color, _ in counted.most_common(20000)]
    for least in (20, 10, 4, 0):
        for color in common:
            if len(palette) == 256:
                break
            if all(sum(abs(a - b) for a, b in zip(color, other)) > least for other in palette):
                palette.append(color)
    nearest = {}
    def index(color):
        if color not in nearest:
            nearest[color] = min(range(len(palette)),
                                 key=lambda i: sum((a - b) ** 2 for a, b in zip(color, palette[i])))
        return nearest[color]
    raw = b"".join(b"\0" + bytes(index(color) for color in line) for line in pixels)
    def chunk(kind, body):
        return (struct.pack(">I", len(body)) + kind + body
                + struct.pack(">I", zlib.crc32(kind + body)))
    with open(sys.argv[1], "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n"
                   + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 3, 0, 0, 0))
                   + chunk(b"PLTE", b"".join(bytes(color) for color in palette))
                   + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


main()
