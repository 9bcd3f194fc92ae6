"""The maps of this folder: how their pixels lie in a projection, and what is drawn on them."""

import copy

import numpy
from osgeo import osr

osr.UseExceptions()

WGS84 = "+proj=longlat +datum=WGS84 +no_defs"
# A datum by the name that calibration files use: ellipsoid and shift to WGS 84 (NGA TR8350.2).
DATUMS = {
    "WGS 84": "+ellps=WGS84 +towgs84=0,0,0",
    "European 1950": "+ellps=intl +towgs84=-87,-98,-121",
    "Ord Srvy Grt Britn": "+ellps=airy +towgs84=375,-111,431",
}


def reference(proj4):
    system = osr.SpatialReference()
    system.ImportFromProj4(proj4)
    system.SetAxisMappingStrategy(osr.OAMS_TRADITIONAL_GIS_ORDER)
    return system


def transform(source, target):
    change = osr.CoordinateTransformation(reference(source), reference(target))
    return lambda points: numpy.array(change.TransformPoints([tuple(map(float, p)) for p in points]))[:, :2]


class Sample:
    """One map: an affine relation between pixel centres and a plane `projection` on `datum`.

    `plane` is (A, D, B, E, C, F) in world-file order: X = A x + B y + C, Y = D x + E y + F."""

    def __init__(self, name, size, datum, projection, plane, **drawing):
        self.name, (self.width, self.height), self.datum, self.plane = name, size, datum, plane
        a, d, b, e, c, f = plane
        self.matrix, self.origin = numpy.array([[a, b], [d, e]]), numpy.array([c, f])
        crs = f"{projection} {DATUMS[datum]} +no_defs"
        own = f"+proj=longlat {DATUMS[datum]} +no_defs"
        self.to_wgs84, self.from_wgs84 = transform(crs, WGS84), transform(WGS84, crs)
        self.to_own, self.own_to_wgs84 = transform(crs, own), transform(own, WGS84)
        self.home, self.graticule = drawing.pop("home"), drawing.pop("graticule")
        self.seas, self.regions, self.towns = drawing.pop("seas"), drawing.pop("regions"), drawing.pop("towns")
        self.grid_step, self.grid_names = drawing.pop("grid_step", 0), drawing.pop("grid_names", ())
        assert not drawing

    def grid_at(self, x, y):
        return self.matrix @ (x, y) + self.origin

    def pixel_of_grid(self, easting, northing):
        return numpy.linalg.solve(self.matrix, numpy.array([easting, northing]) - self.origin)

    def pixels(self, lonlat):
        """Pixel positions (not rounded) of WGS 84 longitudes and latitudes."""
        return [self.pixel_of_grid(*point) for point in self.from_wgs84(lonlat)]

    def lonlat(self, pixels):
        """WGS 84 longitude and latitude of pixel positions."""
        return self.to_wgs84([self.grid_at(x, y) for x, y in pixels])

    def corners(self):
        """Top left, top right, bottom right, bottom left."""
        right, bottom = self.width - 1, self.height - 1
        return [(0, 0), (right, 0), (right, bottom), (0, bottom)]

    def surroundings(self):
        """West, south, east, north of a box that holds the map with a margin."""
        edge = [(x * self.width, y * self.height) for x in numpy.linspace(0, 1, 9) for y in (0, 1)]
        edge += [(x * self.width, y * self.height) for y in numpy.linspace(0, 1, 9) for x in (0, 1)]
        lonlat = self.lonlat(edge)
        west, south = lonlat.min(axis=0) - 0.3
        east, north = lonlat.max(axis=0) + 0.3
        return west, south, east, north


def small(sample, name):
    """The same map at half the size, without names of places."""
    half = copy.copy(sample)
    half.name, half.width, half.height = name, sample.width // 2, sample.height // 2
    half.matrix, half.origin = sample.matrix * 2, sample.grid_at(0.5, 0.5)
    half.plane = (*half.matrix.T.ravel(), *half.origin)
    half.seas, half.regions, half.towns, half.graticule = (), (), (), 1
    return half


def rotated_plane(size, pixel, degrees, centre):
    """World-file terms of a picture turned clockwise by `degrees` against the grid, around its centre."""
    turn = numpy.radians(degrees)
    a, d, b, e = pixel * numpy.array([numpy.cos(turn), -numpy.sin(turn), -numpy.sin(turn), -numpy.cos(turn)])
    x, y = (size[0] - 1) / 2, (size[1] - 1) / 2
    return a, d, b, e, centre[0] - a * x - b * y, centre[1] - d * x - e * y


def mercator_plane(degrees_per_pixel, west, north):
    """World-file terms in metres of a north-up map in Mercator, from its top left pixel."""
    plane = transform(WGS84, "+proj=merc " + DATUMS["WGS 84"])
    (x, y), (next_x, _) = plane([(west, north), (west + degrees_per_pixel, north)])
    return next_x - x, 0.0, 0.0, x - next_x, x, y


