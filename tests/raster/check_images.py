#!/usr/bin/python3
"""Images in every layout that common programs write, beside GDAL's and Pillow's pixels, and damaged ones.

Usage: check_images.py build/decode_images [DAMAGED [EVERY]]
Every valid image (or every so many) has to come out right or be refused with a reason where its pixels are no colours. No
damaged one may end the program, take more than 5 seconds, or 1 GB beyond what its pixels need.
"""

import os
import random
import struct
import subprocess
import sys
import tempfile

import numpy
from osgeo import gdal
from PIL import Image, ImageFile

gdal.UseExceptions()
gdal.PushErrorHandler("CPLQuietErrorHandler")
ImageFile.LOAD_TRUNCATED_IMAGES = False
WIDTH, HEIGHT = 43, 37  # no multiple of anything
TOLERANCE = 3
LOSSY = (".jpg", "JPEG", "WEBP", "LAB", "Lab")  # by their mean difference; any other image by its largest

DTYPES = {8: "uint8", 16: "uint16", 32: "uint32"}
# Bands, bits, type, options.
SAMPLES = [(1, bits, f"grey{bits}", []) for bits in (1, 2, 3, 4, 6, 8, 9, 12, 15, 16, 20, 32)]
SAMPLES += [(1, bits, f"white{bits}", ["PHOTOMETRIC=MINISWHITE"]) for bits in (1, 2, 4, 8, 12, 16, 32)]
SAMPLES += [(1, bits, f"palette{bits}", ["PHOTOMETRIC=PALETTE"]) for bits in (1, 2, 4, 8)]
SAMPLES += [(3, bits, f"rgb{bits}", ["PHOTOMETRIC=RGB"]) for bits in (2, 4, 5, 8, 12, 16, 32)]
SAMPLES += [(4, bits, f"rgba{bits}", ["PHOTOMETRIC=RGB", "ALPHA=YES"]) for bits in (4, 8, 16, 32)]
SAMPLES += [(4, bits, f"premultiplied{bits}", ["PHOTOMETRIC=RGB", "ALPHA=PREMULTIPLIED"]) for bits in (8, 16)]
SAMPLES += [(4, 8, "infrared", ["PHOTOMETRIC=RGB", "ALPHA=NO"])]
SAMPLES += [(2, bits, f"alpha{bits}", ["ALPHA=YES"]) for bits in (1, 4, 8, 16)]
SAMPLES += [(n, bits, f"bands{n}_{bits}", ["PHOTOMETRIC=MINISBLACK", "ALPHA=NO"]) for n in (2, 3, 5) for bits in (1, 8, 16)]
SAMPLES += [(4, bits, f"cmyk{bits}", ["PHOTOMETRIC=CMYK"]) for bits in (8, 16)]
LAYOUTS = [
    ["INTERLEAVE=" + interleave] + tiles
    for interleave in ("PIXEL", "BAND")
    for tiles in (["BLOCKYSIZE=16"], ["TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=32"])
]
COMPRESSIONS = ["NONE", "LZW", "DEFLATE", "PACKBITS", "ZSTD", "LZMA"]
NO_COLORS = ["int16", "int32", "float32", "float64", "complex64"]
MAGICK = "{source} -type {type} {options}{format}:{path}"


def arrays(bands, bits):
    """Slopes and some noise over the whole range of the samples."""
    noise = numpy.random.default_rng(bands * 100 + bits)
    y, x = numpy.mgrid[0:HEIGHT, 0:WIDTH]
    most = 2**bits - 1
    for band in range(bands):
        slope = ((x * (band + 1) + y * 2) % WIDTH) / (WIDTH - 1)
        yield numpy.clip((slope + noise.uniform(-0.02, 0.02, slope.shape)) * most, 0, most)


