# Sourced by scripts that use the program in real windows as a person does, with keys and mouse, on a display of their own.
# They set `program` and `folder` (an empty one); every wait ends after a minute.

patience=60
window=   # the one that was waited for last
running=  # the program

# Everything of the person's own session is left out: the program sees an empty home.
start_screen() {
  mkdir -p "$folder/program"
  mkdir -m 700 -p "$folder/home" "$folder/run"
  cp "$root"/build/{datums.txt,readme.txt,tick.png,cross.png,vellandra.png} "$folder/program"
  unset WAYLAND_DISPLAY DBUS_SESSION_BUS_ADDRESS SESSION_MANAGER XAUTHORITY
  unset "${!QT_@}" "${!LC_@}"
  export LANG=C.UTF-8 QT_QPA_PLATFORM=xcb VELLANDRA_HOME=$folder/program HOME=$folder/home
  export XDG_CONFIG_HOME=$HOME/.config XDG_DATA_HOME=$HOME/.local/share XDG_CACHE_HOME=$HOME/.cache
  export XDG_RUNTIME_DIR=$folder/run
  trap 'stop_screen' EXIT
  trap 'exit 1' HUP INT TERM
  Xvfb -displayfd 3 -screen 0 1280x960x24 -nolisten tcp 3>"$folder/display" 2>"$folder/xvfb" &
  wait_until display test -s "$folder/display"
  export DISPLAY=:$(cat "$folder/display")
  openbox --sm-disable >/dev/null 2>&1 &
  wait_until "window manager" xdotool get_desktop
}

start_program() {
  "$program" "$@" 2>"$folder/errors" &
  running=$!
  wait_window "Calibration and Calibration Conversion"
}

stop_screen() {
  local job
  for job in $(jobs -p); do
    kill "$job" 2>/dev/null || true
    wait "$job" 2>/dev/null || true
  done
  rm -rf "$folder"
}

fail() {
  echo "FAILED: $*"
  [ -z "$running" ] || ! has_ended || echo "  the program has ended"
  cat "$folder/errors" 2>/dev/null
  xdotool search --onlyvisible --name '.' getwindowname %@ 2>/dev/null | sed 's/^/  a window: /'
  import -window root "$root/build/window_run.png" 2>/dev/null && echo "  the screen is in build/window_run.png"
  exit 1
}

# wait_until WHAT COMMAND...: until the command succeeds.
wait_until() {
  local what=$1 end=$((SECONDS + patience))
  shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $end ] || fail "no $what after $patience s"
    sleep 0.1
  done
}

is_active() {
  local id
  id=$(xdotool getactivewindow) && [ "$id" != "$window" ] && [ "$(xdotool getwindowname "$id")" = "$1" ] && found=$id
}

# wait_window TITLE: until another window than the last one, with this title, takes the keys.
wait_window() {
  wait_until "window '$1'" is_active "$1"
  window=$found
}

has_ended() { ! kill -0 "$running" 2>/dev/null; }

press() { xdotool key --delay 50 "$@"; }

write() { xdotool type --delay 20 "$1"; }

# choose_file TITLE PATH: in the file dialog of this title.
choose_file() {
  wait_window "$1"
  press ctrl+a
  write "$2"
  press Return
}