IBERIA = Sample(
    "iberia", (800, 700), "WGS 84", "+proj=merc", mercator_plane(0.0185, -10.1, 44.6),
    home=("Spain", "Portugal"), graticule=2,
    seas=[("ATLANTIC\nOCEAN", -8.9, 36.4, 15, 0), ("Bay of Biscay", -4.6, 44.05, 15, 0),
          ("MEDITERRANEAN SEA", 1.4, 37.6, 15, 0), ("Balearic Sea", 2.0, 40.45, 11, 0),
          ("Strait of Gibraltar", -7.0, 35.9, 10, 0)],
    regions=[("SPAIN", -3.9, 39.35, 24), ("PORTUGAL", -8.05, 40.15, 12), ("FRANCE", 1.3, 43.85, 18),
             ("MOROCCO", -4.9, 34.86, 13), ("ALGERIA", 1.6, 35.5, 15)],
    towns=[("Lisbon", -9.139, 38.722, 0), ("Porto", -8.611, 41.150, 0), ("Madrid", -3.704, 40.417, 0),
           ("Barcelona", 2.173, 41.385, 1), ("Valencia", -0.376, 39.470, 1), ("Seville", -5.984, 37.389, 0),
           ("Bilbao", -2.935, 43.263, 0), ("A Coruña", -8.411, 43.362, 0), ("Málaga", -4.421, 36.721, 0.5),
           ("Gibraltar", -5.354, 36.140, 0), ("Palma", 2.650, 39.569, 0), ("Zaragoza", -0.889, 41.649, 0),
           ("Toulouse", 1.444, 43.605, 0), ("Algiers", 3.059, 36.754, 1), ("Oran", -0.633, 35.697, 0),
           ("Andorra", 1.522, 42.507, 0), ("Salamanca", -5.664, 40.965, 0), ("Murcia", -1.131, 37.984, 1)])

WALES = Sample(
    "wales", (520, 600), "Ord Srvy Grt Britn",
    "+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000",
    (400.0, 0.0, 0.0, -400.0, 152000.0, 402000.0),
    home=("United Kingdom",), graticule=0.5, grid_step=100000,
    grid_names=[("SH", 283000, 345000), ("SN", 275000, 222000), ("SS", 222000, 180000), ("SJ", 335000, 362000),
                ("SO", 333000, 222000), ("ST", 348000, 182000), ("SM", 176000, 250000), ("SR", 176000, 176000)],
    seas=[("IRISH SEA", -5.2, 53.35, 15, 0), ("Cardigan\nBay", -4.75, 52.45, 15, 0),
          ("Bristol Channel", -4.15, 51.42, 13, 0)],
    regions=[("WALES", -3.62, 52.14, 22), ("ENGLAND", -2.88, 52.55, 14)],
    towns=[("Cardiff", -3.179, 51.482, 1), ("Swansea", -3.944, 51.621, 0), ("Aberystwyth", -4.083, 52.415, 0),
           ("Holyhead", -4.633, 53.309, 0), ("Liverpool", -2.990, 53.408, 1), ("Newport", -2.998, 51.588, 1),
           ("Wrexham", -2.992, 53.046, 1), ("Bangor", -4.129, 53.228, 0), ("Fishguard", -4.976, 51.994, 0),
           ("Pembroke", -4.915, 51.674, 0), ("Brecon", -3.391, 51.948, 0), ("Hereford", -2.716, 52.056, 1),
           ("Shrewsbury", -2.754, 52.708, 1), ("Pwllheli", -4.417, 52.889, 0), ("Carmarthen", -4.306, 51.857, 0),
           ("Newtown", -3.314, 52.512, 0)])

SICILY = Sample(
    "sicily", (680, 480), "European 1950", "+proj=utm +zone=33",
    rotated_plane((680, 480), 480.0, 4.0, (427000.0, 4160000.0)),
    home=("Italy",), graticule=1,
    seas=[("TYRRHENIAN SEA", 13.35, 38.47, 16, -3), ("IONIAN SEA", 15.72, 37.28, 15, -3),
          ("MEDITERRANEAN SEA", 13.3, 36.75, 15, -3), ("Strait of\nMessina", 15.62, 37.86, 10, -3)],
    regions=[("SICILY", 13.95, 37.7, 22), ("CALABRIA", 15.93, 38.33, 9), ("▲ Etna", 14.995, 37.73, 12)],
    towns=[("Palermo", 13.361, 38.116, 0.5), ("Catania", 15.087, 37.503, 0), ("Messina", 15.554, 38.194, 1),
           ("Syracuse", 15.287, 37.075, 0), ("Trapani", 12.515, 38.018, 0), ("Agrigento", 13.577, 37.311, 0),
           ("Enna", 14.275, 37.567, 0), ("Gela", 14.250, 37.067, 0.5),
           ("Ragusa", 14.727, 36.926, 1), ("Reggio", 15.647, 38.111, 0), ("Cefalù", 14.022, 38.039, 0.5),
           ("Lipari", 14.953, 38.467, 0), ("Marsala", 12.435, 37.799, 0)])

CRETE = Sample(
    "crete", (560, 260), "WGS 84", "+proj=longlat", (0.00625, 0.0, 0.0, -0.005, 23.2, 35.9),
    home=("Greece",), graticule=0.5,
    seas=[("SEA OF CRETE", 24.9, 35.66, 15, 0), ("LIBYAN SEA", 25.1, 34.75, 15, 0)],
    regions=[("CRETE", 24.85, 35.17, 16)],
    towns=[("Heraklion", 25.144, 35.339, 0.5), ("Chania", 24.018, 35.514, 0), ("Rethymno", 24.474, 35.365, 0.5),
           ("Agios Nikolaos", 25.717, 35.191, 1), ("Sitia", 26.105, 35.208, 0), ("Ierapetra", 25.735, 35.011, 0),
           ("Gavdos", 24.084, 34.838, 0)])
