#!/usr/bin/env bash
# One calibration from start to end in real windows, with the keyboard alone: what is written has to be what a batch
# writes, byte for byte. Usage: window_run.sh [PROGRAM]
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
[ -n "${GUARDED:-}" ] || GUARDED=1 exec timeout --kill-after 10 600 "$0" "$@"
program=$(realpath "${1:-$root/build/vellandra}")
folder=$(mktemp -d)
. "$root/tests/ui/window_person.sh"

# A .map names its image with the folder, so both work in the same one. Of two files that are there already the person
# has one replaced and the other kept.
maps=$folder/maps
lay_out() {
  mkdir "$maps"
  cp "$root"/samples/sicily/sicily.{gux,png} "$maps"
  echo "to be kept" >"$maps/sicily.gmi"
}

start_screen
lay_out
env -u DISPLAY "$program" "$maps/sicily.gux" </dev/null >/dev/null 2>&1 || fail "the batch did not write"
mv "$maps" "$folder/batch"
lay_out
echo "to be replaced" >"$maps/sicily.jpr"

start_program
press alt+f o
choose_file "Open calibration file for map" "$maps/sicily.gux"
wait_window "Calibration and Calibration Conversion"
press alt+v v
wait_window "View calibrated map - sicily.png"
press alt+c
wait_window "Calibration and Calibration Conversion"
press alt+f w
wait_window "Vellandra"
press Return
wait_window "Vellandra"
press Escape
wait_window "Calibration and Calibration Conversion"
press alt+e p
wait_window "Preferences"
press alt+d ctrl+a 7 Return
wait_window "Calibration and Calibration Conversion"
press alt+f o
choose_file "Open calibration file for map" "sicily.gux"
wait_window "Calibration and Calibration Conversion"
press alt+f x
wait_window "Not written"
press Return
wait_window "Preferences not saved"
press Return
wait_until "end of the program" has_ended
wait "$running" || fail "exit status $?"

diff -r "$folder/batch" "$maps" || fail "the windows wrote something else"
[ "$(ls "$maps" | wc -l)" -gt 8 ] || fail "too few files were written"
grep '^GarminDrawOrder=7' "$folder/program/calconv.ini" >/dev/null || fail "the preference was not saved"

# As the desktop opens a file.
window=
start_program --open "$maps/sicily.gux"
press alt+v v
wait_window "View calibrated map - sicily.png"
echo "The run in real windows passed."
