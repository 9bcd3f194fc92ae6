#!/usr/bin/env python3
"""Writes datums.txt, the datum table of the program, from a list of datum parameters.

    data/make_datums.py data/datum_parameters.csv

The columns of the list: name, ellipsoid, semi-major axis (m), inverse flattening, dX, dY, dZ (m), region.
"""

import csv
import pathlib
import sys

NAME_COLUMNS = 20
WGS84_A = 6378137.0
WGS84_FLATTENING = 21384.6859 / 6378137.0  # the program's own figure
LIMIT = 200  # rows the program takes

# In 20 columns both would read "AUSTRALIAN GEODETIC ", and a map on the one would silently be shifted by the other.
# Under a name that no file uses neither is met by accident: the person is asked.
SHORTENED = {
    "Australian Geodetic 1966": "Australian Geod 1966",
    "Australian Geodetic 1984": "Australian Geod 1984",
}

HEADER = """\
Datums and their shift to WGS 84, one a row. The program reads the rows that begin with the mark "M" blank "E",
everything else is a remark.

  columns 1 to 3    the mark
  columns 5 to 24   the name under which calibration files know the datum, in any case
  from column 26    fields parted by blanks:
    ellipsoid       for the reader of this file only; no blanks in it
    dA              6378137 m less the semi-major axis of the ellipsoid, metres
    dF              flattening of WGS 84 (21384.6859/6378137) less that of the ellipsoid, not scaled
    dX dY dZ        metres, added to the datum's geocentric X, Y, Z to give those of WGS 84

At most 200 rows. Of two rows with the same name the later one counts. A longer name is cut to its first 20 columns,
and so is the name in a calibration file before it is looked up. The two Australian Geodetic datums would be equal
then: here they are "Geod", so that a map on either makes the program ask.

Figures: NGA TR8350.2 and the EPSG register. Made by make_datums.py from datum_parameters.csv: change that instead."""


def read_parameters(path):
    """The rows of the list as dictionaries."""
    with open(path, newline="", encoding="utf-8") as file:
        return list(csv.DictReader(file))


def column_name(name):
    """`name` as it stands in the name columns."""
    return SHORTENED.get(name, name)[:NAME_COLUMNS].ljust(NAME_COLUMNS)


def differences(row):
    """dA in metres and dF of the row's ellipsoid."""
    if row["ellipsoid"] == "WGS 84":
        return 0.0, 0.0
    return WGS84_A - float(row["semi_major_axis_m"]), WGS84_FLATTENING - 1 / float(row["inverse_flattening"])


def table_row(row, ellipsoid_width):
    d_a, d_f = differences(row)
    shifts = "".join(f" {float(row[key]):9.2f}" for key in ("dx_m", "dy_m", "dz_m"))
    ellipsoid = row["ellipsoid"].replace(" ", "_")
    return f"M E {column_name(row['name'])} {ellipsoid:{ellipsoid_width}} {d_a:10.4f} {d_f:18.15f}{shifts}"


def datums_text(rows):
    names = [column_name(row["name"]).upper() for row in rows]
    equal = sorted({name for name in names if names.count(name) > 1})
    if equal:
        sys.exit(f"equal in {NAME_COLUMNS} columns: {', '.join(equal)}")
    if len(rows) > LIMIT:
        sys.exit(f"{len(rows)} rows, the program takes {LIMIT}")
    width = max(len(row["ellipsoid"]) for row in rows)
    lines = [("# " + line).rstrip() for line in HEADER.splitlines()]
    return "\n".join(lines + [""] + [table_row(row, width) for row in rows]) + "\n"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    rows = read_parameters(sys.argv[1])
    path = pathlib.Path(__file__).with_name("datums.txt")
    path.write_bytes(datums_text(rows).encode("ascii"))
    for row in rows:
        if column_name(row["name"]).rstrip() != row["name"]:
            print(f"{row['name']} -> {column_name(row['name'])}")
    print(f"{path.name}: {len(rows)} datums")


if __name__ == "__main__":
    main()
