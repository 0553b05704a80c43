#!/usr/bin/env python3
"""Makes the pictures that the gallery starts from, as PNG files: the same ones every time.

usage: gallery_scenes.py FOLDER
"""

import math
import pathlib
import random
import struct
import sys
import zlib


SIZE = 256


def write(path, value, width=SIZE, height=SIZE):
    """A PNG file of value(x, y), rounded and cut off at 0 and 255."""
    rows = bytearray()
    for y in range(height):
        rows.append(0)  # The row as it is, unfiltered.
        rows.extend(min(max(int(value(x, y) + 0.5), 0), 255) for x in range(width))

    def chunk(kind, content):
        check = zlib.crc32(kind + content)
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", check)

    header = struct.pack(">IIBBBBB", width, height, 8, 0, 0, 0, 0)
    chunks = chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(bytes(rows), 9)) + chunk(b"IEND", b"")
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunks)


def noise(seed, strength):
    """Independent values of that standard deviation, nearly Gaussian."""
    source = random.Random(seed)

    def value():
        return (source.random() + source.random() + source.random() - 1.5) * 2.0 * strength

    values = [value() for _ in range(SIZE * SIZE)]
    return lambda x, y: values[y * SIZE + x]


def waves(components):
    """The sum of waves (amplitude, cycles per pixel, direction in degrees, phase)."""
    total = [0.0] * (SIZE * SIZE)
    for amplitude, frequency, direction, phase in components:
        u = 2.0 * math.pi * frequency * math.cos(math.radians(direction))
        v = 2.0 * math.pi * frequency * math.sin(math.radians(direction))
        sines = [amplitude * math.sin(u * x + phase) for x in range(SIZE)]
        cosines = [amplitude * math.cos(u * x + phase) for x in range(SIZE)]
        for y in range(SIZE):
            sine, cosine, row = math.sin(v * y), math.cos(v * y), y * SIZE
            for x in range(SIZE):
                total[row + x] += sines[x] * cosine + cosines[x] * sine
    return lambda x, y: total[y * SIZE + x]


def grain(seed, direction, frequencies, spread, strength, count=24):
    """A texture: waves of random fineness whose direction varies by `spread` degrees."""
    source = random.Random(seed)
    amplitude = strength * math.sqrt(2.0 / count)
    low, high = frequencies
    components = [
        (
            amplitude,
            low + (high - low) * source.random(),
            direction + spread * (source.random() + source.random() - 1.0),
            2.0 * math.pi * source.random(),
        )
        for _ in range(count)
    ]
    return waves(components)


def step(distance):
    """1 inside (distance below 0), 0 outside, an edge two pels wide."""
    return min(max(0.5 - 0.5 * distance, 0.0), 1.0)


def segment_distance(x, y, x0, y0, x1, y1):
    along = ((x - x0) * (x1 - x0) + (y - y0) * (y1 - y0)) / ((x1 - x0) ** 2 + (y1 - y0) ** 2)
    along = min(max(along, 0.0), 1.0)
    return math.hypot(x - x0 - along * (x1 - x0), y - y0 - along * (y1 - y0))


def flange(x, y):
    """A machined part: a ring with six bolt holes and a keyway on a dark table."""
    dx, dy = x - 128.0, y - 128.0
    radius = math.hypot(dx, dy)
    level = 62.0 + 0.08 * x
    level += step(radius - 107.0) * (92.0 - 0.15 * dy)
    level += step(abs(radius - 75.0) - 1.0) * -24.0
    level += step(abs(radius - 99.0) - 1.0) * -24.0
    for index in range(6):
        angle = math.radians(60.0 * index + 15.0)
        distance = math.hypot(dx - 87.0 * math.cos(angle), dy - 87.0 * math.sin(angle))
        level += (50.0 - level) * step(distance - 7.5)
    bore = min(radius - 39.0, max(abs(dx) - 8.0, abs(dy + 40.0) - 11.0))
    return level + (54.0 - level) * step(bore)


def periodic_noise(folder):
    """The part under electrical interference: two stripe patterns."""
    stripes = waves([(24.0, 0.17, 35.0, 0.4), (16.0, 0.31, -62.0, 1.0)])
    grainy = noise(1, 3.0)
    write(folder / "interference.png", lambda x, y: flange(x, y) + stripes(x, y) + grainy(x, y))


def moire(folder):
    """The part behind two fine meshes: the lens blurs the meshes themselves, their beat stays."""
    first = waves([(0.08, 0.36, 20.0, 0.0), (0.08, 0.40, 25.0, 0.7)])
    # Of the product of two waves: the frequency is the difference of theirs.
    beat = waves([(0.16, 0.0519, 62.2, 0.7 + math.pi / 2.0)])
    grainy = noise(2, 2.0)
    write(folder / "moire.png", lambda x, y: flange(x, y) * (1.0 + first(x, y) + beat(x, y)) + grainy(x, y))


