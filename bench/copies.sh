#!/usr/bin/env bash
# Rescales and crops a large map, and prints seconds, peak memory and the bytes of the result.
# Usage: bench/copies.sh [SIDE] [BENCH_COPIES]   (pixels of the map's sides, 8000; another build's bench_copies beside it)
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_copies

side=${1:-8000}
large_map "$side"

printf 'A map of %s x %s pixels, decoded %s KB, on %s cores\n' "$side" "$side" $((side * side * 3 / 1024)) "$(nproc)"
for command in rescale crop; do
  for program in "$root/build/bench_copies" ${2:+"$2"}; do
    measure 12 "$command" "$program" "$command" "$folder/map.map" "$folder/copy.png"
    printf '%12s %s bytes by %s\n' '' "$(stat -c %s "$folder/copy.png")" "$program"
    rm "$folder"/copy.*
  done
done
