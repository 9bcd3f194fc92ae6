#!/usr/bin/python3
"""Merges pairs of maps with the program and with gdalwarp, and compares the pictures.

Usage: compare_with_gdalwarp.py build/bench_merge
The mean difference has to stay below one grey level, no pixel on the merge map may be left unpainted or far off, and
no pixel outside it may be touched.
"""

import math
import os
import subprocess
import sys
import tempfile

import numpy
from osgeo import gdal

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../bench"))
from synthetic_map import Map, ordinate  # noqa: E402

MARKER = 253
MEAN_ALLOWED = 1.0
WORST_ALLOWED = 3  # three roundings to whole levels here, one there
DEGREE = 1e-4  # a pixel of the base maps


def turned(width, height, x0, y0, pixel, degrees):
    cosine, sine = math.cos(math.radians(degrees)) * pixel, math.sin(math.radians(degrees)) * pixel
    return Map(width, height, x0, y0, cosine, -cosine, sine, sine)


def pairs():
    north_up = Map(700, 500, 5.0, 50.0, DEGREE, -0.7 * DEGREE)
    mercator = Map(700, 500, 5.0, ordinate(50.0), DEGREE, -math.radians(DEGREE), mercator=True)
    # Of the whole world, where rows of one model are far from rows of the other.
    world = Map(720, 500, -180.0, ordinate(80.0), 0.5, -2 * ordinate(80.0) / 500, mercator=True)
    return [
        ("north-up", north_up, Map(300, 200, 5.0151, 49.9923, 1.3 * DEGREE, -0.9 * DEGREE), False),
        ("turned merge map", north_up, turned(300, 260, 5.01, 49.985, 1.2 * DEGREE, 27), False),
        ("turned base map", turned(600, 500, 5.0, 50.0, DEGREE, -13), turned(250, 250, 5.02, 49.98, 1.1 * DEGREE, 40), False),
        ("Mercator, linear merge map", mercator, turned(300, 260, 5.01, 49.985, 1.2 * DEGREE, 20), False),
        ("Mercator of the world, linear merge map", world, Map(140, 150, -70.0, 75.0, 1.0, -1.0), False),
        ("turned base map, Mercator merge map", turned(600, 500, -80.0, 20.0, 0.15, 15), world, False),
        ("enlarged, north-up", north_up, Map(600, 500, 4.97, 50.011, 1.1 * DEGREE, -0.8 * DEGREE), True),
        ("enlarged, turned base map", turned(400, 300, 5.0, 50.0, DEGREE, 10), turned(400, 300, 5.02, 50.01, DEGREE, -20), True),
        ("enlarged, Mercator", mercator, turned(400, 300, 4.98, 50.005, 1.2 * DEGREE, -10), True),
    ]


def canvas_of(base, merge):
    """The smallest grid of the base map that holds both: reckoned here on its own."""
    corners = [base.pixel(*merge.position(x, y)) for x in (0, merge.width) for y in (0, merge.height)]
    near = 0.01  # a hundredth of a pixel is no pixel
    left = -min(0, math.floor(min(x for x, _ in corners) + near))
    top = -min(0, math.floor(min(y for _, y in corners) + near))
    right = max(base.width, math.ceil(max(x for x, _ in corners) - near))
    bottom = max(base.height, math.ceil(max(y for _, y in corners) - near))
    return left, top, right + left, bottom + top


def read(path):
    return gdal.Open(path).ReadAsArray()[:3].astype(int)


def compare(program, folder, base, merge, enlarged):
    """Mean and largest difference inside the merge map, pixels left empty there, pixels touched outside."""
    path = lambda name: os.path.join(folder, name)  # noqa: E731
    base_bands = base.picture(1)
    base.write(path("base"), base_bands)
    merge.write(path("merge"), merge.picture(9))
    question = "enlarge" if enlarged else "keep"
    command = [program, "--exact", path("base.map"), path("merge.map"), "100", question, path("merged.png")]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    canvas, bands = base, base_bands
    if enlarged:
        left, top, width, height = canvas_of(base, merge)
        canvas = base.shifted(left, top, width, height)
        bands = [numpy.full((height, width), MARKER, numpy.uint8) for _ in range(3)]
        for large, small in zip(bands, base_bands):
            large[top : top + base.height, left : left + base.width] = small
    canvas.write(path("canvas"), bands)
    warp = ["gdalwarp", "-q", "-r", "bilinear", "-et", "0", "-wo", "XSCALE=1", "-wo", "YSCALE=1"]
    subprocess.run(warp + [path("merge.tif"), path("canvas.tif")], check=True)

    ours, theirs = read(path("merged.png")), read(path("canvas.tif"))
    assert ours.shape == theirs.shape, (ours.shape, theirs.shape)
    x, y = merge.pixel(*canvas.positions())
    inside = (x > 0) & (x < merge.width - 1) & (y > 0) & (y < merge.height - 1)
    outside = (x < -0.02) | (x > merge.width) | (y < -0.02) | (y > merge.height)
    difference = numpy.abs(ours - theirs)[:, inside]
    empty = int(((ours == MARKER).all(axis=0) & inside).sum())
    touched = int(((ours != numpy.array(bands)).any(axis=0) & outside).sum())
    return inside.sum(), difference.mean(), difference.max(), empty, touched


def main():
    failed = False
    for name, base, merge, enlarged in pairs():
        with tempfile.TemporaryDirectory() as folder:
            count, mean, worst, empty, touched = compare(sys.argv[1], folder, base, merge, enlarged)
        good = count > 1000 and mean < MEAN_ALLOWED and worst <= WORST_ALLOWED and empty == 0 and touched == 0
        failed |= not good
        print(
            f"{'ok  ' if good else 'FAIL'} {name}: {count} pixels, mean difference {mean:.3f}, largest {worst}, "
            f"left empty {empty}, touched outside {touched}"
        )
    sys.exit(failed)


main()
