"""Draws maps with known truth: a number gives the same map, its calibration file and its true positions every time.

Positions, always longitude and latitude, come from PROJ: from its transverse Mercator, and by the three parameters of
data/datums.txt. UTM zones are all alike, so they are computed around Greenwich."""

import functools
import math
import pathlib
import sys
from collections import namedtuple
from types import SimpleNamespace

import numpy

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "samples"))
import calibration_files as files  # noqa: E402
from conversion import near  # noqa: E402
from sample_maps import WGS84, transform  # noqa: E402

DATUMS = ("European 1950", "Tokyo", "Arc 1950", "South American 1969", "NAD27 CONUS", "Pulkovo 1942 (1)", "Adindan",
          "Old Hawaiian", "Viti Levu 1916", "NZGD1949")
SIZES = ((500, 400), (1023, 767), (640, 2000), (4000, 3000), (16000, 12000))
METRES = 111320  # a degree of latitude
SQUARES = "VWXYZQRSTULMNOPFGHJKABCDE"  # from the south-west, eastwards, then northwards

# A grid: its projection, its datum (None: the file's own), where maps are drawn, how large at most, its name in a .map.
Grid = namedtuple("Grid", "projection datum area metres name")
GRIDS = {
    "utm": Grid("+proj=tmerc +k=0.9996 +x_0=500000", None, None, 150000, "(UTM) Universal Transverse Mercator"),
    "british": Grid("+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000", "Ord Srvy Grt Britn",
                    ((80000, 30000), (640000, 1190000)), 150000, "(BNG) British National Grid"),
    "irish": Grid("+proj=tmerc +lat_0=53.5 +lon_0=-8 +k=1.000035 +x_0=200000 +y_0=250000", "Ireland 1965",
                  ((30000, 30000), (370000, 450000)), 25000, "(IG) Irish Grid"),
}

# What a file states: in which grid ("" is degrees), the last digit of a coordinate (0: all of them), how many points.
Style = namedtuple("Style", "ending name grid digit most datum mercator turned", defaults=(True, False, True))
STYLES = (
    Style("map", "minutes", "", 1e-4 / 60, 30, mercator=True),
    Style("map", "signed", "", 1e-6 / 60, 30),
    Style("map", "fractions", "", 1e-8, 30, mercator=True),
    Style("map", "utm", "utm", 0.01, 30),
    Style("map", "british", "british", 1, 30),
    Style("map", "irish", "irish", 1, 30),
    Style("tfw", "degrees", "", 0, 4, datum=False),
    Style("jgw", "utm", "utm", 0, 4),
    Style("pgw", "british", "british", 0, 4, datum=False),
    Style("jpr", "degrees", "", 1e-6, 30, mercator=True),
    Style("cal", "qv", "", 1e-8, 30, mercator=True),
    Style("cal", "edges", "", 1e-6, 4, datum=False, turned=False),
    Style("cal", "corners", "", 1e-6, 4, datum=False),
    Style("gux", "DEG", "", 1e-5, 9),
    Style("gux", "DM", "", 1e-4 / 60, 9),
    Style("gux", "DMS", "", 1e-2 / 3600, 9),
    Style("gux", "utm", "utm", 1, 9),
    Style("gux", "british", "british", 1, 9),
    Style("imp", "degrees", "", 1e-6, 10, mercator=True),
    Style("imp", "utm", "utm", 0.01, 10),
    Style("gmi", "degrees", "", 1e-8, 30, datum=False),
    Style("mcd", "degrees", "", 1e-9, 2, datum=False, turned=False),
    Style("mcd", "british", "british", 0.01, 2, datum=False, turned=False),
)


@functools.cache
def earth(datum):
    """Ellipsoid and shift by the table of datums."""
    row = next(line for line in (ROOT / "data/datums.txt").read_text("ascii").splitlines()
               if line[:4] == "M E " and line[4:24].strip() == datum)
    d_a, d_f, *shift = map(float, row[25:].split()[1:])
    return f"+a={6378137 - d_a!r} +rf={1 / (21384.6859 / 6378137 - d_f)!r} +towgs84=" + ",".join(map(str, shift))


def degrees_on(datum):
    return "+proj=longlat " + earth(datum)


