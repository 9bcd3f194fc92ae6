"""Draws one sample map: land, sea, borders, a labelled graticule and names, as a PNG (or GIF, JPEG) with a palette."""

import json
import math

import cairo
import numpy
from osgeo import gdal

gdal.UseExceptions()

SEA = ("#c3dcea", "#d2e6f0", "#e0eff5")  # open sea, then two steps of shallower blue towards the coast
SHALLOWS = (9.0, 4.0)                    # pixels from the coast where those steps begin
LAND, HOME = "#ece6d6", "#f8f1d9"        # neighbours; the country that the map is about
COAST, BORDER, GRATICULE, GRID = "#41718f", "#a55f86", "#8aa5b5", "#b9a06a"
INK, SEA_INK, HALO = "#3a3a3a", "#4d7f9e", "#ffffff"
PALETTE_SIZE = 64


class Countries:
    """Country outlines from a TopoJSON file: rings by country name, and the arcs as coasts and borders."""

    def __init__(self, path):
        with open(path, encoding="utf-8") as source:
            topology = json.load(source)
        scale, translate = topology["transform"]["scale"], topology["transform"]["translate"]
        self.arcs = [numpy.cumsum(numpy.array(arc), axis=0) * scale + translate for arc in topology["arcs"]]
        uses = numpy.zeros(len(self.arcs), int)
        self.rings = []
        for country in topology["objects"]["countries"]["geometries"]:
            polygons = country["arcs"] if country["type"] == "MultiPolygon" else [country.get("arcs", [])]
            for polygon in polygons:
                for ring in polygon:
                    for arc in ring:
                        uses[arc if arc >= 0 else ~arc] += 1
                    self.rings.append((country["properties"]["name"], self._join(ring)))
        self.coasts = [arc for arc, count in zip(self.arcs, uses) if count == 1]
        self.borders = [arc for arc, count in zip(self.arcs, uses) if count > 1]

    def _join(self, ring):
        """The arcs of a ring in one run; a negative number is an arc walked backwards."""
        return numpy.concatenate([self.arcs[arc] if arc >= 0 else self.arcs[~arc][::-1] for arc in ring])


def colour(text):
    return tuple(int(text[i:i + 2], 16) / 255 for i in (1, 3, 5))


def near(line, box):
    west, south, east, north = box
    low, high = line.min(axis=0), line.max(axis=0)
    return low[0] < east and high[0] > west and low[1] < north and high[1] > south


def trace(context, sample, lonlat):
    for x, y in sample.pixels(lonlat):
        context.line_to(x + 0.5, y + 0.5)


def land_mask(sample, countries, box):
    surface = cairo.ImageSurface(cairo.FORMAT_A8, sample.width, sample.height)
    context = cairo.Context(surface)
    for _, ring in countries.rings:
        if near(ring, box):
            trace(context, sample, ring)
            context.close_path()
    context.fill()
    pixels = numpy.frombuffer(surface.get_data(), numpy.uint8).reshape(sample.height, surface.get_stride())
    return pixels[:, :sample.width] >= 128


def distance_to(mask):
    """Distance of every pixel from the nearest set one, in pixels."""
    height, width = mask.shape
    source = gdal.GetDriverByName("MEM").Create("", width, height)
    source.GetRasterBand(1).WriteArray(mask.astype(numpy.uint8))
    target = gdal.GetDriverByName("MEM").Create("", width, height, 1, gdal.GDT_Float32)
    gdal.ComputeProximity(source.GetRasterBand(1), target.GetRasterBand(1), ["VALUES=1"])
    return target.GetRasterBand(1).ReadAsArray()


def draw_sea(context, sample, countries, box):
    """The sea in steps of blue, as a picture under everything else."""
    distance = distance_to(land_mask(sample, countries, box))
    blues = (numpy.array([colour(text) for text in SEA]) * 255).round().astype(numpy.uint32)
    step = sum((distance < limit).astype(int) for limit in SHALLOWS)
    rgb = blues[step]
    packed = numpy.ascontiguousarray(rgb[..., 0] << 16 | rgb[..., 1] << 8 | rgb[..., 2])
    stride = cairo.ImageSurface.format_stride_for_width(cairo.FORMAT_RGB24, sample.width)
    surface = cairo.ImageSurface.create_for_data(packed, cairo.FORMAT_RGB24, sample.width, sample.height, stride)
    context.set_source_surface(surface)
    context.paint()


