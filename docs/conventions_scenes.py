#!/usr/bin/env python3
"""Makes the pictures that docs/conventions.md starts from, as PNG files.

usage: conventions_scenes.py FOLDER
"""

import math
import pathlib
import sys

from gallery_scenes import write


def patch_of_waves(x, y):
    """Waves of 0.15 cycles per pixel at 37 degrees, fading out."""
    dx, dy = x - 64.0, y - 64.0
    along = dx * math.cos(math.radians(37.0)) + dy * math.sin(math.radians(37.0))
    return 128.0 + 110.0 * math.exp(-(dx * dx + dy * dy) / 450.0) * math.cos(2.0 * math.pi * 0.15 * along)


def main():
    folder = pathlib.Path(sys.argv[1])
    write(folder / "waves.png", patch_of_waves, 128, 128)
    # A single pel has a flat spectrum, so that a filter's gains are what is left of it.
    write(folder / "dot.png", lambda x, y: 255.0 if (x, y) == (128, 128) else 0.0)


if __name__ == "__main__":
    main()
