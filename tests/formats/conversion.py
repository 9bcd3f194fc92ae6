"""Runs a batch and reads what it writes, sharing nothing with the program. Points: pixel x, y, longitude, latitude."""

import os
import pty
import re
import struct
import subprocess
from types import SimpleNamespace as File

import numpy
from osgeo import gdal

ENDINGS = (".tfw", ".js", ".jpr", ".map", "_png.cal", ".gmi", ".mcd", ".txt")
gdal.UseExceptions()


def blank_image(path, size):
    driver = gdal.GetDriverByName("JPEG" if path.suffix == ".jpg" else "PNG")
    driver.CreateCopy(str(path), gdal.GetDriverByName("MEM").Create("", *size))


def convert(program, home, path, answers):
    """Exit status, and what is said. Questions come on a terminal only."""
    person, keyboard = pty.openpty()
    os.write(person, answers.encode())
    typed = keyboard if answers else subprocess.DEVNULL
    run = subprocess.run([program, path], env={"VELLANDRA_HOME": str(home)}, stdin=typed,
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60, check=False)
    os.close(person)
    os.close(keyboard)
    return run.returncode, run.stdout.decode("utf-8", "replace")


def numbers(texts):
    return [float(text) for text in texts]


def written(path):
    """What is in the file: terms, points, corners, size and more, as far as the format has them."""
    if path.suffix == ".mcd":
        return File(points=numpy.array(struct.unpack("<8d", path.read_bytes()[:64])).reshape(2, 4))
    lines = path.read_bytes().decode("cp1252").splitlines()
    values = dict(re.split(" = (?:10 = |7 = )?|=", line, maxsplit=1) for line in lines if "=" in line)
    match path.suffix:
        case ".tfw":
            return File(terms=numbers(lines))
        case ".js":
            return File(terms=numbers(values[key] for key in ("tf1", "tf2", "tf3", "tf4", "x0", "y0")),
                        ordinates=numbers((values["my0"], values["my1"])), mercator=values["proj"] == "'M'",
                        size=(int(values["wide"]), int(values["high"])))
        case ".jpr":
            points = [numbers(values[key].split(",")) for key in values if key.startswith("rp")]
            return File(points=numpy.array(points)[:, [2, 3, 1, 0]], mercator=values["pr"] == "mercator")
        case ".map":
            rows = [[field.strip() for field in line.split(",")] for line in lines]
            angle = lambda f, k: (float(f[k]) + float(f[k + 1]) / 60) * (-1 if f[k + 2] in "SW" else 1)
            points = [(*numbers(f[2:4]), angle(f, 9), angle(f, 6)) for f in rows if f[0].startswith("Point") and f[2]]
            corners = [[numbers(f[2:4]) for f in rows if f[0] == key] for key in ("MMPXY", "MMPLL")]
            return File(points=numpy.array(points), corners=numpy.hstack(corners), mercator="Mercator" in rows[8],
                        size=next(tuple(numbers(f[2:4])) for f in rows if f[0] == "IWH"))
        case ".cal":
            count = sum(key.endswith("_x") for key in values)
            points = [numbers(values[f"c{k + 1}_{part}"] for part in ("x", "y", "lon", "lat")) for k in range(count)]
            return File(points=numpy.array(points), mercator="proj=merc" in values["projparams"])
        case ".gmi":
            rows = [numbers(line.split(";")) if ";" in line else line for line in lines]
            end = rows.index("Border and Scale")
            return File(points=numpy.array(rows[4:end]), size=(int(rows[2]), int(rows[3])),
                        border=numpy.array(rows[end + 1])[[1, 0, 3, 2]].reshape(2, 2), scale=sum(rows[end + 2:], []))
        case ".txt":
            values = {re.sub(r"ref(\d)(\w)", r"\2\1", key): value for key, value in values.items()}
            points = [numbers(values[key + k] for key in ("x", "y", "lon", "lat")) for k in "12"]
            return File(points=numpy.array(points), size=(int(values["width"]), int(values["height"])))


def near(longitudes, centre):
    """The same meridians within 180 degrees of `centre`."""
    return centre + (numpy.asarray(longitudes) - centre + 180) % 360 - 180


def positions(transform, pixels):
    """Longitudes and latitudes of `pixels` by terms, ordinates and size, as a script has them."""
    (x, y), (a, d, b, e, c, f) = numpy.transpose(pixels).astype(float), transform.terms
    if not transform.mercator:
        return numpy.stack([a * x + b * y + c, d * x + e * y + f], axis=1)
    top, bottom = transform.ordinates
    ordinates = top + (bottom - top) * y / transform.size[1]
    return numpy.stack([a * x + c, numpy.degrees(numpy.arctan(numpy.sinh(ordinates)))], axis=1)


def pixels_off(transform, pixels, lonlat):
    """Distances in pixels between `pixels` and the positions of the same places."""
    there, (a, d, b, e, _, _) = positions(transform, pixels), transform.terms
    if transform.mercator:
        top, bottom = numpy.degrees(transform.ordinates)
        e = (bottom - top) / transform.size[1] * numpy.cos(numpy.radians(there[:, 1]))
    lon, lat = near(lonlat[:, 0] - there[:, 0], 0), lonlat[:, 1] - there[:, 1]
    return numpy.hypot(lon * e - lat * b, lat * a - lon * d) / numpy.abs(a * e - b * d)
