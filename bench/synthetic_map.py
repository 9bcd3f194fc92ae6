"""Maps made up for measuring and comparing: a picture with lines and gradients, and its calibration as ".map"."""

import math
import os

import numpy
from osgeo import gdal, osr

gdal.UseExceptions()

RADIUS = 6378137.0
SPHERE = f"+proj=longlat +R={RADIUS} +no_defs"
SPHERE_MERCATOR = f"+proj=merc +R={RADIUS} +no_defs"


def ordinate(latitude):
    return math.asinh(math.tan(math.radians(latitude)))


def latitude_of(m):
    return math.degrees(math.atan(math.sinh(m)))


class Map:
    """A map of width x height pixels; whole pixel numbers are the middle of pixels.

    Linear: longitude = x0 + tf1 x + tf3 y, latitude = y0 + tf2 x + tf4 y. Mercator: y0 and tf4 in Mercator ordinates.
    """

    def __init__(self, width, height, x0, y0, tf1, tf4, tf2=0.0, tf3=0.0, mercator=False):
        self.width, self.height, self.mercator = width, height, mercator
        self.x0, self.y0, self.tf1, self.tf2, self.tf3, self.tf4 = x0, y0, tf1, tf2, tf3, tf4

    def position(self, x, y):
        longitude = self.x0 + self.tf1 * x + self.tf3 * y
        second = self.y0 + self.tf2 * x + self.tf4 * y
        return (latitude_of(second) if self.mercator else second), longitude

    def pixel(self, latitude, longitude):
        """Also for arrays."""
        if self.mercator:
            m = numpy.arcsinh(numpy.tan(numpy.radians(latitude)))
            return (longitude - self.x0) / self.tf1, (m - self.y0) / self.tf4
        determinant = self.tf1 * self.tf4 - self.tf2 * self.tf3
        east, north = longitude - self.x0, latitude - self.y0
        return ((east * self.tf4 - north * self.tf3) / determinant, (north * self.tf1 - east * self.tf2) / determinant)

    def positions(self):
        y, x = numpy.mgrid[0 : self.height, 0 : self.width].astype(float)
        longitude = self.x0 + self.tf1 * x + self.tf3 * y
        second = self.y0 + self.tf2 * x + self.tf4 * y
        return (numpy.degrees(numpy.arctan(numpy.sinh(second))) if self.mercator else second), longitude

    def shifted(self, left, top, width, height):
        """The same grid with columns and rows added at the left and at the top."""
        x0 = self.x0 - self.tf1 * left - self.tf3 * top
        y0 = self.y0 - self.tf2 * left - self.tf4 * top
        return Map(width, height, x0, y0, self.tf1, self.tf4, self.tf2, self.tf3, self.mercator)

    def geotransform(self):
        """For GDAL, which counts from the corner of the first pixel."""
        unit_x = math.radians(1) * RADIUS if self.mercator else 1
        unit_y = RADIUS if self.mercator else 1
        x0 = self.x0 - 0.5 * self.tf1 - 0.5 * self.tf3
        y0 = self.y0 - 0.5 * self.tf2 - 0.5 * self.tf4
        return [x0 * unit_x, self.tf1 * unit_x, self.tf3 * unit_x, y0 * unit_y, self.tf2 * unit_y, self.tf4 * unit_y]

    def picture(self, seed):
        """Bands of three channels, each a soft pattern with straight lines in it, and no colour of 250 and more."""
        y = numpy.arange(self.height, dtype=numpy.float32)[:, None]
        x = numpy.arange(self.width, dtype=numpy.float32)[None, :]
        bands = []
        for band in range(3):
            wave = 23.0 + 7 * band + seed
            values = 120 + 70 * numpy.sin(x / wave) * numpy.cos(y / (wave + 5)) + 30 * numpy.sin((x + y) / 57)
            pixels = values.astype(numpy.uint8)
            pixels[:: 61 + band, :] = 30
            pixels[:, :: 67 + seed] = 220
            bands.append(pixels)
        return bands

    def write(self, base_path, bands):
        """BASE.png and BASE.map for the program, BASE.tif with the same georeferencing for GDAL."""
        spatial_reference = osr.SpatialReference()
        spatial_reference.ImportFromProj4(SPHERE_MERCATOR if self.mercator else SPHERE)
        options = ["INTERLEAVE=PIXEL", "PHOTOMETRIC=RGB", "TILED=YES"]
        dataset = gdal.GetDriverByName("GTiff").Create(base_path + ".tif", self.width, self.height, 3, options=options)
        dataset.SetProjection(spatial_reference.ExportToWkt())
        dataset.SetGeoTransform(self.geotransform())
        for number, pixels in enumerate(bands, 1):
            dataset.GetRasterBand(number).WriteArray(pixels)
        dataset.FlushCache()
        gdal.GetDriverByName("PNG").CreateCopy(base_path + ".png", dataset, options=["ZLEVEL=1"])
        with open(base_path + ".map", "w", newline="", encoding="ascii") as file:
            file.write("".join(line + "\r\n" for line in self.map_lines(os.path.basename(base_path) + ".png")))

    def map_lines(self, image):
        lines = ["OziExplorer Map Data File Version 2.2", image, image, "1 ,Map Code,", "WGS 84,WGS 84,0,0,WGS 84"]
        lines += ["Reserved 1", "Reserved 2", "Magnetic Variation, , , E"]
        projection = "Mercator" if self.mercator else "Latitude / Longitude"
        lines.append(f"Map Projection, {projection}, Polycal, No, AutoCalOnly, No, BSBUseWPX, No")
        right, bottom = self.width - 1, self.height - 1
        for number, (x, y) in enumerate([(0, 0), (right, 0), (right, bottom), (0, bottom)], 1):
            latitude, longitude = self.position(x, y)
            north, east = "S" if latitude < 0 else "N", "W" if longitude < 0 else "E"
            degrees, minutes = divmod(abs(latitude) * 60, 60)
            degrees_east, minutes_east = divmod(abs(longitude) * 60, 60)
            lines.append(
                f"Point{number:02},xy,{x},{y},in, deg,{degrees:.0f},{minutes:.9f},{north},"
                f"{degrees_east:.0f},{minutes_east:.9f},{east}, grid, , , ,N"
            )
        lines.append(f"IWH,Map Image Width/Height,{self.width},{self.height}")
        return lines
