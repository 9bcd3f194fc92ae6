#!/usr/bin/python3
"""Reads the tiles of a map as other programs do and compares where they lie with the map's calibration.

Usage: check_tiles.py [--overlays] [--mercator] BASE WIDTH HEIGHT X0 TF1 TF3 Y0 TF2 TF4
BASE.kmz is a Garmin Custom Map, BASE_tiles a TrekBuddy set; longitude = x0 + tf1 x + tf3 y, latitude = y0 + tf2 x +
tf4 y, on a Mercator map so at its first and behind its last row. The corners of every Garmin tile, the middles of its
edges and its own have to lie within a pixel, but for tiles that BASE.panel names and whose pixels are off; of a
TrekBuddy map within a tenth, or a fifth on a Mercator map. The tiles have to cover the map once, and nothing else may be in the archive. With
--overlays only BASE_tiles/doc.kml is read, and how far its tiles are off is printed.
"""

import math
import os
import re
import sys
import zipfile
from xml.etree import ElementTree

from osgeo import gdal

gdal.UseExceptions()
KML = "{http://www.opengis.net/kml/2.2}"

overlays_only = "--overlays" in sys.argv
mercator = "--mercator" in sys.argv
base, *numbers = (argument for argument in sys.argv[1:] if not argument.startswith("--"))
width, height = map(int, numbers[:2])
x0, tf1, tf3, y0, tf2, tf4 = map(float, numbers[2:])


def ordinate(latitude):
    return math.asinh(math.tan(math.radians(latitude)))


def pixel(latitude, longitude):
    middle = x0 + tf1 * width / 2 + tf3 * height / 2
    east, north = (longitude - middle + 180) % 360 - 180 + middle - x0, latitude - y0
    if mercator:
        top, bottom = ordinate(y0), ordinate(y0 + tf4 * height)
        return east / tf1, (ordinate(latitude) - top) / (bottom - top) * height
    determinant = tf1 * tf4 - tf2 * tf3
    return (east * tf4 - north * tf3) / determinant, (north * tf1 - east * tf2) / determinant


PLACES = [(across, down) for across in (0, 0.5, 1) for down in (0, 0.5, 1)]


def places(box):
    """Latitudes and longitudes of places in a LatLonBox, turned counterclockwise on the ground."""
    north, south, east, west, rotation = (float(box.find(KML + n).text) for n in ("north", "south", "east", "west", "rotation"))
    assert 90 >= north > south >= -90 and east > west and east > -180 and west < 180 and -180 <= rotation <= 180
    latitude, longitude = (north + south) / 2, (east + west) / 2
    shortening = math.cos(math.radians(latitude))
    turn = complex(math.cos(math.radians(rotation)), math.sin(math.radians(rotation)))
    for across, down in PLACES:
        moved = complex((across - 0.5) * (east - west) * shortening, (0.5 - down) * (north - south)) * turn
        yield latitude + moved.imag, longitude + moved.real / shortening


def left_top(name):
    return tuple(map(int, re.fullmatch(re.escape(os.path.basename(base)) + r"_(\d+)_(\d+)\.(?:jpg|png)", name).groups()))


def pixels_off(overlay, tile):
    """Between the places of the turned box and of the tile, at most."""
    left, top, w, h = tile
    found = places(overlay.find(KML + "LatLonBox"))
    return max(math.dist((left + x * w, top + y * h), pixel(*place)) for (x, y), place in zip(PLACES, found))


def overlays(document):
    for overlay in ElementTree.fromstring(document).iter(KML + "GroundOverlay"):
        yield overlay, overlay.find(f"{KML}Icon/{KML}href").text


def check_cover(tiles):
    """Tiles as left, top, width, height."""
    assert sum(w * h for _, _, w, h in tiles) == width * height, tiles
    seen = bytearray(width * height)
    for left, top, w, h in tiles:
        assert left + w <= width and top + h <= height, (left, top, w, h)
        for y in range(top, top + h):
            row = y * width + left
            assert not any(seen[row : row + w]), (left, top)
            seen[row : row + w] = b"\1" * w


def print_overlays():
    worst = 0
    with open(base + "_tiles/doc.kml", "rb") as file:
        for overlay, href in overlays(file.read()):
            image = gdal.Open(f"{base}_tiles/{href}")
            tile = (*left_top(os.path.basename(href)), image.RasterXSize, image.RasterYSize)
            worst = max(worst, pixels_off(overlay, tile))
    print(f"{worst:.3f}")


def check_garmin():
    archive = zipfile.ZipFile(base + ".kmz")
    assert archive.testzip() is None
    names = [name for name in archive.namelist() if not name.endswith("/")]
    with open(base + ".panel", encoding="utf-8") as file:
        named = set(re.findall(r"\w+_\d+_\d+", "".join(line for line in file if "cannot place" in line)))
    tiles, misplaced, worst = [], set(), 0
    for overlay, href in overlays(archive.read("doc.kml")):
        names.remove(href)
        image = gdal.Open(f"/vsizip/{{{base}.kmz}}/{href}")
        tiles.append((*left_top(os.path.basename(href)), image.RasterXSize, image.RasterYSize))
        off = pixels_off(overlay, tiles[-1])
        worst = max(worst, off)
        if off > 1:
            misplaced.add(overlay.find(KML + "name").text)
    assert names == ["doc.kml"], names
    check_cover(tiles)
    print(f"Garmin: {len(tiles)} tiles, off by {worst:.3f} pixels at most, named: {sorted(named)}")
    assert misplaced == named, misplaced


def check_trekbuddy():
    folder, name = base + "_tiles/", os.path.basename(base)
    # GDAL knows this projection under a name without blanks only; the points are what is compared.
    with open(folder + name + ".map", newline="", encoding="latin-1") as file:
        text = file.read().replace("Latitude / Longitude", "Latitude/Longitude").replace("Map Projection, ", "Map Projection,")
    with open(folder + "for-gdal.map", "w", newline="", encoding="latin-1") as file:
        file.write(text)
    image = gdal.Open(folder + "for-gdal.map")
    assert (image.RasterXSize, image.RasterYSize) == (width, height)
    transformer = gdal.Transformer(image, None, ["MAX_GCP_ORDER=1", "DST_SRS=OGC:CRS84"])
    worst = 0
    for x, y in ((0, 0), (width, 0), (width, height), (0, height), (width // 2, height // 3)):
        done, (longitude, latitude, _) = transformer.TransformPoint(0, x, y)
        assert done
        worst = max(worst, math.dist((x, y), pixel(latitude, longitude)))
    os.remove(folder + "for-gdal.map")
    tiles = []
    with open(folder + name + ".set", newline="", encoding="utf-8") as file:
        listed = file.read().split("\r\n")
    assert listed.pop() == ""
    for tile in listed:
        opened = gdal.Open(folder + "set/" + tile)
        tiles.append((*left_top(tile), opened.RasterXSize, opened.RasterYSize))
    check_cover(tiles)
    print(f"TrekBuddy: {len(tiles)} tiles, the map off by {worst:.4f} pixels at most")
    assert worst < (0.2 if mercator else 0.1)  # GDAL's Mercator is of the ellipsoid


if overlays_only:
    print_overlays()
else:
    check_garmin()
    check_trekbuddy()