def draw_land(context, sample, countries, box):
    for name, ring in countries.rings:
        if near(ring, box):
            trace(context, sample, ring)
            context.close_path()
            context.set_source_rgb(*colour(HOME if name in sample.home else LAND))
            context.fill_preserve()
            context.set_line_width(0.6)  # closes the hairline between neighbours
            context.stroke()
    for lines, ink, width, dashes in ((countries.borders, BORDER, 1.2, (5, 2.5)), (countries.coasts, COAST, 1.0, ())):
        context.set_source_rgb(*colour(ink))
        context.set_line_width(width)
        context.set_dash(dashes)
        for line in lines:
            if near(line, box):
                trace(context, sample, line)
                context.stroke()
    context.set_dash(())


def text(context, words, x, y, size, ink=INK, family="DejaVu Sans", italic=False, bold=False, align=0.0, turn=0.0):
    """One line of text with a pale halo; `align` 0 starts at x, 0.5 centres, 1 ends there. `turn` in degrees."""
    context.save()
    context.select_font_face(family, cairo.FONT_SLANT_ITALIC if italic else cairo.FONT_SLANT_NORMAL,
                             cairo.FONT_WEIGHT_BOLD if bold else cairo.FONT_WEIGHT_NORMAL)
    context.set_font_size(size)
    context.translate(x, y)
    context.rotate(math.radians(turn))
    context.move_to(-align * context.text_extents(words).x_advance, 0)
    context.text_path(words)
    context.set_line_join(cairo.LINE_JOIN_ROUND)
    context.set_line_width(2.6)
    context.set_source_rgba(*colour(HALO), 0.6)
    context.stroke_preserve()
    context.set_source_rgb(*colour(ink))
    context.fill()
    context.restore()


def degrees_text(value, letters):
    letter = letters[value < 0] if value else ""
    whole, minutes = divmod(round(abs(value) * 60), 60)
    return f"{whole}°{minutes:02d}'{letter}" if minutes else f"{whole}°{letter}"


def multiples(low, high, step):
    return [k * step for k in range(math.ceil(low / step), math.floor(high / step) + 1)]


def draw_graticule(context, sample, box):
    """Parallels are labelled where they enter on the left, meridians where they enter at the bottom."""
    west, south, east, north = box
    lines = [(degrees_text(lat, "NS"), True, [(west + (east - west) * t, lat) for t in numpy.linspace(0, 1, 600)])
             for lat in multiples(south, north, sample.graticule)]
    lines += [(degrees_text(lon, "EW"), False, [(lon, south + (north - south) * t) for t in numpy.linspace(0, 1, 600)])
              for lon in multiples(west, east, sample.graticule)]
    context.set_source_rgba(*colour(GRATICULE), 0.9)
    context.set_line_width(0.8)
    for _, _, points in lines:
        trace(context, sample, points)
        context.stroke()
    for words, parallel, points in lines:
        inside = [(x, y) for x, y in sample.pixels(points)
                  if 0 <= x < sample.width and 0 <= y < sample.height]
        if not inside:
            continue
        x, y = inside[0]
        if parallel and x < 3 and 20 < y < sample.height - 30:
            text(context, words, 5, y - 3, 10.5, SEA_INK)
        elif not parallel and y > sample.height - 3 and 20 < x < sample.width - 45:
            text(context, words, x + 3, sample.height - 6, 10.5, SEA_INK)


def draw_grid(context, sample):
    """The lines of a metric grid, `sample.grid_step` metres apart, and names in the middle of its squares."""
    context.set_source_rgb(*colour(GRID))
    context.set_line_width(1.0)
    corners = numpy.array([sample.grid_at(x, y) for x in (0, sample.width) for y in (0, sample.height)])
    (west, south), (east, north) = corners.min(axis=0), corners.max(axis=0)
    for easting in multiples(west, east, sample.grid_step):
        context.move_to(*(sample.pixel_of_grid(easting, south) + 0.5))
        context.line_to(*(sample.pixel_of_grid(easting, north) + 0.5))
    for northing in multiples(south, north, sample.grid_step):
        context.move_to(*(sample.pixel_of_grid(west, northing) + 0.5))
        context.line_to(*(sample.pixel_of_grid(east, northing) + 0.5))
    context.stroke()
    for words, easting, northing in sample.grid_names:
        x, y = sample.pixel_of_grid(easting, northing)
        text(context, words, x, y, 26, GRID, bold=True, align=0.5)


