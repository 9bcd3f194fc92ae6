#!/usr/bin/env bash
# Prints how many pixels the corners of Garmin tiles are off on turned maps, as check_tiles.py reads them.
# Usage: bench/overlays.sh [SIDE]   (pixels of the map's sides; 2000)
# A box and a rotation are exact where a pixel is as wide as high on the ground. Where it is as wide as high in degrees,
# as on maps drawn without a projection, they are not once the map is turned.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_tiles

side=${1:-2000} tile=1024
export VELLANDRA_HOME=$folder
cp "$root/data/datums.txt" "$folder"

make_map() {  # LATITUDE metres|degrees DEGREES: prints the terms of its transform
  /usr/bin/python3 - "$root/bench" "$folder/map" "$side" "$@" <<'END'
import math, sys

sys.path.insert(0, sys.argv[1])
from synthetic_map import Map

side, latitude, angle, pixel = int(sys.argv[3]), float(sys.argv[4]), math.radians(float(sys.argv[6])), 1e-5
cosine, sine = math.cos(angle) * pixel, math.sin(angle) * pixel
wider = 1 / math.cos(math.radians(latitude)) if sys.argv[5] == "metres" else 1
map = Map(side, side, 5, latitude, cosine * wider, -cosine, sine, sine * wider)
map.write(sys.argv[2], map.picture(1))
print(map.x0, map.tf1, map.tf3, map.y0, map.tf2, map.tf4)
END
}

for latitude in 0 50; do
  for square in metres degrees; do
    for turn in 1 3 5 10 20; do
      read -ra terms <<<"$(make_map "$latitude" "$square" "$turn")"
      "$root/build/bench_tiles" garmin "$folder/map.map" "$tile" >/dev/null
      off=$(/usr/bin/python3 "$root/tests/imaging/check_tiles.py" --overlays "$folder/map" "$side" "$side" "${terms[@]}")
      printf 'latitude %2s, %-7s as wide as high, turned by %2s degrees: off by %s pixels\n' \
        "$latitude" "$square" "$turn" "$off"
    done
  done
done
