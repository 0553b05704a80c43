#!/usr/bin/env python3
"""What docs/coming_from.md says about numpy.fft: the tool's results beside the same written in NumPy, in doubles.

usage: beside_numpy.py KAVFILT FOLDER
"""

import pathlib
import subprocess
import sys

import numpy as np
from PIL import Image

WIDTH, HEIGHT = 128, 64  # Of the transforms. The image is smaller.
SINGLE = 5e-7  # Rounding of a transform in single precision, relative.


class Checks:
    def __init__(self, tool, folder):
        self.tool, self.folder, self.failed = tool, folder, 0

    def run(self, *arguments):
        subprocess.run([self.tool, *map(str, arguments), "-q", "--force"], cwd=self.folder, check=True)
        return self.read(arguments[arguments.index("-o") + 1])

    def read(self, name):
        return np.asarray(Image.open(self.folder / name), dtype=np.float64)

    def write_pgm(self, name, pels):
        header = f"P5 {pels.shape[1]} {pels.shape[0]} 255\n".encode()
        (self.folder / name).write_bytes(header + pels.astype(np.uint8).tobytes())

    def equal(self, what, ours, theirs, limit=SINGLE):
        difference = np.linalg.norm(ours - theirs) / np.linalg.norm(theirs)
        self._report(what, difference, limit)

    def near(self, what, ours, theirs, limit):
        self._report(what, np.max(np.abs(ours - theirs)), limit)

    def _report(self, what, difference, limit):
        print(f"{what}: {difference:.3g}, at most {limit:.3g}")
        self.failed += not difference <= limit


def spectra(checks, image):
    common = ("--depth", "float", "--pad", "zero")
    real = checks.run("spectrum", "image.pgm", "-o", "re.tif", "--view", "real", "--corner", *common)
    imaginary = checks.run("spectrum", "image.pgm", "-o", "im.tif", "--view", "imaginary", "--corner", *common)
    theirs = np.fft.fft2(image, s=(HEIGHT, WIDTH))
    checks.equal("fft2", real + 1j * imaginary, theirs)
    checks.equal("rfft2", (real + 1j * imaginary)[:, : WIDTH // 2 + 1], np.fft.rfft2(image, s=(HEIGHT, WIDTH)))
    centred = checks.run("spectrum", "image.pgm", "-o", "centred.tif", *common)
    checks.equal("fftshift", centred, np.fft.fftshift(np.abs(theirs)))
    phase = checks.run("spectrum", "image.pgm", "-o", "phase.tif", "--view", "phase", "--corner", *common)
    turned = np.angle(np.exp(1j * (phase - np.mod(np.angle(theirs), 2 * np.pi))))
    checks.near("phase, where the sample is not small", turned[np.abs(theirs) > 100], 0, 1e-3)
    checks.near("phase, not below 0", min(phase.min(), 0), 0, 0)
    return theirs


# [numpy_filters]
def frequencies():
    return np.fft.fftfreq(WIDTH)[None, :], np.fft.fftfreq(HEIGHT)[:, None]


def ring(frequency, sigma, plateau):
    fx, fy = frequencies()
    beyond = np.maximum(np.abs(np.hypot(fx, fy) - frequency) - plateau, 0)
    return np.exp(-(beyond**2) / (2 * sigma**2))


def lobe(frequency, degrees, along, across):
    """As the library lays it: a negative component that is no whole number of samples lies one sample higher."""
    fx, fy = frequencies()
    angle = np.radians(degrees)
    centre = []
    for component, size in ((np.cos(angle), WIDTH), (np.sin(angle), HEIGHT)):
        position = component * frequency * size
        centre.append((position + (1 if position < 0 and position != np.trunc(position) else 0)) / size)
    dx, dy = fx - centre[0], fy - centre[1]
    a = dx * np.cos(angle) + dy * np.sin(angle)
    b = dy * np.cos(angle) - dx * np.sin(angle)
    return np.exp(-(a**2) / (2 * along**2) - b**2 / (2 * across**2))
# [numpy_filters]


def filtered(checks, name, *arguments):
    return checks.run("filter", "image.pgm", "-o", name, "--depth", "float", "--pad", "zero", *arguments)


def filters(checks, image, spectrum):
    height, width = image.shape

    def expected(gains):
        return np.fft.ifft2(spectrum * gains)[:height, :width]

    # Ring gains come from a table of 32 entries per sample of the spectrum; lobes are sampled where they lie, and end
    # where some thousandths are left of them.
    band = ("--frequency", 0.1, "--sigma", 0.03, "--plateau", 0.02)
    gains = ring(0.1, 0.03, 0.02)
    checks.equal("bandpass", filtered(checks, "b.tif", "--type", "bandpass", *band), expected(gains).real, 0.01)
    checks.equal("bandreject", filtered(checks, "r.tif", "--type", "bandreject", *band), expected(1 - gains).real, 0.01)
    for degrees in (0, 30, 113, 250):
        gabor = ("--type", "gabor", "--frequency", 0.15, "--sigma", "0.03,0.02", "--angle", degrees)
        theirs = expected(lobe(0.15, degrees, 0.03, 0.02))
        checks.equal(f"gabor at {degrees}, real", filtered(checks, "g.tif", *gabor), theirs.real, 5e-3)
        strength = filtered(checks, "m.tif", *gabor, "--part", "magnitude")
        checks.equal(f"gabor at {degrees}, magnitude", strength, np.abs(theirs), 5e-3)
        angles = filtered(checks, "a.tif", *gabor, "--part", "angle")
        turned = np.angle(np.exp(1j * (angles - np.angle(theirs))))
        checks.near(f"gabor at {degrees}, angle, where it is not faint", turned[strength > strength.mean()], 0, 0.01)


def convolution(checks, image):
    kernel = np.arange(15).reshape(3, 5) % 7
    checks.write_pgm("kernel.pgm", kernel)
    ours = checks.run("convolve", "image.pgm", "kernel.pgm", "-o", "c.tif", "--depth", "float", "--pad", "zero")
    padded = np.pad(image, ((1, 1), (2, 2)))
    windows = np.lib.stride_tricks.sliding_window_view(padded, kernel.shape)
    checks.equal("convolve", ours, np.einsum("yxij,ij->yx", windows, kernel[::-1, ::-1]), 1e-6)


def main():
    tool, folder = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    folder.mkdir(parents=True, exist_ok=True)
    checks = Checks(tool, folder)
    image = np.random.RandomState(1).randint(0, 256, (50, 100)).astype(np.float64)
    checks.write_pgm("image.pgm", image)
    spectrum = spectra(checks, image)
    filters(checks, image, spectrum)
    convolution(checks, image)
    return 1 if checks.failed else 0


if __name__ == "__main__":
    sys.exit(main())
