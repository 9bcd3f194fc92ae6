#!/usr/bin/python3
"""Draws maps with known truth, has the program convert each, and compares everything it writes with the truth.

    tests/drawn_maps.py PROGRAM [COUNT [FIRST]]     maps FIRST to FIRST + COUNT - 1, each drawn from its number

Tie points must agree to the last digit that a format has; what comes from the transform, with the transform of the true
points: their least squares, or what holds for maps in Mercator and for points on one line."""

import math
import os
import pathlib
import re
import shutil
import sys
import tempfile
from collections import Counter

import numpy

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent / "formats"))
from conversion import ENDINGS, blank_image, convert, near, pixels_off, positions, written  # noqa: E402
from drawing import GRIDS, METRES, ROOT, WGS84, DrawnMap, change, earth  # noqa: E402

SHOWN = 10  # failures printed in full


def ordinate(lat):
    return numpy.arcsinh(numpy.tan(numpy.radians(lat)))


class Transform:
    """From pixels to degrees, by the true tie points; `pair`: the two reference points. `leverage`: how many times an
    error of a point comes out at a corner of the image at most."""

    def __init__(self, m, pair):
        self.mercator, self.size, self.ordinates = m.mercator, (m.width, m.height), [0.0, 0.0]
        (x, y), (lon, lat) = m.pixels.T.astype(float), m.lonlat.T
        i, j = pair
        dx, dy, d_lon, d_lat = x[j] - x[i], y[j] - y[i], lon[j] - lon[i], lat[j] - lat[i]
        self.leverage = 1 + 4 * math.hypot(*self.size) / math.hypot(dx, dy)
        if m.mercator:
            slope = (ordinate(lat[j]) - ordinate(lat[i])) / dy
            self.ordinates = [ordinate(lat[i]) + slope * (row - y[i]) for row in (0, m.height)]
            y0, below = numpy.degrees(numpy.arctan(numpy.sinh(self.ordinates)))
            self.terms = [d_lon / dx, 0, 0, (below - y0) / m.height, lon[i] - d_lon / dx * x[i], y0]
        elif not numpy.any(numpy.outer(x - x[0], y - y[0]) - numpy.outer(y - y[0], x - x[0])):
            # On one line: turned, and stretched alike in both directions on the ground.
            mean, e2 = math.radians(lat[i] + lat[j]) / 2, 0.00669438
            ratio = (1 - e2) / (1 - e2 * math.sin(mean) ** 2) / math.cos(mean)  # degree of latitude to one of longitude
            turn = complex(d_lon, d_lat * ratio) / complex(dx, -dy)
            a, d, b, e = turn.real, turn.imag / ratio, turn.imag, -turn.real / ratio
            self.terms = [a, d, b, e, lon[i] - a * x[i] - b * y[i], lat[i] - d * x[i] - e * y[i]]
        else:
            design = numpy.column_stack([numpy.ones(len(x)), x, y])
            (x0, a, b), (y0, d, e) = (numpy.linalg.lstsq(design, values, rcond=None)[0] for values in (lon, lat))
            self.terms = [a, d, b, e, x0, y0]
            weights = numpy.insert(m.corners(), 0, 1, axis=1) @ numpy.linalg.pinv(design)
            self.leverage = numpy.abs(weights).sum(axis=1).max()

    def at(self, pixels):
        return numpy.hstack([pixels, positions(self, pixels)])


