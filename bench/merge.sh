#!/usr/bin/env bash
# Merges large maps with the program and with gdalwarp on all cores, in turn, and prints seconds and peak memory.
# Usage: bench/merge.sh [SIDE]   (pixels of each map's sides; 8000)
# gdalwarp paints into a copy of the base map as TIFF; copying is not counted. The program also opens PNG, reduces the
# colours and writes PNG: "merge" is the part that gdalwarp does, "open" and "save" are the rest.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_merge

side=${1:-8000}
/usr/bin/python3 - "$root/bench" "$folder" "$side" <<'END'
import math, sys

sys.path.insert(0, sys.argv[1])
from synthetic_map import Map, ordinate

folder, side = sys.argv[2], int(sys.argv[3])
pixel = 1e-5
maps = {
    "base": Map(side, side, 5, 50, pixel, -pixel),
    "base-mercator": Map(side, side, 5, ordinate(50), pixel, -math.radians(pixel), mercator=True),
    "north-up": Map(side, side, 5.00123, 49.99877, pixel, -pixel),
}
for name, degrees in (("turned", 20), ("across", 85)):
    cosine, sine = math.cos(math.radians(degrees)) * pixel, math.sin(math.radians(degrees)) * pixel
    # About the middle of the base map.
    x0 = 5 + (side * pixel - side * (cosine + sine)) / 2
    y0 = 50 - (side * pixel - side * (cosine - sine)) / 2
    maps[name] = Map(side, side, x0, y0, cosine, -cosine, sine, sine)
for seed, (name, map) in enumerate(maps.items()):
    map.write(f"{folder}/{name}", map.picture(seed))
END

printf 'Maps of %s x %s pixels, decoded %s KB each, on %s cores\n' "$side" "$side" $((side * side * 3 / 1024)) "$(nproc)"
for pair in "base north-up" "base turned" "base across" "base-mercator turned"; do
  read -r base merge <<<"$pair"
  cp "$folder/$base.tif" "$folder/canvas.tif"
  measure 44 "$base + $merge: gdalwarp" gdalwarp -q -r bilinear -multi -wo NUM_THREADS=ALL_CPUS -wm 1000 \
    "$folder/$merge.tif" "$folder/canvas.tif"
  measure 44 "$base + $merge: without reducing colours" "$root/build/bench_merge" --exact \
    "$folder/$base.map" "$folder/$merge.map" 50 keep "$folder/merged.png"
done
measure 44 "base + turned: as the command does" "$root/build/bench_merge" "$folder/base.map" "$folder/turned.map" 50 keep \
  "$folder/reduced.png"
