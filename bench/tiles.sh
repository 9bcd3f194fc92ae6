#!/usr/bin/env bash
# Cuts a large map into tiles with the program and with pngquant and vips, and prints seconds and peak memory.
# Usage: bench/tiles.sh [SIDE]   (pixels of the map's sides; 8000)
# Tiles have 260 pixels a side: of 256, a map of 8000 would have 1024, and a Garmin Custom Map has 1000 at most.
# The program reduces the colours for both kinds of tiles; what vips makes JPEG tiles of keeps all colours.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_tiles

side=${1:-8000} tile=260
large_map "$side"

printf 'A map of %s x %s pixels, decoded %s KB, tiles of %s pixels, on %s cores\n' "$side" "$side" \
  $((side * side * 3 / 1024)) "$tile" "$(nproc)"
measure 36 "TrekBuddy" "$root/build/bench_tiles" trekbuddy "$folder/map.map" "$tile"
measure 36 "  pngquant 128" pngquant --force --output "$folder/reduced.png" 128 "$folder/map.png"
measure 36 "  vips dzsave" vips dzsave "$folder/reduced.png" "$folder/png" --depth one --overlap 0 --tile-size "$tile" \
  --suffix .png
measure 36 "Garmin" "$root/build/bench_tiles" garmin "$folder/map.map" "$tile"
measure 36 "  vips dzsave" vips dzsave "$folder/map.png" "$folder/jpg" --depth one --overlap 0 --tile-size "$tile" \
  --suffix '.jpg[Q=100]'
measure 36 "TrekBuddy, tile after tile" "$root/build/bench_tiles" trekbuddy "$folder/map.map" "$tile" --one-thread
measure 36 "Garmin, tile after tile" "$root/build/bench_tiles" garmin "$folder/map.map" "$tile" --one-thread
du -sh --apparent-size "$folder/map_tiles/set" "$folder/png_files" "$folder/map_tiles/files" "$folder/jpg_files" |
  sed "s|$folder/||"
