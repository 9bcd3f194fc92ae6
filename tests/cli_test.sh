#!/usr/bin/env bash
# The program as a person starts it from a terminal, and its files as GDAL reads them.
# Usage: cli_test.sh PROGRAM SAMPLES DATUMS
set -u
unset DISPLAY WAYLAND_DISPLAY QT_QPA_PLATFORM  # boxes go to the terminal
tests=$(dirname "$(realpath "${BASH_SOURCE[0]}")")
program=$(realpath "$1") samples=$(realpath "$2") datums=$(realpath "$3")
work=$(mktemp -d)
trap 'umount "$work/small" 2>/dev/null; rm -rf "$work"' EXIT
export VELLANDRA_HOME=$work/home
mkdir "$VELLANDRA_HOME"
cp "$datums" "$VELLANDRA_HOME"
failures=0
fail() { echo "FAILED: $*"; failures=$((failures + 1)); }

# expect STATUS TEXT COMMAND...: exit status, and a text in the output. No terminal: there is nobody to ask.
expect() {
  local status=$1 text=$2 output got
  shift 2
  output=$("$@" </dev/null 2>&1)
  got=$?
  [ $got -eq "$status" ] || fail "exit status $got instead of $status: $*"
  [[ $output == *"$text"* ]] || fail "no '$text' in: $output"
}

expect 1 "Missing input file" "$program" "$work/none.map"
expect 0 "Usage" "$program" --help

# Windows that cannot be opened: the program says why, and a batch needs none.
expect 1 "there is no display" "$program"
QT_QPA_PLATFORM=nonsense expect 1 'the Qt platform plugin "nonsense"' "$program"
DISPLAY=:7777 expect 1 "could not connect to display :7777" "$program"
DISPLAY=:7777 expect 1 "Missing input file" "$program" "$work/none.map"
cp "$program" "$work/alone"
DISPLAY=:7777 expect 1 "vellandra-window: No such file" "$work/alone"
DISPLAY=:7777 expect 1 "Missing input file" "$work/alone" "$work/none.map"

# Blanks in the name need no quotes.
mkdir "$work/my maps"
cp "$samples/crete/crete.map" "$samples/crete/crete.png" "$work/my maps"
(cd "$work" && expect 0 "done" "$program" my maps/crete.map)
[ -s "$work/my maps/crete.tfw" ] || fail "no world file"
cp -r "$work/my maps" "$work/before"
expect 0 "nobody to ask: Cancel" "$program" "$work/my maps/crete.map"
diff -r "$work/before" "$work/my maps" || fail "an existing output was touched"
grep -q "send this file by e-mail" "$VELLANDRA_HOME/vellandra.log" || fail "no log"

# Nobody has answered anything: nothing to keep.
[ ! -e "$VELLANDRA_HOME/calconv.ini" ] || fail "preferences were written without an answer"

# A disk that is full: the run stops, what was there stays.
mkdir "$work/small"
if mount -t tmpfs -o size=64k tmpfs "$work/small" 2>/dev/null; then
  cp "$work/my maps/"crete.{map,png} "$work/small"
  printf 'mine' >"$work/small/crete.tfw"
  printf 'Warnoverwrite=False\n' >"$VELLANDRA_HOME/calconv.ini"
  dd if=/dev/zero of="$work/small/fill" 2>/dev/null
  expect 1 "unable to write $work/small/crete.tfw" "$program" "$work/small/crete.map"
  [ "$(cat "$work/small/crete.tfw")" = mine ] || fail "the old file is gone"
  [ "$(ls "$work/small" | wc -l)" -eq 4 ] || fail "a half-written file is left"
  rm "$VELLANDRA_HOME/calconv.ini"
fi

# 100 MB of junk under every extension: a clear answer soon, in 256 MiB with 60 for the libraries. The limit is on data:
# the libraries' address space would drown it.
head -c 100000000 /dev/urandom >"$work/junk"
for extension in $("$program" --help | grep -oP '[(, ]\.\K[a-z]{3}\b'); do
  ln -f "$work/junk" "$work/junk.$extension"
  (ulimit -d 200000; exec timeout 30 "$program" "$work/junk.$extension" </dev/null >"$work/answer" 2>&1)
  [ $? -eq 1 ] || fail "exit status for junk.$extension"
  [ -s "$work/answer" ] || fail "no answer for junk.$extension"
  grep -qa "Out of memory" "$work/answer" && fail "more than 200 MB for junk.$extension"
done

# near FILE FILE SCALE [COUNT]: the positions (5) of two lists agree within a tenth of a pixel of SCALE degrees.
near() {
  paste "$1" "$2" | awk -v scale="$3" -v count="${4:-5}" '
    { d = sqrt(($1 - $3) ^ 2 + ($2 - $4) ^ 2) / scale; if (d > 0.1) { print "off by", d, "pixels"; bad = 1 } }
    END { exit bad || NR != count }'
}

# compare SAMPLE CALIBRATION WIDTH HEIGHT: GDAL and the program put corners and centre at the same places, by the world
# file and by the .map that are written. The program's own positions come from the terms of its script.
compare() {
  local folder=$work/$1 width=$3 height=$4 x1=$(($3 - 1)) y1=$(($4 - 1))
  mkdir "$folder"
  cp "$samples/$1/$2" "$samples/$1/$1.png" "$folder"
  "$program" "$folder/$2" </dev/null >/dev/null 2>&1 || fail "conversion of $2"
  [ -f "$folder/$1.map" ] || fail "no .map of $2"
  local scale
  scale=$(sed -n 's/^tf1=//p' "$folder/$1.js" | tr -d '\r')
  printf '%s\n' "0 0" "$x1 0" "$x1 $y1" "0 $y1" "$((width / 2)) $((height / 2))" >"$work/pixels"

  node "$tests/formats/script_positions.js" "$folder/$1.js" <"$work/pixels" >"$work/ours"
  # The .mcd holds the first and the third of them.
  "$tests/formats/mcd_positions.py" "$folder/$1.mcd" "$width" "$height" >"$work/by-mcd"
  sed -n '1p;3p' "$work/ours" >"$work/corners"
  near "$work/by-mcd" "$work/corners" "$scale" 2 || fail "the corners of $1.mcd"

  # GDAL knows the projection under a name without blanks only; the points are what is compared.
  sed 's|Latitude / Longitude|Latitude/Longitude|; s|^Map Projection, |Map Projection,|' "$folder/$1.map" >"$folder/g.map"
  gdalinfo "$folder/$1.map" >/dev/null || fail "GDAL does not open $1.map"
  gdaltransform -order 1 -t_srs OGC:CRS84 -output_xy "$folder/g.map" <"$work/pixels" >"$work/by-map"
  near "$work/by-map" "$work/ours" "$scale" || fail "GDAL differs on $1.map"

  grep -q "^proj='M'" "$folder/$1.js" && return  # a world file has no Mercator
  # As an image's own world file: GDAL counts pixels from the corner of the top left one, not from its centre.
  mv "$folder/$1.tfw" "$folder/$1.pgw"
  awk '{ print $1 + 0.5, $2 + 0.5 }' "$work/pixels" | gdaltransform -output_xy "$folder/$1.png" >"$work/by-world-file"
  near "$work/by-world-file" "$work/ours" "$scale" || fail "GDAL differs on $1.tfw"
}
compare crete crete.jpr 560 260
compare sicily sicily.jpr 680 480
compare wales wales.gux 520 600
compare iberia iberia.jpr 800 700

[ $failures -eq 0 ] && echo "all as expected"
exit $((failures > 0))