@functools.cache
def change(source, target):
    return transform(source + " +no_defs", target + " +no_defs")


class DrawnMap:
    """`content` of the calibration file, `answers` to what it makes the program ask; `pixels` and `lonlat`: the tie
    points that it states or implies, and where they are on WGS 84; `held`: the corners that it states, likewise."""

    def __init__(self, number, name="drawn{}"):
        self.number, self.name, self.random = number, name.format(number), numpy.random.default_rng(number)
        self.style = style = self.one_of(STYLES)
        self.width, self.height = self.one_of(SIZES)
        self.mercator = style.mercator and self.chance(0.3)
        # Points in degrees lie on a map that is linear in degrees, or on a sheet in UTM.
        on_sheet = style.digit and style.turned and not self.mercator and self.chance(0.4)
        self.grid = style.grid or ("utm" if on_sheet else "")
        datums = (GRIDS[self.grid].datum,) if self.grid in ("british", "irish") else DATUMS
        self.datum = self.one_of(datums) if style.datum and (self.chance(0.6) or self.grid == "irish") else "WGS 84"
        self.letters = self.grid in ("british", "irish") and self.chance(0.5)
        self.place()
        self.lay()
        self.pick_points()
        self.state()

    def chance(self, part):
        return self.random.random() < part

    def one_of(self, choices):
        return choices[self.random.integers(len(choices))]

    def place(self):
        """The centre, as longitude and latitude and on the plane of the map; zone and hemisphere."""
        self.zone = self.meridian = self.false_northing = 0
        self.exact = 1e-7 if self.grid == "british" else 2e-8  # degrees, what the series of the grids are good for
        if self.grid in ("british", "irish"):
            self.centre, self.origin = (-3, 54), self.random.uniform(*GRIDS[self.grid].area)
            return
        lon, lat = self.random.uniform(-180, 180), math.degrees(math.asin(self.random.uniform(-0.99, 0.99)))
        whim = self.random.random()
        if whim < 0.3:
            lon = near(self.one_of((0, 180, 90, -90)) + self.random.normal(0, 0.3), 0)
        elif whim < 0.5:
            lat = self.random.normal(0, 0.3)
        elif whim < 0.6:
            lat = self.one_of((-1, 1)) * self.random.uniform(78, 90)
        limit = 83 if self.grid else 80 if self.mercator else 90
        self.centre = lon, lat = float(lon), max(-limit, min(limit, lat))
        ordinate = math.degrees(math.asinh(math.tan(math.radians(lat)))) if self.mercator else lat
        self.origin = numpy.array([lon, ordinate])
        if self.grid:
            zone = math.floor((lon + 180) / 6)
            if 55 < abs(lat) < 72 and self.chance(0.3):  # as Norway maps all of itself on zone 33
                zone, self.exact = zone + self.one_of((-2, -1, 1, 2)), 2e-6
            south = (lat < 0) != (abs(lat) < 1 and self.chance(0.5))  # a sheet across the equator keeps its zone
            self.zone, self.meridian, self.false_northing = zone % 60 + 1, zone * 6 - 177, 10000000 * south
            to_grid = change(degrees_on(self.datum), f"{GRIDS['utm'].projection} {earth(self.datum)}")
            self.origin = to_grid([(lon - self.meridian, lat)])[0] + (0, self.false_northing)

    def lay(self):
        """The affine relation between the pixels and the plane."""
        upright = self.mercator or not self.style.turned
        size = numpy.array((self.width, self.height)) - (self.style.name not in ("edges", "corners"))
        metres = 1000 * (GRIDS[self.grid].metres / 1000 if self.grid else 500) ** self.random.random()
        turn = self.one_of((0, 0, 0, 90, 180, 270, *self.random.normal(0, 3, 3), *self.random.uniform(0, 360, 6)))
        c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))
        matrix = numpy.diag((1, -1)) if upright else numpy.array([[c, -s], [-s, -c]])
        if self.chance(0.1):
            matrix = matrix @ numpy.diag(self.one_of(((-1, 1), (1, -1), (-1, -1))))
        if self.chance(0.2) and not upright:
            matrix = numpy.array([[1, self.random.uniform(-0.4, 0.4)], [0, self.random.uniform(0.6, 1.6)]]) @ matrix
        if not self.grid and not self.style.datum and self.chance(0.05):  # the whole earth
            self.centre, self.origin, metres, matrix = (0, 0), numpy.zeros(2), 359.9 * METRES, numpy.diag((1, -1))
        matrix = matrix * metres / max(size)
        if not self.grid:
            narrow = math.cos(math.radians(min(89, abs(self.centre[1]))))
            matrix = numpy.diag((1 / narrow, 1 / narrow if self.mercator else 1)) @ matrix / METRES
            if not self.mercator:  # up to the pole, not beyond it
                reach = numpy.abs(matrix[1]) @ size / 2
                matrix, reach = matrix * min(1, 89 / reach), min(reach, 89)
                self.origin[1] = max(reach - 90, min(90 - reach, self.origin[1]))
        self.matrix, self.offset = matrix.round(12), (self.origin - matrix @ size / 2).round(6 if self.grid else 12)

    def corners(self):
        right, bottom = self.width - 1, self.height - 1
        return [(0, 0), (right, 0), (right, bottom), (0, bottom)]

    def pick_points(self):
        self.pixels = numpy.array(self.corners())
        if self.style.name in ("edges", "corners"):
            self.pixels = numpy.array([(0, 0), (self.width, 0), (0, self.height), (self.width, self.height)])
        elif self.style.digit:
            count = min(self.style.most, self.one_of((2, 3, 4, self.random.integers(5, 31))))
            if count in (3, 4) and self.chance(0.4):
                self.pixels = self.pixels[:count]
                return
            quarters = numpy.resize([(0, 0), (1, 1), (1, 0), (0, 1)], (count, 2))
            part = (quarters + self.random.uniform(0, 0.7, (count, 2))) / 2
            self.pixels = (part * (self.width, self.height)).astype(int)
            if self.style.turned and not self.mercator and self.chance(0.15 if count == 2 else 0.03):  # on one line
                self.pixels[:] = self.pixels[0] + numpy.outer(range(count), self.one_of(((0, 4), (3, 0), (2, 5))))

    def on_own_datum(self, plane):
        """Positions of points of the plane, on the datum of the grid or of the file."""
        if self.mercator:
            latitudes = numpy.degrees(numpy.arctan(numpy.sinh(numpy.radians(plane[:, 1]))))
            return numpy.stack([plane[:, 0], latitudes], axis=1)
        if not self.grid:
            return plane
        datum = GRIDS[self.grid].datum or self.datum
        to_degrees = change(f"{GRIDS[self.grid].projection} {earth(datum)}", degrees_on(datum))
        return to_degrees(plane - (0, self.false_northing)) + (self.meridian, 0)

    def stated(self, pixels, grid, digit):
        """Coordinates of pixels in the grid, or in degrees, to a last digit."""
        values = pixels @ self.matrix.T + self.offset
        if not grid:
            values = self.on_own_datum(values)
            values[:, 0] = near(values[:, 0], 0)
        return numpy.round(values / digit) * digit if digit else values

    def truth(self, stated, grid):
        """Positions on WGS 84 of coordinates as stated."""
        datum = grid and GRIDS[grid].datum or self.datum
        own = self.on_own_datum(stated) if grid else stated.clip((-999, -90), (999, 90))
        lonlat = change(degrees_on(datum), WGS84)(own)
        lonlat[:, 0] = near(lonlat[:, 0], self.centre[0])
        return lonlat

    def state(self):
        """Writes the points down, and computes from what is written where they are."""
        grid, ending = self.style.grid, self.style.ending
        stated = self.stated(self.pixels, grid, self.style.digit)
        self.held, corners, degrees = numpy.empty((0, 4)), numpy.empty((0, 2), dtype=int), []
        if ending == "map" and self.chance(0.5):
            corners = numpy.array(self.corners())[list(self.one_of(((0, 1, 2, 3), (0, 3, 2, 1), (0, 1, 3, 2))))]
            there = self.truth(self.stated(corners, self.grid, 0), self.grid)
            degrees = change(WGS84, degrees_on(self.datum))(there).round(6)
            self.held = numpy.hstack([corners, self.truth(degrees, "")])
        sheet = SimpleNamespace(**vars(self), corners=corners.tolist if ending == "map" else self.corners)
        rows = [(*map(int, pixel), *map(float, place)) for pixel, place in zip(self.pixels, stated)]
        self.content = self.file_content(sheet, rows, degrees)
        south, wgs84 = ("yes" if yes else "no" for yes in (self.false_northing, self.datum == "WGS 84"))
        self.answers = {"pgw": "0\n", "jgw": f"{self.zone}\n{south}\n{wgs84}\n{self.datum}\n"}.get(ending, "")
        # Two points of these span a rectangle; an .mcd numbers its corners by rows.
        if len(stated) == 2 and ending in ("map", "mcd") and (self.pixels[0] != self.pixels[1]).all():
            order = [0, 2, 3, 1] if ending == "mcd" else [0, 1, 2, 3]
            self.pixels, stated = (numpy.vstack([p, (p[1, 0], p[0, 1]), (p[0, 0], p[1, 1])])[order]
                                   for p in (self.pixels, stated))
        self.lonlat = self.truth(stated, grid)
        if not self.style.digit:
            self.held = numpy.hstack([self.pixels, self.lonlat])

    def file_content(self, sheet, rows, held):
        style, mercator, utm, north = self.style, self.mercator, self.style.grid == "utm", not self.false_northing
        if style.ending == "mcd":
            return files.mcd(*((x, self.height - 1 - y, *place) for x, y, *place in rows))
        projection = "Mercator" if mercator else GRIDS[self.grid].name if self.grid else "Latitude/Longitude"
        qv_projection = ("proj", "proj=merc lon_0=0") if mercator else ("frei", "proj=LatLong")
        imp_projection = f"2,UTM,{self.zone}," if utm else "8,Mercator," if mercator else "1,Automatic,"
        imp_zone = f"{self.zone}{'T' if north else 'K'}" if utm else "A"
        gux_points = {"DEG": files.gux_degrees, "DM": files.gux_minutes, "DMS": files.gux_seconds}
        lines = {
            "map": lambda: files.ozi_map(sheet, projection, [self.map_point(*row) for row in rows], held, 1.0),
            "jpr": lambda: files.jpr(sheet, projection, rows),
            "qv": lambda: files.qv_cal(sheet, qv_projection, self.datum, rows),
            "edges": lambda: files.edge_cal(*rows[0][2:], *rows[3][2:]),
            "corners": lambda: [f"$GPM{key},{self.name}.png,{row[2]:.6f},{row[3]:.6f}"
                                for key, row in zip(("TL", "TR", "BL", "BR"), rows)],
            "gux": lambda: files.gux(sheet, [gux_points.get(style.name, self.gux_point)(*row) for row in rows]),
            "imp": lambda: files.imp(sheet, imp_projection, imp_zone, rows, int(not utm), 2 if utm else 6),
            "gmi": lambda: files.gmi(sheet, rows, (0, 0, 0, 0), (0, 0)),
        }.get(style.name if style.ending == "cal" else style.ending,
              lambda: files.world_file([*self.matrix.T.ravel(), *self.offset], 12))()
        return "\r\n".join([*lines, ""]).encode("cp1252")

    def square(self, easting, northing):
        """UTM zone or letters of the square, easting and northing."""
        zone = self.zone or ""
        if self.letters:
            column, row = int(easting // 100000), int(northing // 100000)
            zone = SQUARES[row % 5 * 5 + column % 5]
            if self.grid == "british":
                zone = SQUARES[(row // 5 + 1) * 5 + column // 5 + 2] + zone
            easting, northing = easting % 100000, northing % 100000
        return zone, f"{easting:.2f}", f"{northing:.2f}"

    def map_point(self, *row):
        if self.style.grid:
            return files.map_grid_point(*row[:2], *self.square(*row[2:]), "S" if self.false_northing else "N")
        return {"minutes": files.map_minutes_point, "signed": files.map_signed_point,
                "fractions": files.map_fraction_point}[self.style.name](*row)

    def gux_point(self, x, y, a, b):
        zone, easting, northing = self.square(a, b)
        band = "" if self.grid == "british" else "K" if self.false_northing else self.one_of(("", "T"))
        return f"{'BRITISH' if self.grid == 'british' else 'UTM'} {zone}{band} = {easting} {northing} = {x} {y}"