def memory_dataset(bands, bits, dtype):
    from osgeo import gdal_array

    stack = numpy.array([band.astype(dtype) for band in arrays(bands, bits)])
    dataset = gdal_array.OpenArray(stack)
    if bands == 1 and bits <= 8:
        table = gdal.ColorTable()
        for i in range(2**bits):
            table.SetColorEntry(i, (i * 7 % 256, 255 - i, i * 31 % 256, 255))
        dataset.GetRasterBand(1).SetColorTable(table)
    return dataset


def gdal_tiffs(folder):
    driver = gdal.GetDriverByName("GTiff")
    number = 0
    for bands, bits, name, options in SAMPLES:
        holder = next(size for size in (8, 16, 32) if bits <= size)
        dataset = memory_dataset(bands, bits, DTYPES[holder])
        if not name.startswith("palette"):
            dataset.GetRasterBand(1).SetColorTable(None)
        for layout in LAYOUTS:
            number += 1
            compression = COMPRESSIONS[number % len(COMPRESSIONS)]
            extra = ["COMPRESS=" + compression, f"NBITS={bits}"][: 1 if bits == holder else 2]
            extra += [["BIGTIFF=YES"], ["ENDIANNESS=BIG"], []][number % 3]
            path = f"{folder}/gdal_{name}_{number}.tif"
            driver.CreateCopy(path, dataset, options=options + layout + extra)
            yield path
    special = [(3, "JPEG", "YCBCR"), (3, "JPEG", "RGB"), (1, "JPEG", "MINISBLACK"), (3, "WEBP", "RGB"), (3, "LERC", "RGB")]
    special += [(1, "CCITTRLE", "MINISWHITE"), (1, "CCITTFAX3", "MINISBLACK"), (1, "CCITTFAX4", "MINISWHITE")]
    for bands, compression, photometric in special:
        bits = 1 if compression.startswith("CCITT") else 8
        dataset = memory_dataset(bands, bits, "uint8")
        if bands == 1:
            dataset.GetRasterBand(1).SetColorTable(None)
        for layout in LAYOUTS[:2]:
            path = f"{folder}/gdal_{compression}_{photometric}_{layout[1][0]}.tif"
            options = ["COMPRESS=" + compression, "PHOTOMETRIC=" + photometric, f"NBITS={bits}"] + layout
            driver.CreateCopy(path, dataset, options=options)
            yield path
    for dtype in NO_COLORS:
        dataset = memory_dataset(1, 9, dtype)
        path = f"{folder}/refused_{dtype}.tif"
        driver.CreateCopy(path, dataset)
        yield path


def tiffcp_tiffs(folder, sources):
    options = ["-r 1", "-r 3 -c lzw:2", "-t -w 16 -l 16", "-t -w 32 -l 16 -c zip", "-p separate", "-p contig", "-f lsb2msb"]
    options += ["-B -c packbits", "-8 -L", "-p separate -t -w 16 -l 48 -c zstd"]
    wanted = [s for s in sources if s.endswith(".tif") and "refused" not in s][::7]
    for i, source in enumerate(wanted):
        for j in (i, i + 3, i + 6):
            path = f"{folder}/tiffcp_{j % len(options)}_{os.path.basename(source)}"
            if not subprocess.run(["tiffcp", *options[j % len(options)].split(), source, path], capture_output=True).returncode:
                yield path


