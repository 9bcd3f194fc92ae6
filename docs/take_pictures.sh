#!/usr/bin/env bash
# Takes the pictures of docs/guide.md and README.md: works through the guide's journeys in real windows, with the maps of
# samples/, in the folder /tmp/maps, which the windows show. Usage: docs/take_pictures.sh
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../.ci/setup"
need_packages build ci dev
build release vellandra
program=$root/build/vellandra
maps=/tmp/maps
mkdir "$maps"
folder=$(mktemp -d)
. "$root/tests/ui/window_person.sh"
start_screen
trap 'stop_screen; rm -rf "$maps"' EXIT

main="Calibration and Calibration Conversion"
colours=64

# settle: waits until the window that was waited for has stopped changing; it is in picture.png then, with its frame.
settle() {
  local before= now=
  sleep 0.5
  until [ -n "$now" ] && [ "$now" = "$before" ]; do
    before=$now
    sleep 0.3
    timeout 20 import -frame -window "$window" "$folder/picture.png"
    now=$(convert "$folder/picture.png" rgb:- | md5sum)
  done
}

picture() {
  settle
  pngquant --force --strip --nofs $colours --output "$root/docs/pictures/$1.png" "$folder/picture.png"
}

click() {  # X Y in the window
  xdotool mousemove --window "$window" "$1" "$2" click 1
}

# aim WIDTH HEIGHT: finds where a map of this size lies in the viewer, which is grey around it, and as broad as the viewer
# but for a margin; the scale is in thousandths.
aim() {
  import -window "$window" "$folder/aim.png"
  local grey
  grey=$(convert "$folder/aim.png" -fuzz 1% -fill black +opaque 'rgb(160,160,160)' -threshold 0 \
    -morphology Open Square:10 -format '%@' info:)
  IFS='x+' read -r width height left top <<<"$grey"
  local margin=18
  scale=$(((width - 2 * margin) * 1000 / $1))
  left=$((left + margin))
  top=$((top + (height - $2 * scale / 1000) / 2))
}

click_pixel() {  # X Y on the map, after aim
  click $((left + ((2 * $1 + 1) * scale + 1999) / 2000)) $((top + ((2 * $2 + 1) * scale + 1999) / 2000))
  settle
}

place_point() {  # X Y LATITUDE LONGITUDE
  click_pixel "$1" "$2"
  write "$3"
  press Tab
  write "$4"
}

# The sample's own points lie in its corners, where their marks are hardly seen: here they lie on the printed grid.
cp "$root/samples/iberia/iberia.png" "$maps"
awk -v points="114 45 44 8 W,654 45 44 2 E,330 335 40 4 W,654 609 36 2 E,114 609 36 8 W" '
  BEGIN { count = split(points, point, ",") }
  NR > 9 && NR <= 9 + count {
    split(point[NR - 9], p, " ")
    $0 = sprintf("Point%02d,xy,%d,%d,in,deg,%d,0,N,%d,0,%s,grid,,,,N\r", NR - 9, p[1], p[2], p[3], p[4], p[5])
  }
  { print }' "$root/samples/iberia/iberia.map" >"$maps/iberia.map"
printf '[General]\nfolder=%s\n' "$maps" >"$folder/program/windows.ini"
start_program
picture start

press alt+f o
wait_window "Open calibration file for map"
settle
click 160 72
picture open
press Return
wait_window "$main"
picture opened
press alt+v v
wait_window "View calibrated map - iberia.png"
picture viewer
press alt+c
wait_window "$main"
press alt+f w
picture written

cp "$root/samples/crete/crete.png" "$maps"
press alt+f l
choose_file "Open image file" "crete.png"
wait_window "Calibrate map - crete.png"
settle
viewer=$window
click 60 22
wait_window "Map Calibration Settings"
picture settings
press Return
wait_window "Calibrate map - crete.png"
settle
aim 560 260
place_point 48 80 "35 30 N" "23 30 E"
picture point
press Return
place_point 449 80 "35 30 N" "26 E"
press Return
place_point 448 180 "35 N" "26 E"
press Return
place_point 48 180 "35 N" "23 30 E"
press Return
picture finish
click 60 22
wait_window "$main"
press alt+f w
settle

press alt+f o
choose_file "Open calibration file for map" "iberia.map"
wait_window "$main"
press alt+e p
wait_window "Preferences"
press alt+b
picture preferences
press Return
wait_window "$main"
press alt+f g
wait_window "Garmin Tile controls"
settle
click 185 600
picture tiles
press Return
wait_window "$main"
settle

# Two sheets that overlap.
for sheet in west:0 east:230; do
  name=crete-${sheet%:*} column=${sheet#*:}
  convert "$root/samples/crete/crete.png" -crop "330x260+$column+0" +repage "$maps/$name.png"
  awk -v column="$column" 'NR == 5 { $1 += column * 0.00625 } { printf "%.10f\r\n", $1 }' \
    "$root/samples/crete/crete.tfw" >"$maps/$name.tfw"
done
press alt+e m
wait_window "Not written"
press Return
choose_file "Open calibration file for base map" "crete-west.tfw"
choose_file "Open calibration file for merge map" "crete-east.tfw"
wait_window "Merge Maps"
picture merge
press Tab space alt+m
picture merged
press alt+s
choose_file "Save image file  " "crete-both.png"
wait_window "Merge Maps"