def fabric(folder):
    """Twill whose threads vary, with a slub (a thick piece of thread) and a faint stain."""
    thread = grain(3, 90.0, (0.004, 0.03), 12.0, 1.0)
    grainy = noise(4, 7.0)
    light = grain(5, 30.0, (0.001, 0.003), 90.0, 4.0, 6)

    def twill(x, y):
        phase = 2.0 * math.pi * (x + 0.5 * y) / 8.0
        level = 118.0 + 34.0 * math.sin(phase) + 12.0 * math.sin(2.0 * phase + 0.5)
        level += 16.0 * math.sin(2.0 * math.pi * y / 6.0) + 3.0 * thread(x, y)
        stain = math.exp(-(((x - 188.0) / 20.0) ** 2) - ((y - 78.0) / 12.0) ** 2)
        slub = math.exp(-((segment_distance(x, y, 40.0, 195.0, 118.0, 172.0) / 3.5) ** 2))
        return level + light(x, y) + grainy(x, y) - 15.0 * stain + 17.0 * slub

    write(folder / "twill.png", twill)


def brushed(folder):
    """Ground metal, and an inlay and a strip in which the grain runs another way."""
    common = grain(6, 90.0, (0.08, 0.22), 16.0, 17.0, 40)
    other = grain(7, 30.0, (0.08, 0.22), 16.0, 17.0, 40)
    grainy = noise(8, 8.0)

    def metal(x, y):
        inlay = step(math.hypot((x - 85.0) / 1.2, y - 93.0) - 42.0)
        strip = step(segment_distance(x, y, 120.0, 220.0, 226.0, 165.0) - 18.0)
        share = max(inlay, strip)
        return 128.0 + (1.0 - share) * common(x, y) + share * other(x, y) + grainy(x, y)

    write(folder / "brushed.png", metal)


# Where the middle of each mark is, and its contrast.
MARKS = ((62.0, 54.0, 1.0), (194.5, 78.25, 0.55), (106.0, 194.0, 0.75))


def mark(dx, dy):
    """A fiducial: a ring around a cross."""
    radius = math.hypot(dx, dy)
    ring = step(abs(radius - 13.0) - 2.0)
    cross = step(min(max(abs(dx) - 1.5, abs(dy) - 8.0), max(abs(dy) - 1.5, abs(dx) - 8.0)))
    return max(ring, cross)


def board(folder):
    """A circuit board in uneven light with three marks of different contrast among pads and tracks."""
    source = random.Random(9)
    tracks, pads = [], []
    for _ in range(24):
        x, y, length = 10 + 236 * source.random(), 10 + 236 * source.random(), 12 + 36 * source.random()
        angle = math.radians(source.choice((0, 45, 90, 135)))
        end = (x - length * math.cos(angle), y - length * math.sin(angle))
        end += (x + length * math.cos(angle), y + length * math.sin(angle))
        if all(segment_distance(mx, my, *end) > 22 for mx, my, _ in MARKS):
            tracks.append(end)
    for _ in range(40):
        x, y, radius = 10 + 236 * source.random(), 10 + 236 * source.random(), 3 + 7 * source.random()
        if all(math.hypot(x - mx, y - my) > radius + 20 for mx, my, _ in MARKS):
            pads.append((x, y, radius))
    grainy = noise(10, 9.0)

    level = [0.0] * (SIZE * SIZE)

    def draw(x0, y0, x1, y1, value):
        """Raises the pels of that box to the value, where that is higher."""
        for y in range(max(int(min(y0, y1)), 0), min(int(max(y0, y1)) + 2, SIZE)):
            for x in range(max(int(min(x0, x1)), 0), min(int(max(x0, x1)) + 2, SIZE)):
                level[y * SIZE + x] = max(level[y * SIZE + x], value(x, y))

    for x0, y0, x1, y1 in tracks:
        end = (x0, y0, x1, y1)
        box = (min(x0, x1) - 4, min(y0, y1) - 4, max(x0, x1) + 4, max(y0, y1) + 4)
        draw(*box, lambda x, y, end=end: 70.0 * step(segment_distance(x, y, *end) - 2.0))
    for px, py, radius in pads:

        def pad(x, y, px=px, py=py, radius=radius):
            distance = math.hypot(x - px, y - py)
            return 70.0 * step(distance - radius) * (1.0 - step(distance - radius / 3))

        draw(px - radius - 2, py - radius - 2, px + radius + 2, py + radius + 2, pad)
    for mx, my, contrast in MARKS:

        def fiducial(x, y, mx=mx, my=my, contrast=contrast):
            return 90.0 * contrast * mark(x - mx, y - my)

        draw(mx - 17, my - 17, mx + 17, my + 17, fiducial)

    def copper(x, y):
        light = 0.45 + 0.75 * math.exp(-(((x - 60.0) / 153.0) ** 2) - ((y - 53.0) / 153.0) ** 2)
        return (60.0 + level[y * SIZE + x]) * light + grainy(x, y)

    write(folder / "board.png", copper)
    # The model of the mark, not a piece of the picture; its middle is the pel (16, 16).
    write(folder / "mark.png", lambda x, y: 40.0 + 160.0 * mark(x - 16.0, y - 16.0), 33, 33)


def main():
    folder = pathlib.Path(sys.argv[1])
    for make in (periodic_noise, moire, fabric, brushed, board):
        make(folder)


if __name__ == "__main__":
    main()
