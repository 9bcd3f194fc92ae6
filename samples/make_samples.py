#!/usr/bin/python3
"""Makes everything in this folder anew: maps drawn from Natural Earth data, and their calibrations in every format.

Positions are computed with PROJ alone, so that the files are an independent check of the program."""

import pathlib
import subprocess
import tempfile

import numpy

import calibration_files as files
import draw_map
from sample_maps import CRETE, IBERIA, SICILY, WALES, small

HERE = pathlib.Path(__file__).resolve().parent
OUTLINES = "world-atlas@2.0.2"  # Natural Earth 4.1, 1:10m, as TopoJSON
MINUTES, MICRODEGREES, METRES = 1 / 600000, 1e-6, 1.0  # the last digit written of a coordinate
QV_WGS84 = "WGS 84# 6378137# 298.257223563# 0# 0# 0#"


def fetch_outlines(folder):
    """Country outlines, downloaded into `folder`."""
    subprocess.run(["npm", "pack", OUTLINES, "--silent"], cwd=folder, check=True, stdout=subprocess.DEVNULL)
    archive, = pathlib.Path(folder).glob("*.tgz")
    subprocess.run(["tar", "-xzf", archive.name], cwd=folder, check=True)
    return draw_map.Countries(pathlib.Path(folder, "package", "countries-10m.json"))


class Points:
    """Tie points of one file. `written` are their coordinates to the last digit written: `kind` "grid" is the map's own
    plane, "own" longitude and latitude on its datum, "wgs84" the same on WGS 84. `wgs84` is what they say there."""

    def __init__(self, sample, pixels, kind, unit):
        plane = [sample.grid_at(x, y) for x, y in pixels]
        to_kind = {"grid": numpy.array, "own": sample.to_own, "wgs84": sample.to_wgs84}[kind]
        to_wgs84 = {"grid": sample.to_wgs84, "own": sample.own_to_wgs84, "wgs84": numpy.array}[kind]
        self.pixels = pixels
        self.written = numpy.round(to_kind(plane) / unit) * unit
        self.wgs84 = to_wgs84(self.written)

    def rows(self):
        return [(x, y, *written) for (x, y), written in zip(self.pixels, self.written)]


class Checks:
    """What a reader must find: the tie points of every file, and places on the map that none of them states."""

    def __init__(self):
        self.points, self.places = [], []

    def add(self, sample, path, pixels, wgs84, mercator=False):
        file = path.relative_to(HERE).as_posix()
        self.points += [(file, k, x, y, *lonlat) for k, ((x, y), lonlat) in enumerate(zip(pixels, wgs84), 1)]
        worst = deviation(sample, pixels, wgs84, mercator)
        for across, down in ((0.13, 0.17), (0.82, 0.21), (0.5, 0.5), (0.22, 0.78), (0.9, 0.86)):
            x, y = round(across * sample.width), round(down * sample.height)
            self.places.append((file, x, y, *sample.lonlat([(x, y)])[0], worst))

    def write(self):
        rows = [f"{file} {k} {x} {y} {lon:.8f} {lat:.8f}" for file, k, x, y, lon, lat in self.points]
        files.write(HERE / "tie_points.txt", TIE_POINTS_HEADER + rows, "\n")
        rows = [f"{file} {x} {y} {lon:.8f} {lat:.8f} {worst:.2f}" for file, x, y, lon, lat, worst in self.places]
        files.write(HERE / "positions.txt", POSITIONS_HEADER + rows, "\n")


TIE_POINTS_HEADER = """\
# Tie points that a reader must find in each file, in their order, computed with PROJ. World files and the .cal files of
# edges or corners give the image corners; .mcd files and .map files of two points give four, two of them completed.
# file  point  pixel x  pixel y  longitude  latitude (degrees on WGS 84)""".split("\n")

POSITIONS_HEADER = """\
# Places on the maps, computed with PROJ from the true projection; pixel (0, 0) is the centre of the top left pixel.
# Deviation: how far a fit that is linear in longitude and latitude (in longitude and Mercator ordinate for a map in
# Mercator) to the file's tie points leaves the true projection anywhere on the map, in pixels.
# file  pixel x  pixel y  longitude  latitude (degrees on WGS 84)  deviation""".split("\n")