def magick_images(folder):
    sizes = f"-size {WIDTH}x{HEIGHT}"
    colored = f"{sizes} plasma:red-blue -seed 1"
    drawn = f"{sizes} xc:white -fill red -draw rectangle_3,3,20,20 -fill blue -draw circle_25,20,25,30"
    faded = f"{sizes} gradient:red-none"
    types = ["Bilevel", "Grayscale", "Palette", "TrueColor"]
    jobs = [(drawn, "tif", t, f"-compress {c} ") for t in types for c in ("None", "LZW", "Zip", "RLE", "JPEG")]
    jobs += [(drawn, "tif", "Bilevel", f"-compress {c} ") for c in ("Fax", "Group4")]
    jobs += [(faded, "tif", "TrueColorAlpha", f"-depth {d} {o}") for d in (8, 16) for o in ("", "-endian MSB ", "-interlace Plane ")]
    jobs += [(colored, "tif", "ColorSeparation", "-colorspace CMYK "), (drawn, "tif", "TrueColor", "-colorspace Lab ")]
    jobs += [(drawn, "tif", "TrueColor", "-colorspace YCbCr "), (drawn, "tif", "TrueColor", "-orient RightTop ")]
    jobs += [(drawn, f, t, f"-compress {c} ") for f in ("bmp2", "bmp3", "bmp") for t in types for c in ("None", "RLE")]
    jobs += [(drawn, "bmp", t, o) for t in ("TrueColor",) for o in ("-define bmp:subtype=RGB565 ", "-define bmp:subtype=RGB555 ")]
    jobs += [(faded, "bmp", "TrueColorAlpha", ""), (faded, "bmp3", "TrueColorAlpha", "")]
    jobs += [(drawn, "png", t, f"-depth {d} {o}") for t in types for d in (1, 2, 4, 8, 16) for o in ("", "-interlace PNG ")]
    jobs += [(faded, "png", t, f"-depth {d} ") for t in ("TrueColorAlpha", "PaletteAlpha", "GrayscaleAlpha") for d in (8, 16)]
    jobs += [(drawn, "gif", t, o) for t in types for o in ("", "-interlace GIF ", "-comment map ")]
    jobs += [(faded, "gif", "PaletteAlpha", "")]
    jobs += [(colored, "jpg", t, f"-quality {q} {o}") for t in types[1::2] for q in (50, 95) for o in ("", "-interlace JPEG ", "-sampling-factor 4:2:0 ")]
    jobs += [(colored, "jpg", "ColorSeparation", "-colorspace CMYK "), (colored, "jpg", "TrueColor", "-orient LeftBottom ")]
    for number, (source, form, kind, options) in enumerate(jobs):
        path = f"{folder}/magick_{number}_{kind}.{form[:3]}"
        words = MAGICK.format(source=source, type=kind, options=options, format=form, path=path).split()
        subprocess.run(["convert-im6.q16"] + [word.replace("_", " ", 1) if "," in word else word for word in words], check=True)
        yield path


def pillow_images(folder):
    bands = [band.astype("uint8") for band in arrays(4, 8)]
    full = Image.merge("RGBA", [Image.fromarray(band) for band in bands])
    pictures = {mode: full.convert("RGB").convert(mode) for mode in ("1", "L", "P", "RGB", "CMYK", "YCbCr", "LA")}
    pictures["RGBA"] = full
    camera = Image.Exif()
    camera[0x0112] = 6  # to be turned
    pictures["I;16"] = Image.fromarray(next(arrays(1, 16)).astype("uint16"))
    for mode, picture in pictures.items():
        for form in ("tif", "png", "bmp", "gif", "jpg"):
            for number, options in enumerate([{"subsampling": 0}, {"subsampling": 0, "compression": "tiff_lzw", "exif": camera}, {"progressive": True, "subsampling": 0}]):
                path = f"{folder}/pillow_{mode.replace(';', '')}_{number}.{form}"
                try:
                    picture.save(path, **options)
                except (OSError, ValueError, KeyError):
                    if os.path.exists(path):
                        os.remove(path)
                    break
                yield path


