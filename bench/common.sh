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
