#!/usr/bin/env python3
"""Checks the program's coordinate conversions against PROJ (cs2cs, Debian package proj-bin).

    tests/geodesy/compare_with_proj.py            computes the rows of tests/fixtures/geodesy anew, compares them with
                                                  the committed ones, and runs the tests that read them, once built
    tests/geodesy/compare_with_proj.py --write    writes the rows
"""

import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FIXTURES = ROOT / "tests/fixtures/geodesy"
TESTS = ROOT / "build/vellandra_tests"
FILTER = "DatumTable.*:DatumShift.*:Utm.*:BritishGrid.*:IrishGrid.*:Mercator.*:AngleFormat.*"
PROJ_CHANGED = 1e-4  # metres, or 1e-9 degrees: a row that moved by more than this is reported

sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "data"))
from make_datums import column_name, read_parameters  # noqa: E402

WGS84 = "+proj=longlat +datum=WGS84"


def cs2cs(source, target, points, decimals):
    """Converts pairs (x or longitude, y or latitude); returns pairs of texts."""
    command = ["cs2cs", "-f", f"%.{decimals}f", *source.split(), "+to", *target.split()]
    lines = "".join(f"{x} {y}\n" for x, y in points)
    output = subprocess.run(command, input=lines, capture_output=True, text=True, check=True).stdout
    return [line.split()[:2] for line in output.splitlines()]


def utm_rows():
    source = "+proj=longlat {0}"
    target = "+proj=utm +zone=ZONE [+south] {0}"
    latitudes = (-84, -67.25, -45.5, -12.125, -0.000001, 0, 0.5, 27.75, 45, 55.5, 69.25, 80.125, 84)
    rows = []
    for zone, offsets in ((1, (-3, 0.75)), (30, (-1.5, 2.9999)), (31, (-3, 0, 3)), (60, (-2.25, 3))):
        for ellipsoid in ("WGS84",) if zone != 31 else ("WGS84", "intl", "bessel", "clrk66"):
            for lat in latitudes:
                south = " +south" if lat < 0 else ""
                points = [((zone - 30) * 6 - 3 + offset, lat) for offset in offsets]
                ell = f"+ellps={ellipsoid}"
                to = target.format(ell).replace("ZONE", str(zone)).replace(" [+south]", south)
                for (lon, _), (x, y) in zip(points, cs2cs(source.format(ell), to, points, 5)):
                    rows.append(f"{zone} {lat} {lon} {x} {y} {ellipsoid}")
    command = f"cs2cs -f %.5f {source.format('+ellps=ELLIPSOID')} +to {target.format('+ellps=ELLIPSOID')}"
    return [command, "zone latitude longitude easting northing ellipsoid"], rows


def british_rows():
    target = ("+proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000 "
              "+ellps=airy +towgs84=375,-111,431 +units=m")
    points = [(lon, lat) for lat in (49.75, 50.5, 51.5, 53.25, 55, 57.125, 58.5, 60.875)
              for lon in (-7.75, -6.25, -3.5, -2, -0.125, 1.75)]
    grid = cs2cs(WGS84, target, points, 5)
    back = cs2cs(target, WGS84, grid, 10)
    rows = [f"{lat} {lon} {e} {n} {lat2} {lon2}"
            for (lon, lat), (e, n), (lon2, lat2) in zip(points, grid, back)]
    return [f"cs2cs -f %.5f {WGS84} +to {target}; then back from the grid, height 0 again",
            "latitude longitude easting northing latitude-back longitude-back"], rows


def irish_rows():
    source = "+proj=tmerc +lat_0=53.5 +lon_0=-8 +k=1.000035 +x_0=200000 +y_0=250000 +ellps=mod_airy +units=m"
    target = "+proj=longlat +ellps=mod_airy"
    points = [(easting, northing) for easting in (10000, 125000.5, 200000, 315904, 375000)
              for northing in (12345, 150000, 234671, 398765.25, 460000)]
    rows = [f"{e} {n} {lat} {lon}" for (e, n), (lon, lat) in zip(points, cs2cs(source, target, points, 10))]
    return [f"cs2cs -f %.10f {source} +to {target}", "easting northing latitude longitude"], rows


def datum_rows():
    source = "+proj=longlat +a={0} +rf={1} +towgs84={2},{3},{4}"
    rows = []
    for row in read_parameters(ROOT / "data/datum_parameters.csv"):
        figures = [row[key] for key in ("semi_major_axis_m", "inverse_flattening", "dx_m", "dy_m", "dz_m")]
        points = [(-8.25, 51.5), (151.125, -33.75), (-100.5, 17)]
        for (lon, lat), (x, y) in zip(points, cs2cs(source.format(*figures), WGS84, points, 10)):
            rows.append(f"{lat} {lon} {y} {x} {column_name(row['name']).rstrip()}")
    return [f"cs2cs -f %.10f {source.format('A', 'RF', 'DX', 'DY', 'DZ')} +to {WGS84}",
            "figures from data/datum_parameters.csv, height 0",
            "latitude longitude latitude-on-WGS-84 longitude-on-WGS-84 datum"], rows


SETS = {
    "utm.txt": utm_rows,
    "british_grid.txt": british_rows,
    "irish_grid.txt": irish_rows,
    "datum_shift.txt": datum_rows,
}


def numbers(row):
    result = []
    for text in row.split():
        try:
            result.append(float(text))
        except ValueError:
            break
    return result


def largest_difference(rows, committed):
    """Of two lists of rows, in metres (a degree is taken as 100 km); None when they are not the same rows."""
    if len(rows) != len(committed):
        return None
    largest = 0.0
    for new, old in zip(rows, committed):
        if len(new.split()) != len(old.split()) or len(numbers(new)) != len(numbers(old)):
            return None
        for a, b in zip(numbers(new), numbers(old)):
            largest = max(largest, abs(a - b) * (100000 if abs(a) <= 360 else 1))
    return largest


def compare():
    failed = False
    for name, make in SETS.items():
        _, rows = make()
        text = (FIXTURES / name).read_text(encoding="ascii")
        committed = [line for line in text.splitlines() if not line.startswith("#")]
        difference = largest_difference(rows, committed)
        same = difference is not None and difference <= PROJ_CHANGED
        failed |= not same
        verdict = "other rows than PROJ's" if difference is None else f"largest difference {difference:.6f} m"
        print(f"{name}: {len(rows)} rows, {verdict}{'' if same else '  <-- differs'}")
    if TESTS.exists():
        failed |= subprocess.run([TESTS, f"--gtest_filter={FILTER}"], check=False).returncode != 0
    else:
        print("The tests are not built: run ./test first to compare the program with these rows.")
    return 1 if failed else 0


def write():
    for name, make in SETS.items():
        remarks, rows = make()
        remarks = ["Computed with PROJ by tests/geodesy/compare_with_proj.py:"] + remarks
        lines = [f"# {line}" for line in remarks] + rows
        (FIXTURES / name).write_text("\n".join(lines) + "\n", encoding="ascii")
        print(f"{name}: {len(rows)} rows")
    return 0


if __name__ == "__main__":
    sys.exit(write() if sys.argv[1:] == ["--write"] else compare())
