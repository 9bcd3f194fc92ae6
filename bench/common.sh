# Sourced by the measurements: installs what they need and makes `folder`, which goes with them.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../.ci/setup"
need_packages build test dev
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# measure WIDTH LABEL COMMAND...: prints the label in a column of WIDTH, wall seconds, processor seconds, peak memory and
# what the command said last.
measure() {
  local width=$1 label=$2
  shift 2
  /usr/bin/time -o "$folder/time" -f '%e s, processor %U+%S s, peak %M KB' "$@" >"$folder/output"
  printf '%-*s %s  %s\n' "$width" "$label" "$(cat "$folder/time")" "$(tail -n 1 "$folder/output")"
}

# large_map SIDE: makes map.png and map.map, of SIDE pixels a side, in the folder, where the program finds its datums.
large_map() {
  export VELLANDRA_HOME=$folder
  cp "$root/data/datums.txt" "$folder"
  /usr/bin/python3 - "$root/bench" "$folder" "$1" <<'END'
import sys

sys.path.insert(0, sys.argv[1])
from synthetic_map import Map

folder, side = sys.argv[2], int(sys.argv[3])
map = Map(side, side, 5, 50, 1e-5, -1e-5)
map.write(f"{folder}/map", map.picture(1))
END
}
