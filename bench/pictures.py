"""Pictures made up for measuring how well colours are reduced, of kinds that maps come in.
Usage: pictures.py FOLDER SIDE   writes KIND.png for each kind, SIDE x SIDE pixels, and prints the names; behind that of
the picture with rare lines, their colours.
"""

import math
import os
import sys

import cairo
import numpy
from osgeo import gdal

gdal.UseExceptions()

LINES = {  # of the picture with rare lines: colours far from all that is below them
    "trail": (230, 0, 126),
    "border": (150, 0, 220),
    "pipeline": (0, 200, 200),
    "power line": (255, 120, 0),
}
LINE_SHARE = 1e-5  # of the picture's pixels, each


def fractal(side, random, roughness=0.55, first=4):
    """Hills and valleys from 0 to 1: smoothed noise, each octave half as wide as the one before."""
    total = numpy.zeros((side, side), numpy.float32)
    cells, height = first, 1.0
    while cells < side:
        knots = random.random((cells + 3, cells + 3)).astype(numpy.float32)
        at = numpy.linspace(0, cells, side, endpoint=False)
        whole = at.astype(int)
        part = (at - whole).astype(numpy.float32)
        part = part * part * (3 - 2 * part)
        rows = knots[whole] * (1 - part[:, None]) + knots[whole + 1] * part[:, None]
        total += height * (rows[:, whole] * (1 - part) + rows[:, whole + 1] * part)
        cells, height = cells * 2, height * roughness
    total -= total.min()
    return total / total.max()


def blended(values, stops):
    """Colours for values from 0 to 1, straight between the stops (value, red, green, blue)."""
    stops = numpy.array(stops, numpy.float32)
    return numpy.stack([numpy.interp(values, stops[:, 0], stops[:, c]) for c in (1, 2, 3)], axis=2)


def shade(heights):
    """Light from the north-west, 0 to 1."""
    down, right = numpy.gradient(heights * heights.shape[0] * 0.2)
    return numpy.clip(0.55 + 0.45 * (-down - right) / numpy.sqrt(1 + down * down + right * right), 0, 1)


