#!/usr/bin/env python3
"""Paints the pictures of the sample tree: examples/make_pictures.py examples/tree

The pictures lie in the repository; this is how they came about. It needs
nothing but Python and gives the same bytes each time.
"""
import math
import os
import random
import struct
import sys
import zlib


def png(width, height, pixel, alpha):
    rows = b"".join(b"\0" + b"".join(bytes(pixel(x, y)) for x in range(width)) for y in range(height))

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    header = struct.pack(">IIBBBBB", width, height, 8, 6 if alpha else 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows, 9)) + chunk(b"IEND", b"")


def tga(width, height, pixel, alpha, rle):
    """Rows from the bottom, as most paint programs write them."""
    rows = [[bytes((p[2], p[1], p[0]) + tuple(p[3:])) for p in (pixel(x, y) for x in range(width))]
            for y in reversed(range(height))]
    header = struct.pack("<BBBHHBHHHHBB", 0, 0, 10 if rle else 2, 0, 0, 0, 0, 0, width, height,
                         32 if alpha else 24, 8 if alpha else 0)
    return header + b"".join(run_lengths(row) if rle else b"".join(row) for row in rows)


def run_lengths(row):
    out, x = b"", 0
    while x < len(row):
        count = 1
        while x + count < len(row) and count < 128 and row[x + count] == row[x]:
            count += 1
        out += (bytes((0x80 | count - 1,)) if count > 1 else b"\0") + row[x]
        x += count
    return out


def speckled(base, spread, seed, grain=1):
    """A rough surface: every grain of pixels has a shade of its own."""
    def pixel(x, y):
        shade = random.Random(seed * 1000003 + (x // grain) * 1009 + y // grain).randint(-spread, spread)
        return tuple(max(0, min(255, c + shade)) for c in base)
    return pixel


def disc(width, height, inner, outer):
    """A shaded round shape on nothing."""
    def pixel(x, y):
        d = math.hypot((x + 0.5) / width * 2 - 1, (y + 0.5) / height * 2 - 1)
        if d > 1:
            return (0, 0, 0, 0)
        return tuple(int(a + (b - a) * d) for a, b in zip(inner, outer)) + (255 if d < 0.9 else int(2550 * (1 - d)),)
    return pixel


def stripes(colours, step):
    return lambda x, y: colours[(x + y) // step % len(colours)]


def frame(x, y):
    edge = x in (0, 7) or y in (0, 7)
    return (180, 140, 40, 255) if edge else (0, 0, 0, 0)


def portrait(x, y):
    d = math.hypot(x - 128, (y - 120) * 0.8)
    return (214, 170, 140) if d < 70 else (60 + y // 8 * 2, 50 + x // 8, 90)


PICTURES = {
    "raw_data/textures/terrain/Grass.png": png(64, 64, speckled((70, 130, 50), 30, 1), False),
    "raw_data/textures/terrain/Dirt.TGA": tga(64, 64, speckled((120, 90, 60), 20, 2, 8), False, True),
    "raw_data/textures/terrain/Cliffs/Granite.png": png(128, 128, speckled((128, 128, 132), 24, 3, 4), False),
    "raw_data/textures/terrain/Cliffs/Höhle.tga": tga(32, 32, speckled((50, 45, 48), 10, 4, 2), False, True),
    "old_raw_data/textures/terrain/Grass.png": png(32, 32, speckled((90, 120, 60), 30, 5), False),
    "old_raw_data/textures/terrain/Moss.png": png(32, 32, speckled((60, 100, 70), 15, 6, 2), False),
    "raw_data/textures/units/Knight.png": png(128, 128, disc(128, 128, (220, 220, 230), (70, 70, 90)), True),
    "raw_data/textures/units/Archer.tga": tga(64, 64, disc(64, 64, (90, 140, 70), (40, 60, 30)), True, False),
    "raw_data/textures/units/Banner.tga": tga(48, 96, stripes([(170, 20, 30), (230, 200, 60)], 12), False, True),
    "raw_data/textures/ui/Cursor.png": png(16, 16, disc(16, 16, (255, 255, 255), (200, 200, 200)), True),
    "raw_data/textures/ui/Frame.png": png(8, 8, frame, True),
    "raw_data/textures/ui/Portrait.png": png(256, 256, portrait, False),
    "raw_data/textures/drafts/Dragon.png": png(64, 64, disc(64, 64, (160, 40, 20), (60, 0, 0)), True),
}
# What a copy that was broken off leaves behind.
WHOLE = png(64, 64, speckled((150, 60, 40), 60, 7), False)
PICTURES["raw_data/textures/drafts/Broken.png"] = WHOLE[:len(WHOLE) // 2]


for name, data in PICTURES.items():
    path = os.path.join(sys.argv[1], name)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(data)
