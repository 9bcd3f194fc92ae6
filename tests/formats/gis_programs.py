#!/usr/bin/python3
"""With the preference GisPrograms on, GDAL finds corners and centre of the image where the program puts them, by the
written .map, by the world file beside a PNG and by the one beside a JPEG.

    tests/formats/gis_programs.py PROGRAM"""

import itertools
import pathlib
import shutil
import sys
import tempfile

import numpy
from osgeo import gdal

sys.dont_write_bytecode = True
from conversion import blank_image, convert, pixels_off, written  # noqa: E402
from drawing import ROOT, DrawnMap  # noqa: E402

PIXELS = 0.2
IMAGES = (".png", ".gif", ".jpg")
SICILY = "33\nno\nno\nEuropean 1950\n"
ANSWERS = {"wales.pgw": "0\n", "sicily.pgw": SICILY, "sicily-photo.jgw": SICILY}
WANTED = {
    "turned": lambda m: not m.mercator and abs(m.matrix[0, 1]) > 0.3 * abs(m.matrix[0, 0]),
    "Mercator": lambda m: m.mercator,
    "southern": lambda m: m.centre[1] < -10,
    "western": lambda m: m.centre[0] < -30,
    "local datum": lambda m: m.datum != "WGS 84",
    "British grid": lambda m: m.grid == "british",
} | {f"{count} points": lambda m, count=count: len(m.pixels) == count for count in (2, 3, 4, 30)}


def suits(m):
    """A .map and a world file are written, the nine decimals of the script, which says where the program puts the map,
    are enough, and the points are not on one line."""
    coarse = m.width < 4000 and abs(numpy.linalg.det(m.matrix)) > (100 if m.grid else 1e-8)
    spread = numpy.linalg.matrix_rank(m.pixels - m.pixels[0]) == min(2, len(m.pixels) - 1)
    return m.style.digit and m.style.ending != "map" and coarse and spread


def inputs():
    """Calibration files: a title, name, ending, content, size of the image, answers."""
    for path in sorted((ROOT / "samples").glob("*/*")):
        name = path.stem if path.parent.name == "variants" else path.parent.name
        if path.suffix not in IMAGES:
            image = gdal.Open(str(next(p for p in path.parent.glob(f"{name}.*") if p.suffix in IMAGES)))
            size = image.RasterXSize, image.RasterYSize
            yield path.name, name, path.suffix, path.read_bytes(), size, ANSWERS.get(path.name, "")
    maps = filter(suits, (DrawnMap(number, "Blätter {} süd") for number in itertools.count()))
    for title, wanted in WANTED.items():
        m = next(filter(wanted, maps))
        yield f"{title} (map {m.number})", m.name, f".{m.style.ending}", m.content, (m.width, m.height), m.answers


def by_map(path, pixels):
    change = gdal.Transformer(gdal.Open(str(path)), None, ["DST_SRS=OGC:CRS84", "MAX_GCP_ORDER=1"])
    return numpy.array(change.TransformPoints(0, [tuple(map(float, pixel)) for pixel in pixels])[0])[:, :2]


def by_world_file(image, pixels):
    """GDAL counts from the corner of the first pixel, a world file from its centre."""
    c, a, b, f, d, e = gdal.Open(str(image)).GetGeoTransform(can_return_null=True) or [numpy.nan] * 6
    x, y = numpy.transpose(pixels) + 0.5
    return numpy.stack([c + a * x + b * y, f + d * x + e * y], axis=1)


def problems(program, folder, name, ending, content, size, answers):
    for image in (folder / f"{name}.png", folder / f"{name}.jpg"):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        blank_image(image, size)
        (folder / f"{name}{ending}").write_bytes(content)
        status, panel = convert(program, folder.parent, folder / f"{name}{ending}", answers)
        if status != 0:
            yield f"{image.name}: {panel}"
            continue
        script, (w, h) = written(folder / f"{name}.js"), size
        pixels = [(0, 0), (w - 1, 0), (w - 1, h - 1), (0, h - 1), (w // 2, h // 2)]
        for read, path in ((by_map, folder / f"{name}.map"), (by_world_file, image)):
            # Nothing is written for the input's own format, and a world file has no Mercator.
            if ending == ".map" if read == by_map else script.mercator or ending[-1] == "w":
                continue
            try:
                off = pixels_off(script, pixels, read(path, pixels)).max()
            except RuntimeError as error:
                off = error
            if not isinstance(off, float) or not off < PIXELS:
                yield f"{image.name}, {read.__name__}: {off}"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    program, failures = pathlib.Path(sys.argv[1]).resolve(), 0
    with tempfile.TemporaryDirectory() as home:
        shutil.copy(ROOT / "data/datums.txt", home)
        pathlib.Path(home, "calconv.ini").write_text("GisPrograms=True\n", encoding="ascii")
        for title, *case in inputs():
            for problem in problems(program, pathlib.Path(home, "maps"), *case):
                print(f"{title}: {problem}")
                failures += 1
    return failures > 0


if __name__ == "__main__":
    sys.exit(main())
