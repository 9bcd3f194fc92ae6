#!/usr/bin/env bash
# Rescales and crops a large map, and prints seconds, peak memory and the bytes of the result.
# Usage: bench/copies.sh [SIDE] [BENCH_COPIES]   (pixels of the map's sides, 8000; another build's bench_copies beside it)
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_copies

side=${1:-8000}
export VELLANDRA_HOME=$folder
cp "$root/data/datums.txt" "$folder"
/usr/bin/python3 - "$root/bench" "$folder" "$side" <<'END'
import sys

sys.path.insert(0, sys.argv[1])
from synthetic_map import Map

folder, side = sys.argv[2], int(sys.argv[3])
map = Map(side, side, 5, 50, 1e-5, -1e-5)
map.write(f"{folder}/map", map.picture(1))
END

printf 'A map of %s x %s pixels, decoded %s KB, on %s cores\n' "$side" "$side" $((side * side * 3 / 1024)) "$(nproc)"
for command in rescale crop; do
  for program in "$root/build/bench_copies" ${2:+"$2"}; do
    measure 12 "$command" "$program" "$command" "$folder/map.map" "$folder/copy.png"
    printf '%12s %s bytes by %s\n' '' "$(stat -c %s "$folder/copy.png")" "$program"
    rm "$folder"/copy.*
  done
done