def photograph(side, random):
    """Fields, woods, soil, water and roofs from above, with haze, shadows and the noise of a sensor."""
    cover = fractal(side, random, 0.5)
    land = blended(
        cover,
        [(0, 24, 52, 74), (0.25, 44, 78, 88), (0.28, 176, 160, 122), (0.4, 92, 118, 52), (0.6, 40, 72, 34)]
        + [(0.8, 128, 112, 84), (1, 214, 206, 198)],
    )
    fields = random.random((side // 160 + 1, side // 160 + 1, 3)).repeat(160, 0).repeat(160, 1)[:side, :side]
    land = numpy.where((fractal(side, random) > 0.55)[:, :, None], land * 0.5 + fields * (120, 130, 60) + 30, land)
    light = 0.45 + 0.75 * shade(fractal(side, random, 0.7, 8))
    land = land * light[:, :, None] + fractal(side, random, 0.4)[:, :, None] * (10, 14, 26)
    for _ in range(side // 4):
        y, x = random.integers(0, side - 12, 2)
        land[y : y + 9, x : x + 11] = random.choice([(196, 84, 60), (150, 150, 158), (235, 232, 226), (60, 58, 64)])
    return land + random.normal(0, 4, (side, side, 3))


def drawn(side, random, paint):
    surface = cairo.ImageSurface(cairo.FORMAT_RGB24, side, side)
    context = cairo.Context(surface)
    paint(context)
    surface.flush()
    pixels = numpy.frombuffer(surface.get_data(), numpy.uint8).reshape(side, surface.get_stride() // 4, 4)
    return pixels[:, :side, 2::-1].copy()


def wander(context, side, random, turn, step):
    x, y, heading = random.random() * side, random.random() * side, random.random() * math.tau
    context.move_to(x, y)
    for _ in range(60):
        heading += random.normal(0, turn)
        x, y = x + step * math.cos(heading), y + step * math.sin(heading)
        context.line_to(x, y)


def crisp_map(side, random):
    """A printed road map as a program draws it: flat areas, smoothed lines and letters."""

    def paint(context):
        context.set_source_rgb(0.95, 0.94, 0.88)
        context.paint()
        areas = [(0.75, 0.87, 0.66), (0.67, 0.83, 0.93), (0.89, 0.85, 0.79), (0.98, 0.95, 0.70), (0.84, 0.91, 0.75)]
        for _ in range(140):
            wander(context, side, random, 1.1, side / 60)
            context.set_source_rgb(*areas[random.integers(len(areas))])
            context.fill()
        for number in range(400):
            wander(context, side, random, 0.35, side / 80)
            if number % 2 == 0:
                context.set_source_rgb(0.72, 0.52, 0.33)
                context.set_line_width(1)
            else:
                context.set_source_rgb(0.35, 0.33, 0.32)
                context.set_line_width(7)
                context.stroke_preserve()
                context.set_source_rgb(*[(1, 1, 1), (0.99, 0.84, 0.36), (0.89, 0.42, 0.36)][number // 2 % 3])
                context.set_line_width(5)
            context.stroke()
        context.select_font_face("DejaVu Sans")
        context.set_source_rgb(0.1, 0.1, 0.12)
        for _ in range(side // 6):
            context.set_font_size(random.integers(11, 26))
            context.move_to(random.random() * side, random.random() * side)
            context.show_text("Oberhof Kirchberg Mühlenau Nord".split()[random.integers(4)])

    return drawn(side, random, paint)


def scan(side, random):
    """The same kind of map as a scanner sees it: printer's dots, yellowed paper, soft and noisy."""
    pixels = crisp_map(side, random).astype(numpy.float32)
    y, x = numpy.mgrid[0:side, 0:side].astype(numpy.float32)
    dots = numpy.sin(0.9 * x + 0.35 * y) * numpy.sin(0.9 * y - 0.35 * x)
    pixels += (255 - pixels) * 0.25 * dots[:, :, None]
    for axis in (0, 1):
        pixels = (numpy.roll(pixels, 1, axis) + 2 * pixels + numpy.roll(pixels, -1, axis)) / 4
    paper = 0.92 + 0.06 * fractal(side, random)[:, :, None]
    return pixels * paper * (1, 0.97, 0.88) + random.normal(0, 3, (side, side, 3))


def relief(side, random):
    grey = 255 * shade(fractal(side, random))
    return numpy.repeat(grey[:, :, None], 3, 2)


def rare_lines(side, random):
    """Tinted relief with thin lines in colours of their own."""
    heights = fractal(side, random)
    tints = [(0, 112, 160, 96), (0.3, 196, 204, 140), (0.6, 214, 182, 128), (0.85, 178, 150, 130), (1, 250, 250, 250)]
    pixels = blended(heights, tints) * (0.55 + 0.5 * shade(heights)[:, :, None])
    pixels = numpy.clip(pixels + 0.5, 0, 255).astype(numpy.uint8)
    for number, color in enumerate(LINES.values()):
        length = round(LINE_SHARE * side * side)
        at = numpy.arange(length)
        y, x = side // 5 * (number + 1) + at // 3, side // 7 * (number + 1) + at
        pixels[y % side, x % side] = color
    return pixels


KINDS = {
    "photograph": photograph,
    "crisp-map": crisp_map,
    "scan": scan,
    "grey-relief": relief,
    "rare-lines": rare_lines,
}


def main():
    folder, side = sys.argv[1], int(sys.argv[2])
    for seed, (kind, make) in enumerate(KINDS.items()):
        pixels = make(side, numpy.random.default_rng(seed))
        pixels = numpy.clip(pixels + 0.5, 0, 255).astype(numpy.uint8) if pixels.dtype != numpy.uint8 else pixels
        memory = gdal.GetDriverByName("MEM").Create("", side, side, 3)
        for band in range(3):
            memory.GetRasterBand(band + 1).WriteArray(pixels[:, :, band])
        gdal.GetDriverByName("PNG").CreateCopy(os.path.join(folder, kind + ".png"), memory, options=["ZLEVEL=1"])
        colors = ["%02x%02x%02x" % color for color in LINES.values()] if make is rare_lines else []
        print(kind, *colors, flush=True)


if __name__ == "__main__":
    main()
