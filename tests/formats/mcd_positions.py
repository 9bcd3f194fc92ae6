#!/usr/bin/python3
"""Unpacks a written .mcd and prints "longitude latitude" of its two corners.

Usage: mcd_positions.py FILE WIDTH HEIGHT. British metres go through PROJ with the grid's own three shifts.
"""

import struct
import sys

from osgeo import osr

osr.UseExceptions()
BRITISH = ("+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000 +ellps=airy "
           "+towgs84=375,-111,431 +units=m +no_defs")

path, width, height = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
x1, y1, east1, north1, x2, y2, east2, north2, variation = struct.unpack("<9d", open(path, "rb").read())
assert (x1, y1, x2, y2) == (0, height - 1, width - 1, 0), "the corners, counted from the bottom row"
assert variation == 0
corners = [(east1, north1), (east2, north2)]
if max(abs(east1), abs(east2)) > 180:
    grid, wgs84 = osr.SpatialReference(), osr.SpatialReference()
    grid.ImportFromProj4(BRITISH)
    wgs84.ImportFromProj4("+proj=longlat +datum=WGS84 +no_defs")
    corners = [osr.CoordinateTransformation(grid, wgs84).TransformPoint(*corner)[:2] for corner in corners]
for longitude, latitude in corners:
    print(f"{longitude:.9f} {latitude:.9f}")
