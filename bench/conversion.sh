#!/usr/bin/env bash
# One conversion as a whole process beside GDAL opening the same .map, then a thousand conversions: does memory grow?
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/../.ci/setup"
need_packages build test dev
build release vellandra
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export VELLANDRA_HOME=$work/home
mkdir "$VELLANDRA_HOME"
cp "$root/data/datums.txt" "$VELLANDRA_HOME"
printf 'Warnoverwrite=False\n' >"$VELLANDRA_HOME/calconv.ini"
cp -r "$root/samples/sicily" "$work"
sed -i 's|^C:.*|sicily.png|' "$work/sicily/sicily.map"
cd "$work/sicily"
hyperfine --warmup 5 --shell=none --runs 60 \
  --command-name vellandra "$root/build/vellandra sicily.map" \
  --command-name gdal_translate "gdal_translate -q -of VRT sicily.map $work/out.vrt"

if [ -x "$root/build/bench_conversions" ] || build release bench_conversions; then
  "$root/build/bench_conversions" "$work/sicily/sicily.map" 1000
fi