def run_length_bmps(folder):
    """Runs, single pixels, jumps and ends of lines as they may come, in 4 and 8 bits."""
    chance = random.Random(1)
    for number in range(40):
        bits = 4 if number % 2 else 8
        data = b""
        for _ in range(HEIGHT):
            left = WIDTH
            while left > 0 and chance.random() < 0.95:
                count = chance.randint(1, min(left, 20))
                kind = chance.randrange(4 if number >= 20 else 2)
                if kind == 3:
                    data += bytes([0, 2, count, 0])
                elif kind == 2 or count < 3:
                    data += bytes([count, chance.randrange(256)])
                else:
                    pixels = bytes(chance.randrange(256) for _ in range((count + 1) // 2 if bits == 4 else count))
                    data += bytes([0, count]) + pixels + b"\0" * (len(pixels) % 2)
                left -= count
            data += b"\0\0"
        data += b"\0\1"
        palette = bytes(chance.randrange(256) if i % 4 < 3 else 0 for i in range(4 << bits))
        head = struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, bits, 2 if bits == 4 else 1, len(data), 0, 0, 0, 0)
        offset = 14 + len(head) + len(palette)
        path = f"{folder}/run_length{bits}_{number}.bmp"
        with open(path, "wb") as file:
            file.write(struct.pack("<2sIII", b"BM", offset + len(data), 0, offset) + head + palette + data)
        yield path


def scaled(band, bits):
    return (band >> (bits - 8) if bits >= 8 else band * 255 // (2**bits - 1)).astype(int)


def gdal_pixels(path):
    """Of a TIFF: red, green, blue and opacity."""
    dataset = gdal.Open(path)
    bands = [dataset.GetRasterBand(i + 1) for i in range(dataset.RasterCount)]
    depth = bands[0].ReadAsArray().dtype.itemsize * 8
    bits = int(bands[0].GetMetadataItem("NBITS", "IMAGE_STRUCTURE") or depth)
    values = [band.ReadAsArray().astype("int64") for band in bands]
    kinds = [gdal.GetColorInterpretationName(band.GetColorInterpretation()) for band in bands]
    table = bands[0].GetColorTable()
    alpha = numpy.full(values[0].shape, 255)
    if "Alpha" in kinds:
        alpha = scaled(values[kinds.index("Alpha")], bits)
    if table is not None:
        colors = numpy.array([table.GetColorEntry(i)[:3] for i in range(table.GetCount())])
        return numpy.dstack([*colors[values[0]].transpose(2, 0, 1), alpha])
    shades = [scaled(value, bits) for value, kind in zip(values, kinds) if kind != "Alpha"]
    if dataset.GetMetadataItem("MINISWHITE", "IMAGE_STRUCTURE") == "YES" or bands[0].GetMetadataItem("MINISWHITE", "IMAGE_STRUCTURE"):
        shades = [255 - shade for shade in shades]
    if kinds[0] == "Cyan":
        shades = [(255 - ink) * (255 - shades[3]) // 255 for ink in shades[:3]]
    shades = shades[:3] if len(shades) >= 3 else [shades[0]] * 3
    if any(band.GetMetadataItem("ALPHA", "IMAGE_STRUCTURE") == "PREMULTIPLIED" for band in bands):
        shades = [numpy.where(alpha > 0, numpy.minimum(shade * 255 // numpy.maximum(alpha, 1), 255), shade) for shade in shades]
    return numpy.dstack([*shades, alpha])


def pillow_pixels(path):
    picture = Image.open(path)
    if picture.mode.startswith("I"):
        shade = numpy.array(picture).astype(int) >> 8
        return numpy.dstack([shade, shade, shade, numpy.full_like(shade, 255)])
    return numpy.array(picture.convert("RGBA")).astype(int)


def magick_pixels(path):
    raw = subprocess.run(["convert-im6.q16", path + "[0]", "-colorspace", "sRGB", "-depth", "8", "rgba:-"], capture_output=True, check=True)
    return numpy.frombuffer(raw.stdout, "uint8").reshape(HEIGHT, WIDTH, 4).astype(int)


def difference(path):
    """From the reference that comes nearest: no program reads every layout right."""
    raw = numpy.fromfile(path + ".raw", "uint8").reshape(HEIGHT, WIDTH, 4).astype(int)
    nearest = 255
    for reference in (gdal_pixels if path.endswith(".tif") else pillow_pixels, magick_pixels, gdal_pixels):
        try:
            pixels = reference(path)
        except (RuntimeError, OSError, ValueError, subprocess.SubprocessError):
            continue
        if pixels.shape == raw.shape:  # else turned as its camera data says
            apart = numpy.abs(raw - pixels) * ((raw[..., 3:] > 0) | (pixels[..., 3:] > 0))
            nearest = min(nearest, apart.mean() if any(word in path for word in LOSSY) else apart.max())
        if nearest <= TOLERANCE:
            break
    return nearest


def decode(program, paths, *options):
    """What the program prints for each image; the line that is missing is of the image that ended it."""
    done = subprocess.run([program, *options], input="".join(path + "\n" for path in paths), capture_output=True, text=True, errors="replace")
    lines = [line.split("\t") for line in done.stdout.splitlines()]
    if len(lines) < len(paths):
        lines.append([0, 0, 0, 0, f"ended the program: {done.returncode} {done.stderr[-2000:]}"])
    return list(zip(paths, lines))


def check_valid(program, paths):
    failures, refused = 0, 0
    for path, (_, _, _, _, said) in decode(program, paths, "--raw"):
        name = os.path.basename(path)
        if not os.path.exists(path + ".raw"):
            reason = "no colours" in said
            refused += 1
            fault = "" if reason and "refused" in name else "not loaded: " + said
        else:
            nearest = difference(path)
            fault = f"differs by {nearest:.1f}; {said}" if nearest > TOLERANCE or said or "refused" in name else ""
        if fault:
            failures += 1
            print("FAIL", name, fault)
    print(f"{len(paths)} valid images, {refused} refused, {failures} wrong")
    return failures


def damaged(content, chance):
    content = bytearray(content)
    for _ in range(chance.choice((1, 1, 2, 4, 16))):
        at = chance.randrange(len(content)) if chance.random() < 0.5 else chance.randrange(min(len(content), 200))
        kind = chance.randrange(5)
        if kind == 0:
            content[at] ^= 1 << chance.randrange(8)
        elif kind == 1:
            content[at] = chance.choice((0, 1, 127, 128, 255))
        elif kind == 2:
            content[at : at + 4] = chance.choice((b"\xff\xff\xff\xff", b"\x7f\xff\xff\xff", b"\xff\xff\xff\x7f", b"\0\0\0\0", b"\0\0\x7f\xff", b"\xff\x7f\0\0"))
        elif kind == 3:
            content[at:at] = content[at : at + chance.randrange(1, 40)]
        elif chance.random() < 0.3:
            del content[max(at, 2) :]
    return bytes(content)


def check_damaged(program, folder, paths, count):
    chance = random.Random(count)
    seeds = [(path[-4:], open(path, "rb").read()) for path in paths]
    failures, loaded, portion = 0, 0, 500
    for first in range(0, count, portion):
        made = []
        for i in range(first, min(first + portion, count)):
            ending, content = seeds[i % len(seeds)]
            made.append(f"{folder}/damaged_{i}{ending}")
            with open(made[-1], "wb") as file:
                file.write(damaged(content, chance))
        waiting = made
        while waiting:
            results = decode(program, waiting)
            for path, (width, height, seconds, megabytes, said) in results:
                needed = int(width) * int(height) * 8 / 2**20
                loaded += int(width) > 0
                if float(seconds) > 5 or float(megabytes) - needed > 1024 or "ended the program" in said or "another size" in said:
                    failures += 1
                    kept = os.path.join(tempfile.gettempdir(), "failed_" + os.path.basename(path))
                    os.replace(path, kept)
                    print("FAIL", kept, width, height, seconds, megabytes, said)
            waiting = waiting[len(results) :]
        for path in made:
            if os.path.exists(path):
                os.remove(path)
    print(f"{count} damaged images, {loaded} loaded, {failures} wrong")
    return failures


def main():
    program, count, every = sys.argv[1], int((sys.argv[2:] or [1000])[0]), int((sys.argv[3:] or [1])[0])
    with tempfile.TemporaryDirectory() as folder:
        paths = list(gdal_tiffs(folder))
        paths += tiffcp_tiffs(folder, list(paths))
        paths += magick_images(folder)
        paths += pillow_images(folder)
        paths += run_length_bmps(folder)
        paths = paths[::every]
        failures = check_valid(program, paths)
        failures += check_damaged(program, folder, paths, count)
    sys.exit(failures > 0)


main()
