#!/usr/bin/env python3
"""Draws pictures that look like captures, for the pictures of the windows in docs/images.

draw_samples.py FOLDER: PNG files, a few for each of the last days by their times of change.
"""
import os
import random
import struct
import sys
import time
import zlib

WIDTH, HEIGHT = 1280, 800


class Picture:
    def __init__(self, ground):
        self.rows = [bytearray(bytes(ground) * WIDTH) for _ in range(HEIGHT)]

    def box(self, left, top, width, height, color):
        left, top = max(0, left), max(0, top)
        right, bottom = min(WIDTH, left + width), min(HEIGHT, top + height)
        for row in self.rows[top:bottom]:
            row[left * 3 : right * 3] = bytes(color) * max(0, right - left)

    def lines(self, chance, left, top, width, count, color, step=26, height=10):
        """Words as bars, the way text looks from afar."""
        for i in range(count):
            x = left
            while x < left + width * (0.5 if i == count - 1 else 0.9):
                word = chance.randint(24, 110)
                self.box(int(x), top + i * step, word, height, color)
                x += word + 12

    def save(self, path):
        raw = zlib.compress(b"".join(b"\0" + bytes(row) for row in self.rows), 6)
        def chunk(kind, data):
            return (struct.pack(">I", len(data)) + kind + data
                    + struct.pack(">I", zlib.crc32(kind + data)))
        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n"
                       + chunk(b"IHDR", struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0))
                       + chunk(b"IDAT", raw) + chunk(b"IEND", b""))


COLORS = [(42, 111, 219), (46, 139, 87), (200, 90, 50), (120, 80, 180), (200, 150, 40)]


def letter(chance, accent):
    picture = Picture((232, 234, 238))
    picture.box(240, 40, 800, 760, (255, 255, 255))
    picture.box(320, 110, 360, 26, accent)
    picture.lines(chance, 320, 180, 640, 7, (120, 124, 132))
    picture.lines(chance, 320, 400, 640, 9, (120, 124, 132))
    return picture


def chart(chance, accent):
    picture = Picture((250, 250, 251))
    picture.box(0, 0, WIDTH, 64, accent)
    picture.box(40, 22, 260, 20, (255, 255, 255))
    for i in range(5):
        picture.box(100, 180 + i * 120, 1080, 2, (222, 224, 228))
    for i in range(12):
        height = chance.randint(80, 460)
        picture.box(130 + i * 88, 660 - height, 48, height, accent if i % 3 else (150, 156, 168))
    return picture


def terminal(chance, accent):
    picture = Picture((24, 26, 31))
    for i in range(24):
        x = 40 + chance.choice((0, 0, 36, 72))
        for _ in range(chance.randint(2, 7)):
            word = chance.randint(20, 130)
            color = chance.choice(((196, 200, 208), (196, 200, 208), accent, (110, 190, 130)))
            picture.box(x, 40 + i * 31, word, 11, color)
            x += word + 14
    return picture


def form(chance, accent):
    picture = Picture((246, 246, 248))
    picture.box(0, 0, 300, HEIGHT, (234, 235, 239))
    for i in range(8):
        if i == 2:
            picture.box(16, 56 + i * 60, 268, 46, (212, 224, 246))
        picture.box(40, 72 + i * 60, chance.randint(90, 200), 13, (96, 100, 110))
    for i in range(6):
        picture.box(360, 80 + i * 105, 170, 13, (96, 100, 110))
        picture.box(360, 106 + i * 105, 620, 44, (255, 255, 255))
        picture.box(380, 122 + i * 105, chance.randint(120, 420), 12, (150, 154, 164))
    picture.box(1020, 700, 180, 52, accent)
    return picture


def main():
    folder = sys.argv[1]
    os.makedirs(folder, exist_ok=True)
    chance = random.Random(7)
    noon = min(time.time(), time.mktime(time.localtime()[:3] + (11, 40, 0, 0, 0, -1)))
    kinds = (chart, letter, terminal, form)
    for i, days in enumerate((0, 0, 0, 0, 0, 1, 1, 1, 3, 3, 3, 3, 9, 9)):
        picture = kinds[i % 4](chance, COLORS[(i * 2 + i // 4) % len(COLORS)])
        taken = noon - days * 86400 - i * 1260
        name = time.strftime("Screenshot %Y-%m-%d at %H.%M.%S.png", time.localtime(taken))
        path = os.path.join(folder, name)
        picture.save(path)
        os.utime(path, (taken, taken))


main()