def draw_names(context, sample):
    for words, lon, lat, size, turn in sample.seas:
        (x, y), = sample.pixels([(lon, lat)])
        for k, line in enumerate(words.split("\n")):
            below = y + k * size * 1.25
            text(context, line, x, below, size, SEA_INK, "DejaVu Serif", italic=True, align=0.5, turn=turn)
    for words, lon, lat, size in sample.regions:
        (x, y), = sample.pixels([(lon, lat)])
        text(context, words, x, y, size, "#9a8f73", "DejaVu Serif", bold=True, align=0.5)
    for words, lon, lat, align in sample.towns:
        (x, y), = sample.pixels([(lon, lat)])
        context.arc(x + 0.5, y + 0.5, 2.4, 0, 2 * math.pi)
        context.set_source_rgb(*colour(HALO))
        context.fill_preserve()
        context.set_source_rgb(*colour("#b03a2e"))
        context.set_line_width(1.4)
        context.stroke()
        text(context, words, x + (6, 0, -5)[round(align * 2)], y + (4, -6, 4)[round(align * 2)], 11, align=align)


def paletted(rgb):
    """Picks the commonest colours that are not alike, and gives every pixel the nearest of them."""
    packed = rgb[..., 0].astype(int) << 16 | rgb[..., 1].astype(int) << 8 | rgb[..., 2]
    values, inverse, counts = numpy.unique(packed, return_inverse=True, return_counts=True)
    colours = numpy.stack([values >> 16, values >> 8 & 255, values & 255], axis=1)
    alike, chosen = 60, []
    for k in numpy.argsort(-counts):
        if all(((colours[k] - colours[c]) ** 2).sum() > alike for c in chosen):
            chosen.append(k)
        if len(chosen) == PALETTE_SIZE:
            break
    palette = colours[chosen]
    nearest = ((colours[:, None, :] - palette[None]) ** 2).sum(axis=2).argmin(axis=1)
    return palette, nearest[inverse].reshape(packed.shape).astype(numpy.uint8)


def save(rgb, path):
    """Writes `path` in the format of its extension; JPEG has no palette."""
    height, width = rgb.shape[:2]
    memory = gdal.GetDriverByName("MEM")
    if path.suffix == ".jpg":
        picture = memory.Create("", width, height, 3)
        for band in range(3):
            picture.GetRasterBand(band + 1).WriteArray(rgb[..., band])
        driver, options = "JPEG", ["QUALITY=80"]
    else:
        palette, indices = paletted(rgb)
        picture = memory.Create("", width, height, 1)
        table = gdal.ColorTable()
        for k, entry in enumerate(palette):
            table.SetColorEntry(k, tuple(int(part) for part in entry) + (255,))
        picture.GetRasterBand(1).SetColorTable(table)
        picture.GetRasterBand(1).WriteArray(indices)
        driver, options = ("GIF", []) if path.suffix == ".gif" else ("PNG", ["ZLEVEL=9"])
    gdal.SetConfigOption("GDAL_PAM_ENABLED", "NO")
    gdal.GetDriverByName(driver).CreateCopy(str(path), picture, options=options)


def draw(sample, countries, path):
    """Draws `sample` (see `Sample` in make_samples.py) and writes the picture to `path`."""
    surface = cairo.ImageSurface(cairo.FORMAT_RGB24, sample.width, sample.height)
    context = cairo.Context(surface)
    box = sample.surroundings()
    draw_sea(context, sample, countries, box)
    draw_land(context, sample, countries, box)
    draw_graticule(context, sample, box)
    if sample.grid_step:
        draw_grid(context, sample)
    draw_names(context, sample)
    context.rectangle(0.5, 0.5, sample.width - 1, sample.height - 1)
    context.set_source_rgb(*colour(INK))
    context.set_line_width(1)
    context.stroke()
    surface.flush()
    pixels = numpy.frombuffer(surface.get_data(), numpy.uint8).reshape(sample.height, surface.get_stride() // 4, 4)
    save(pixels[:, :sample.width, 2::-1], path)
