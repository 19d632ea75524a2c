#!/usr/bin/env python3
"""Standard input, as xwd writes it from a display with true colors, to a PNG with at most 256
colors: xwd_to_png.py FILE [LEFT,TOP], from there on. The colors most used stay exact; the others go
to the nearest of them."""
import struct
import sys
import zlib
from collections import Counter


def main():
    data = sys.stdin.buffer.read()
    head = struct.unpack(">25I", data[:100])
    size, width, height, stride, colors = head[0], head[4], head[5], head[12], head[19]
    step, is_big = head[11] // 8, head[7] == 1
    def place(mask):
        byte = (mask & -mask).bit_length() // 8
        return step - 1 - byte if is_big else byte
    places = [place(mask) for mask in head[14:17]]
    body = data[size + colors * 12:]
    left, top = (int(part) for part in sys.argv[2].split(",")) if len(sys.argv) > 2 else (0, 0)
    counted = Counter()
    pixels = []
    for y in range(top, height):
        row = body[y * stride : y * stride + width * step]
        line = list(zip(*(row[at::step] for at in places)))[left:]
        pixels.append(line)
        counted.update(line)
    # Of colors that look alike the one used most stands for all.
    alike = {}
    for color, count in counted.most_common():
        kind = alike.setdefault(tuple(part >> 3 for part in color), [color, 0])
        kind[1] += count
    palette = [color for color, _ in sorted(alike.values(), key=lambda kind: -kind[1])[:256]]
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
                   + chunk(b"IHDR", struct.pack(">IIBBBBB", width - left, height - top, 8, 3, 0, 0, 0))
                   + chunk(b"PLTE", b"".join(bytes(color) for color in palette))
                   + chunk(b"IDAT", zlib.compress(raw, 9)) + chunk(b"IEND", b""))


main()