def mercator_ordinate(lat):
    """On the sphere."""
    return numpy.arctanh(numpy.sin(numpy.radians(lat)))


def deviation(sample, pixels, wgs84, mercator):
    """The largest distance in pixels between the true place of a pixel and where the fitted transform puts it."""
    def flat(lonlat):
        return numpy.column_stack([lonlat[:, 0], mercator_ordinate(lonlat[:, 1])]) if mercator else lonlat

    def design(xy):
        return numpy.column_stack([numpy.ones(len(xy)), xy])

    tied = numpy.array(pixels, float)
    terms, *_ = numpy.linalg.lstsq(design(tied), flat(numpy.array(wgs84)), rcond=None)
    across, down = numpy.linspace(0, sample.width - 1, 41), numpy.linspace(0, sample.height - 1, 41)
    everywhere = numpy.array([(x, y) for x in across for y in down])
    missed = flat(sample.lonlat(everywhere)) - design(everywhere) @ terms
    return numpy.linalg.norm(numpy.linalg.solve(terms[1:].T, missed.T), axis=0).max()


def square(easting, northing):
    """Letters of a 100 km square of the British grid, and the metres within it."""
    letters = "VWXYZQRSTULMNOPFGHJKABCDE"
    (e, east), (n, north) = divmod(round(easting), 100000), divmod(round(northing), 100000)
    return letters[5 * (n // 5 + 1) + e // 5 + 2] + letters[5 * (n % 5) + e % 5], east, north


def pixel_size(sample):
    x, y = sample.width / 2, sample.height / 2
    return files.metres_per_pixel(*sample.lonlat([(x, y), (x + 1, y)]))


def own_corners(sample):
    return sample.to_own([sample.grid_at(x, y) for x, y in sample.corners()])


def placed(pixels, terms):
    """Pixels on the plane of world-file `terms`."""
    a, d, b, e, c, f = terms
    return [(a * x + b * y + c, d * x + e * y + f) for x, y in pixels]


def iberia(checks):
    """Mercator: only the formats that can say so."""
    folder, corners = HERE / "iberia", IBERIA.corners()
    points = Points(IBERIA, corners, "own", MINUTES)
    tails = [files.map_minutes_point(*row) for row in points.rows()]
    path = folder / "iberia.map"
    files.write(path, files.ozi_map(IBERIA, "Mercator", tails, own_corners(IBERIA), pixel_size(IBERIA)))
    checks.add(IBERIA, path, corners, points.wgs84, mercator=True)

    points = Points(IBERIA, corners, "own", MICRODEGREES)
    path = folder / "iberia.jpr"
    files.write(path, files.jpr(IBERIA, "Mercator", points.rows()), mark=True)
    checks.add(IBERIA, path, corners, points.wgs84, mercator=True)
    path = folder / "iberia.cal"
    files.write(path, files.qv_cal(IBERIA, ("proj", "proj=merc lon_0=-3"), QV_WGS84, points.rows()))
    checks.add(IBERIA, path, corners, points.wgs84, mercator=True)
    path = folder / "iberia.imp"
    files.write(path, files.imp(IBERIA, "8,Mercator,", "A", points.rows(), coordinates=1))
    checks.add(IBERIA, path, corners, points.wgs84, mercator=True)


def wales(checks):
    """British grid, tied at crossings of its lines."""
    folder = HERE / "wales"
    crossings = [(x, y) for y in (30, 305, 580) for x in (20, 245, 495)]
    grid = Points(WALES, crossings, "grid", METRES)

    tails = []
    for k, (x, y, easting, northing) in enumerate(grid.rows()):
        letters, east, north = square(easting, northing) if k % 2 == 0 else ("", round(easting), round(northing))
        tails.append(files.map_grid_point(x, y, letters, f"{east:05d}", f"{north:05d}"))
    path = folder / "wales.map"
    lines = files.ozi_map(WALES, "(BNG) British National Grid", tails, own_corners(WALES), pixel_size(WALES))
    files.write(path, lines, "\n")
    checks.add(WALES, path, crossings, grid.wgs84)

    parts = []
    for k, (x, y, easting, northing) in enumerate(grid.rows()):
        letters, east, north = square(easting, northing) if k % 2 else ("", round(easting), round(northing))
        parts.append(f"BRITISH {letters}".rstrip() + f" = {east} {north} = {x} {y}")
    path = folder / "wales.gux"
    files.write(path, files.gux(WALES, parts))
    checks.add(WALES, path, crossings, grid.wgs84)

    path = folder / "wales.pgw"
    files.write(path, files.world_file(WALES.plane, 6), "\n")
    checks.add(WALES, path, WALES.corners(), WALES.to_wgs84(placed(WALES.corners(), WALES.plane)))

    points = Points(WALES, crossings, "wgs84", 1e-8)
    terms = linear_terms(points)
    path = folder / "wales.tfw"
    files.write(path, files.world_file(terms, 12, 22))
    checks.add(WALES, path, WALES.corners(), placed(WALES.corners(), terms))

    north_west, south_east = points.wgs84[0], points.wgs84[8]
    path = folder / "wales.gmi"
    border = (north_west[1], north_west[0], south_east[1], south_east[0])
    files.write(path, files.gmi(WALES, points.rows(), border, (1 / terms[0], -1 / terms[3])), ended=False)
    checks.add(WALES, path, crossings, points.wgs84)
    write_mcd(checks, WALES, folder / "wales.mcd", (20, 30), (495, 580))


def linear_terms(points):
    """World-file terms in degrees of the least-squares fit to tie points, to twelve decimals."""
    design = numpy.array([(x, y, 1.0) for x, y in points.pixels])
    (a, d), (b, e), (c, f) = numpy.linalg.lstsq(design, points.wgs84, rcond=None)[0]
    return [round(term, 12) for term in (a, d, b, e, c, f)]


def write_mcd(checks, sample, path, first, second):
    """Two opposite pixels in the map's plane; the reader completes the other two on the plane."""
    bottom = sample.height - 1
    path.write_bytes(files.mcd(*((x, bottom - y, *sample.grid_at(x, y)) for x, y in (first, second))))
    pixels = [first, (second[0], first[1]), (first[0], second[1]), second]
    checks.add(sample, path, pixels, sample.lonlat(pixels))


def sicily(checks):
    """UTM on European 1950, turned by four degrees against the grid."""
    folder, spread = HERE / "sicily", [(30, 40), (645, 25), (655, 450), (25, 440), (342, 231)]
    grid = Points(SICILY, spread, "grid", METRES)
    tails = [files.map_grid_point(x, y, "33", f"{e:.0f}", f"{n:.0f}") for x, y, e, n in grid.rows()]
    path = folder / "sicily.map"
    lines = files.ozi_map(SICILY, "(UTM) Universal Transverse Mercator", tails, own_corners(SICILY), pixel_size(SICILY))
    files.write(path, lines, ended=False)
    checks.add(SICILY, path, spread, grid.wgs84)

    path = folder / "sicily.gux"
    files.write(path, files.gux(SICILY, [f"UTM 33 = {e:.0f} {n:.0f} {x} {y}" for x, y, e, n in grid.rows()]))
    checks.add(SICILY, path, spread, grid.wgs84)
    path = folder / "sicily.imp"
    files.write(path, files.imp(SICILY, "2,UTM,33,", "33S", grid.rows(), coordinates=0, places=2), mark=True)
    checks.add(SICILY, path, spread, grid.wgs84)

    terms = [round(term, 10) for term in SICILY.plane]
    path = folder / "sicily.pgw"
    files.write(path, files.world_file(terms))
    checks.add(SICILY, path, SICILY.corners(), SICILY.to_wgs84(placed(SICILY.corners(), terms)))

    points = Points(SICILY, spread, "own", MICRODEGREES)
    path = folder / "sicily.jpr"
    files.write(path, files.jpr(SICILY, "UTM", points.rows()), "\n")
    checks.add(SICILY, path, spread, points.wgs84)
    path = folder / "sicily.cal"
    datum = "European 1950# 6378388# 297# -87# -98# -121#"
    files.write(path, files.qv_cal(SICILY, ("frei", "proj=LatLong"), datum, points.rows(), gap="  "), "\n")
    checks.add(SICILY, path, spread, points.wgs84)


def crete(checks):
    """Linear in longitude and latitude without any rounding, so that every format holds it exactly."""
    folder, corners = HERE / "crete", CRETE.corners()
    points = Points(CRETE, corners, "own", MINUTES)
    ends = Points(CRETE, [corners[0], corners[2]], "own", MINUTES)
    # 24.05 E and 35 N have fractions that are written with fewer than eight digits
    fractions = Points(CRETE, [corners[0], corners[1], (136, 180), corners[3]], "own", MICRODEGREES)
    for name, form, tied in (("crete", files.map_minutes_point, points),
                             ("crete-two-points", files.map_minutes_point, ends),
                             ("crete-fractions", files.map_fraction_point, fractions)):
        path = folder / f"{name}.map"
        tails = [form(*row) for row in tied.rows()]
        files.write(path, files.ozi_map(CRETE, "Latitude/Longitude", tails, own_corners(CRETE), pixel_size(CRETE)))
        if tied is ends:  # completed with x of the second, y of the first, then the other way round
            order = [0, 2, 1, 3]
            checks.add(CRETE, path, [corners[k] for k in order], points.wgs84[order])
        else:
            checks.add(CRETE, path, tied.pixels, tied.wgs84)

    for name, form, encoding in (("crete", files.gux_degrees, "cp1252"), ("crete-minutes", files.gux_minutes, "cp1252"),
                                 ("crete-seconds", files.gux_seconds, "utf-8")):
        path = folder / f"{name}.gux"
        files.write(path, files.gux(CRETE, [form(*row) for row in points.rows()]), encoding=encoding)
        checks.add(CRETE, path, corners, points.wgs84)

    (west, north), (east, south) = points.wgs84[0], points.wgs84[2]
    for extension, lines in (
            (".tfw", files.world_file(CRETE.plane, 10, 18)),
            (".jpr", files.jpr(CRETE, "equirectangular", points.rows(), extent=False)),
            (".cal", files.qv_cal(CRETE, ("frei", "proj=LatLong"), QV_WGS84, points.rows())),
            (".imp", files.imp(CRETE, "1,Automatic,", "A", points.rows())),
            (".gmi", files.gmi(CRETE, points.rows(), (north, west, south, east), (160, 200)))):
        path = folder / f"crete{extension}"
        files.write(path, lines)
        checks.add(CRETE, path, corners, points.wgs84)
    write_mcd(checks, CRETE, folder / "crete.mcd", corners[0], corners[2])


def variants(checks, countries):
    """Calibrations that find their image by its name alone, each with a small picture beside it."""
    folder = HERE / "variants"
    edge, corner, photo = small(CRETE, "crete-edges"), small(CRETE, "crete-corners"), small(SICILY, "sicily-photo")
    for sample, extension in ((edge, ".png"), (corner, ".gif"), (photo, ".jpg")):
        draw_map.draw(sample, countries, folder / f"{sample.name}{extension}")
    for sample in (edge, corner):
        # The outer edges of the picture: one past its last column and row.
        right, bottom = sample.width, sample.height
        pixels = [(0, 0), (right, 0), (0, bottom), (right, bottom)]
        (west, north), _, _, (east, south) = places = sample.lonlat(pixels)
        path = folder / f"{sample.name}.cal"
        sides = (west, north, east, south)
        files.write(path, files.edge_cal(*sides) if sample is edge else files.corner_cal("crete-corners.gif", *sides))
        checks.add(sample, path, pixels, places)
    terms = [round(term, 10) for term in photo.plane]
    path = folder / "sicily-photo.jgw"
    files.write(path, files.world_file(terms), "\n")
    checks.add(photo, path, photo.corners(), photo.to_wgs84(placed(photo.corners(), terms)))


def main():
    with tempfile.TemporaryDirectory() as folder:
        countries = fetch_outlines(folder)
    for sample in (IBERIA, WALES, SICILY, CRETE):
        (HERE / sample.name).mkdir(exist_ok=True)
        draw_map.draw(sample, countries, HERE / sample.name / f"{sample.name}.png")
    (HERE / "variants").mkdir(exist_ok=True)
    checks = Checks()
    for make in (iberia, wales, sicily, crete):
        make(checks)
    variants(checks, countries)
    checks.write()


if __name__ == "__main__":
    main()
