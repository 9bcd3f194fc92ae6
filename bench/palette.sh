#!/usr/bin/env bash
# Reduces the colours of large pictures by the library's look at every pixel and as the program does, and prints for
# both the seconds, the mean squared error and the peak signal-to-noise ratio, then the program's gain; of rare thin
# lines also by how much, at most, a channel is off with both.
# Usage: bench/palette.sh [SIDE]   (pixels of the pictures' sides, above 2000; 4000)
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build release bench_palette

side=${1:-4000}
printf 'Pictures of %s x %s pixels on %s cores: library, program, gain\n' "$side" "$side" "$(nproc)"
/usr/bin/python3 "$root/bench/pictures.py" "$folder" "$side" >"$folder/kinds"
while read -r kind lines; do
  # shellcheck disable=SC2086  # one argument a colour
  printf '%-12s %s\n' "$kind" "$("$root/build/bench_palette" "$folder/$kind.png" $lines)"
done <"$folder/kinds"