class Comparison:
    """Of what is written for map `m`, and said about it, with the truth; `problems` are the differences."""

    def __init__(self, m, folder, status, panel):
        self.m, self.panel, self.problems = m, panel, []
        if status != 0:
            # A world file beyond 180 degrees or a pole, or beyond what its reader takes for metres, need not be read.
            ends = m.corners() @ m.matrix.T + m.offset
            far = ends[0].min() < 0 or ends[0, 0] > 1e6 if m.style.grid else (numpy.abs(ends) > (180, 90)).any()
            self.same("refused", [] if far and not m.style.digit else panel.splitlines()[-1:], [])
            return
        self.files = self.read(folder)
        if not {".txt", ".js"} <= self.files.keys():
            return
        self.fit = Transform(m, self.reference_pair())
        for ending, part, expected, digit in self.expected():
            if ending in self.files:
                self.close(f"{ending} {part}", getattr(self.files[ending], part), expected, digit, self.fit.leverage)
        self.compare_transform()

    def read(self, folder):
        """The files written, by ending. Of the input's own format there is one for another datum, if any."""
        m, kind = self.m, self.m.style.ending.replace("jgw", "tfw").replace("pgw", "tfw")
        own = next((ending for ending in ENDINGS if ending[-3:] == kind), None)
        paths = {ending: folder / f"{m.name}{'wgs84' if ending == own else ''}{ending}" for ending in ENDINGS}
        if kind in ("cal", "gmi", "mcd") or own and m.datum == "WGS 84":
            del paths[own]
        there = set(folder.iterdir()) - {folder / f"{m.name}.{m.style.ending}", folder / f"{m.name}.png"}
        if "beyond a pole" in self.panel and paths.get(".mcd") not in there:
            paths.pop(".mcd", None)
        self.same("files", sorted(path.name for path in there), sorted(path.name for path in paths.values()))
        return {ending: written(path) for ending, path in paths.items() if path in there}

    def same(self, what, value, expected):
        if not numpy.array_equal(value, expected):
            self.problems.append(f"{what}: {value} instead of {expected}")

    def close(self, what, points, expected, digit, leverage):
        """Pixels are the same, positions true to half of `digit` and what inexactness comes to."""
        self.same(f"{what} pixels", points[:, :-2].tolist(), expected[:, :points.shape[1] - 2].tolist())
        if len(points) == len(expected):
            off = points[:, -2:] - expected[:, 2:]
            off[:, 0] = near(off[:, 0], 0)
            cosine = numpy.maximum(1e-9, numpy.cos(numpy.radians(expected[:, 3:])))
            allowed = digit * 0.501 + self.m.exact * leverage / numpy.insert(cosine, 1, 1, axis=1)
            k = numpy.argmax((numpy.abs(off) / allowed).max(axis=1))
            if not (numpy.abs(off) <= allowed).all():
                self.problems.append(f"{what}: {points[k]} instead of {expected[k]}, off by {off[k]} degrees")

    def reference_pair(self):
        """The pair that the text calibration names, when it is one that spans most of the ground."""
        m, named = self.m, self.files[".txt"].points
        pair = [int(numpy.argmax((m.pixels == pixel).all(axis=1))) for pixel in named[:, :2]]
        self.close(".txt points", named, numpy.hstack([m.pixels, m.lonlat])[pair], 1e-6, 1)
        spans = numpy.abs(m.lonlat[:, None] - m.lonlat).prod(axis=2)
        if not m.style.digit or m.style.ending == "mcd":
            self.same(".txt pair", pair, [0, 3] if m.style.digit else [0, 2])
        elif spans[tuple(pair)] < spans.max() * (1 - 1e-6) - 1e-9:
            self.problems.append(f".txt pair: {pair} spans less than another")
        return pair if pair[0] != pair[1] else [0, 1]

    def expected(self):
        """Points with those that are made up for the writers, corners and border; and their last digit."""
        m, at, points = self.m, self.fit.at, numpy.hstack([self.m.pixels, self.m.lonlat])
        (x, y), ways = m.pixels[0], m.pixels - m.pixels[0]
        dx, dy = ways[numpy.abs(ways).sum(axis=1).argmax()]
        beside = lambda pixel: abs(dx * (pixel[1] - y) - dy * (pixel[0] - x))
        on_row_or_column = len(points) == 2 and (points[0, :2] == points[1, :2]).any()
        if on_row_or_column or 2 < len(points) < 30 and not any(map(beside, m.pixels)):
            # The corner furthest from the line that all points lie on, of equals the first.
            points = numpy.vstack([points, at([max(m.corners(), key=beside)])])
        elif len(points) == 2:
            points = numpy.vstack([points, at([(points[1, 0], points[0, 1])])])
        more = numpy.vstack([points, at([points[:, :2].mean(axis=0).round()])]) if len(points) == 3 else points
        corners = at(m.corners())
        held = m.held if len(m.held) else corners
        border = (held if (held[0, :2] != held[2, :2]).all() else corners)[[0, 2]]
        mcd, lon, lat = corners[[0, 2]] * (1, -1, 1, 1) + (0, m.height - 1, 0, 0), near(corners[:, 2], 0), corners[:, 3]
        metre = 0
        if ".mcd" in self.files and ((lat > 49.6) & (lat < 61) & (lon > -9) & (lon < 2)).all():  # whole British metres
            to_degrees = change(f"{GRIDS['british'].projection} {earth(GRIDS['british'].datum)}", WGS84)
            self.files[".mcd"].points[:, 2:] = to_degrees(self.files[".mcd"].points[:, 2:])
            metre = 1 / METRES / math.cos(math.radians(61))
        return ((".jpr", "points", points, 1e-6), (".map", "points", more, 1e-6 / 60), (".map", "corners", held, 1e-6),
                ("_png.cal", "points", more, 1e-6), (".gmi", "points", more, 1e-8), (".gmi", "border", border, 1e-8),
                (".mcd", "points", mcd, metre))

    def compare_transform(self):
        m, fit, script, slack = self.m, self.fit, self.files[".js"], self.m.exact * self.fit.leverage
        for ending, file in self.files.items():
            self.same(f"{ending} Mercator", getattr(file, "mercator", m.mercator), m.mercator)
            self.same(f"{ending} size", getattr(file, "size", fit.size), fit.size)
        self.same(".tfw", getattr(self.files.get(".tfw"), "terms", script.terms), script.terms)
        affine = lambda terms: numpy.hstack([m.corners(), m.corners() @ numpy.reshape(terms[:4], (2, 2)) + terms[4:]])
        self.close(".js terms", affine(script.terms), affine(fit.terms), 1e-9 * sum(fit.size) + 1e-7, fit.leverage)
        if numpy.abs(numpy.subtract(script.ordinates, fit.ordinates)).max() > 1e-9 + slack:
            self.problems.append(f".js ordinates: {script.ordinates} instead of {fit.ordinates}")
        for value, term in zip(getattr(self.files.get(".gmi"), "scale", ()), (fit.terms[0], -fit.terms[3])):
            inexact = 3 * slack / min(fit.size)
            if abs(term) > 2 * inexact and abs(value - 1 / term) > 1e-7 + inexact / (abs(term) - inexact) ** 2:
                self.problems.append(f".gmi scale: {value} instead of {1 / term}")
        a, d, b, e = fit.terms[:4]
        residual = math.sqrt(numpy.square(pixels_off(fit, m.pixels, m.lonlat)).mean())
        said = re.search(r"root mean square ([\d.]+)", self.panel)
        if not said or abs(float(said[1]) - residual) > 0.01 + residual * 0.01 + slack / abs(a * e - b * d) ** 0.5:
            self.problems.append(f"residual: {said and said[1]} instead of {residual:.2f}")
        self.same("mirrored", "mirrored" in self.panel, bool(a * e - b * d > 0))


