"""The lines of calibration files, as the programs that own the formats write them.

Points are rows of pixel x, pixel y and two coordinates as written: longitude and latitude, or easting and northing."""

import math
import struct


def write(path, lines, newline="\r\n", mark=False, ended=True, encoding="cp1252"):
    """`mark` puts a UTF-8 byte-order mark in front; without `ended` the last line has no line end."""
    content = newline.join(lines) + (newline if ended else "")
    path.write_bytes((b"\xef\xbb\xbf" if mark else b"") + content.encode(encoding))


def hemisphere(value, letters):
    return letters[1] if value < 0 else letters[0]


def degrees_minutes(value, places=4):
    degrees, minutes = divmod(round(abs(value) * 60, places), 60)
    return int(degrees), minutes


def degrees_minutes_seconds(value, places=2):
    minutes, seconds = divmod(round(abs(value) * 3600, places), 60)
    return int(minutes // 60), int(minutes % 60), seconds


def map_minutes_point(x, y, lon, lat):
    """The tail of a ".map" point line in degrees and decimal minutes."""
    (d, m), (e, n) = degrees_minutes(lat), degrees_minutes(lon)
    return (f"{x:5d},{y:5d},in, deg,{d:4d},{m:8.4f},{hemisphere(lat, 'NS')},{e:4d},{n:8.4f},{hemisphere(lon, 'EW')}, "
            "grid,   ,           ,           ,N")


def map_fraction_point(x, y, lon, lat):
    """The same with the fraction of a degree as a whole number of hundred-millionths in place of the minutes."""
    (d, m), (e, n) = (divmod(round(abs(value) * 1e8), 10**8) for value in (lat, lon))
    return f"{x},{y},in,deg,{d},{m},{hemisphere(lat, 'NS')},{e},{n},{hemisphere(lon, 'EW')},grid,,,,N"


def map_signed_point(x, y, lon, lat):
    """The same with the sign of south and west before degrees and minutes."""
    angles = []
    for value, letters in ((lat, "NS"), (lon, "EW")):
        (degrees, minutes), sign = degrees_minutes(value, 6), "-" if value < 0 else ""
        angles.append(f"{sign if degrees else ''}{degrees},{sign}{minutes:.6f},{hemisphere(value, letters)}")
    return f"{x},{y},in,deg,{','.join(angles)},grid,,,,N"


def map_grid_point(x, y, zone, easting, northing, half="N"):
    """The same with a grid reference: `zone` is a UTM zone, the letters of a square, or blank."""
    return (f"{x:5d},{y:5d},in, deg,    ,        ,N,    ,        ,W, grid,"
            f"  {zone:>2},{easting:>11},{northing:>11},{half}")


def ozi_map(sample, projection, points, mmpll, metres_per_pixel, slots=30):
    """OziExplorer ".map": `points` are the tails of the point lines, `mmpll` the corners' longitudes and latitudes."""
    image = f"{sample.name}.png"
    lines = ["OziExplorer Map Data File Version 2.2", image, rf"C:\Maps\{sample.name}\{image}", "1 ,Map Code,",
             f"{sample.datum},,   0.0000,   0.0000,WGS 84", "Reserved 1", "Reserved 2", "Magnetic Variation,,,E",
             f"Map Projection,{projection},PolyCal,No,AutoCalOnly,No,BSBUseWPX,No"]
    empty = "     ,     ,in, deg,    ,        ,N,    ,        ,W, grid,   ,           ,           ,N"
    for number in range(1, slots + 1):
        lines.append(f"Point{number:02d},xy," + (points[number - 1] if number <= len(points) else empty))
    lines += ["Projection Setup,,,,,,,,,,", "Map Feature = MF ; Map Comment = MC     These follow if they exist",
              "Track File = TF      These follow if they exist",
              "Moving Map Parameters = MM?    These follow if they exist", "MM0,Yes", "MMPNUM,4"]
    lines += [f"MMPXY,{k},{x},{y}" for k, (x, y) in enumerate(sample.corners(), 1)]
    lines += [f"MMPLL,{k}, {lon:10.6f}, {lat:10.6f}" for k, (lon, lat) in enumerate(mmpll, 1)]
    return lines + [f"MM1B,{metres_per_pixel:.6f}", "MOP,Map Open Position,0,0",
                    f"IWH,Map Image Width/Height,{sample.width},{sample.height}"]


def world_file(terms, places=10, width=0):
    return [f"{term:{width}.{places}f}" for term in terms]


def jpr(sample, projection, points, places=6, extent=True):
    """Memory-Map ".jpr"; `extent` adds the image size."""
    lines = [f"pr={projection}", f"nm={sample.name}.png", "it=png", "sr=254", "st=0.000000", "sn=0.000000",
             "dm=" + sample.datum.replace("WGS 84", "WGS84")]
    lines += [f"rp{k}={lat:.{places}f},{lon:.{places}f},{x},{y}" for k, (x, y, lon, lat) in enumerate(points, 1)]
    return lines + ["vp1=0,0", f"vp3={sample.width},{sample.height}"] if extent else lines


def qv_cal(sample, projection, datum, points, gap=" "):
    """QuoVadis ".cal"; `projection` is its mode and parameters, `datum` name and parameters, `gap` follows "="."""
    mode, parameters = projection
    image = f"{sample.name}.png"
    lines = ["; Calibration File for QV Map", "; generated for a scanned map", f"name = 10 ={gap}{sample.name}",
             f"fname = 10 ={gap}{image}", "nord = 6 = 0.000000",
             f"map_w = 4 = {sample.width}", f"map_h = 4 = {sample.height}",
             f"proj_mode = 10 ={gap}{mode}", f"projparams = 10 ={gap}{parameters}", f"datum1 = 10 ={gap}{datum}"]
    for k, (x, y, _, _) in enumerate(points, 1):
        lines += [f"c{k}_x = 7 ={gap}{x:.6f}", f"c{k}_y = 7 ={gap}{y:.6f}"]
    for k, (_, _, lon, lat) in enumerate(points, 1):
        lines += [f"c{k}_lat = 7 ={gap}{lat:.8f}", f"c{k}_lon = 7 ={gap}{lon:.8f}"]
    return lines


def edge_cal(west, north, east, south):
    return [f"$GPML,{west:.6f}", f"$GPMT,{north:.6f}", f"$GPMR,{east:.6f}", f"$GPMB,{south:.6f}"]


def corner_cal(image, west, north, east, south):
    corners = (("TL", west, north), ("TR", east, north), ("BR", east, south), ("BL", west, south))
    return [f"$GPM{corner},{image},{lon:.6f},{lat:.6f}" for corner, lon, lat in corners]


def gux(sample, points):
    """GPSU ".gux"; `points` are the parts of the lines behind the point's key."""
    lines = ["U  map calibration", f"M E  {sample.datum}", f"S Image = {sample.name}.png"]
    return lines + [f"S CalPoint{k} = {point}" for k, point in enumerate(points, 1)]


def gux_degrees(x, y, lon, lat):
    return f"DEG = {hemisphere(lat, 'NS')}{abs(lat):.5f} {hemisphere(lon, 'EW')}{abs(lon):.5f} = {x} {y}"


def gux_minutes(x, y, lon, lat):
    (d, m), (e, n) = degrees_minutes(lat), degrees_minutes(lon)
    return f"DM = {hemisphere(lat, 'NS')}{d}°{m:07.4f}' {hemisphere(lon, 'EW')}{e}°{n:07.4f}' = {x} {y}"


def gux_seconds(x, y, lon, lat):
    (d, m, s), (e, n, t) = degrees_minutes_seconds(lat), degrees_minutes_seconds(lon)
    return (f"DMS = {hemisphere(lat, 'NS')}{d}°{m:02d}'{s:05.2f}\" "
            f"{hemisphere(lon, 'EW')}{e}°{n:02d}'{t:05.2f}\" = {x} {y}")


def imp(sample, projection, zone, points, coordinates=None, places=6):
    """CompeGPS ".imp"; `coordinates` 1 says longitude and latitude, 0 grid; None leaves the line out."""
    lines = ["CompeGPS MAP File", "<Header>", "Version=7.2", "VerCompeGPS=MAP", f"Projection={projection}"]
    lines += [f"Coordinates={coordinates}"] if coordinates is not None else []
    lines += ["Datum=" + sample.datum.replace("WGS 84", "WGS84"), "</Header>", "<Map>", f"Bitmap={sample.name}.png",
              "BitsPerPixel=0", f"BitmapWidth={sample.width}", f"BitmapHeight={sample.height}", "Type=10", "</Map>",
              "<Calibration>"]
    lines += [f"P{k}={x},{y},{zone},{east:.{places}f},{north:.{places}f}"
              for k, (x, y, east, north) in enumerate(points)]
    lines += ["</Calibration>", "<MainPolygonBitmap>"]
    return lines + [f"M{k}={x},{y}" for k, (x, y) in enumerate(sample.corners())] + ["</MainPolygonBitmap>"]


def gmi(sample, points, border, scale):
    """".gmi": `border` is latitude, longitude of top left and bottom right, `scale` pixels per degree."""
    lines = ["Map Calibration data file v3.0", f"{sample.name}.png", str(sample.width), str(sample.height)]
    lines += [f"{x};{y};{lon:.8f};{lat:.8f}" for x, y, lon, lat in points]
    return lines + ["Border and Scale", ";".join(f"{value:.8f}" for value in border),
                    ";".join(f"{value:.7f}" for value in scale)]


def mcd(first, second, variation=0.0):
    """".mcd": nine little-endian doubles; a point is x, y counted upwards from the bottom row, easting, northing."""
    return struct.pack("<9d", *first, *second, variation)


def metres_per_pixel(first, second):
    """Ground distance of two positions on neighbouring pixels, on a sphere."""
    east = math.radians(second[0] - first[0]) * math.cos(math.radians(first[1]))
    return 6371000 * math.hypot(east, math.radians(second[1] - first[1]))