def check(m, program, home):
    """What the program says about map `m`, and the differences."""
    folder, image = home / m.name, home / f"{m.width}.png"
    if not image.exists():
        blank_image(image, (m.width, m.height))
    folder.mkdir()
    os.link(image, folder / f"{m.name}.png")
    path = folder / f"{m.name}.{m.style.ending}"
    path.write_bytes(m.content)
    status, panel = convert(program, home, path, m.answers)
    problems = Comparison(m, folder, status, panel).problems
    shutil.rmtree(folder)
    return panel, problems


def main():
    if not 2 <= len(sys.argv) <= 4:
        sys.exit(__doc__)
    count, first = (*map(int, sys.argv[2:]), *(300, 0)[len(sys.argv) - 2:])
    failures, kinds = 0, Counter()
    with tempfile.TemporaryDirectory() as home:
        shutil.copy(ROOT / "data/datums.txt", home)
        pathlib.Path(home, "calconv.ini").write_text("WriteWGS84=True\n", encoding="ascii")
        for m in map(DrawnMap, range(first, first + count)):
            panel, problems = check(m, pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(home))
            failures += bool(problems)
            kinds.update({f"{m.style.ending} {m.style.name}: {problem.split(':')[0]}" for problem in problems})
            if problems and failures <= SHOWN:
                content = m.content if m.style.ending == "mcd" else m.content.decode("cp1252").replace("\r", "")
                print(f"\nmap {m.number}: {m.width} x {m.height}, {m.style}", content, panel, *problems, sep="\n")
    print(f"\n{count} maps, {failures} wrong")
    print(*(f"{number:6} {kind}" for kind, number in sorted(kinds.items())), sep="\n")
    return failures > 0


if __name__ == "__main__":
    sys.exit(main())
