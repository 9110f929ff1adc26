#!/usr/bin/env bash
# CPU of the wallpaper on a headless sway (one, two and four outputs visible, two covered by
# full-screen windows, two in one flight with --span), in all and per output, against the X11
# display window of the same size, each over 10 s with the same settings: 50000 stars at star
# size 1.92, the defaults of a 1920-wide screen. With `span`, only two outputs in two flights
# against two in one, three times over.
# Usage: bench/desktop_cost.sh [build] [span]   (as root: sway runs as the user lumoxtest)
set -eu
build=$(realpath "${1:-build}")
dir=$(mktemp -d /tmp/lumox-bench-XXXXXX)
# Only this script's own sway: other sessions of the same user may be running.
trap '[ -f "$dir/sway.pid" ] && kill "$(cat "$dir/sway.pid")" 2>/dev/null; rm -rf "$dir"' EXIT
cp "$build/lumox" "$dir/lumox"
mkdir "$dir/data"
printf '35\n0.0035\n170\n1.92\n50000\n' > "$dir/data/LumoxPrefs"
id -u lumoxtest >/dev/null 2>&1 || useradd -m lumoxtest
chown -R lumoxtest: "$dir"
user=(setpriv --reuid=lumoxtest --regid=lumoxtest --init-groups env -i HOME="$dir" XDG_RUNTIME_DIR="$dir"
      PATH=/usr/bin:/bin XDG_DATA_HOME="$dir/data")

# CPU of a process over 10 s, in per cent of one core.
cpu() {
  local a b
  a=$(awk '{print $14+$15}' /proc/"$1"/stat); sleep 10; b=$(awk '{print $14+$15}' /proc/"$1"/stat)
  awk -v t="$((b - a))" -v hz="$(getconf CLK_TCK)" 'BEGIN { printf "%.1f", t * 100 / hz / 10 }'
}

sway_run() {  # outputs, covered (0/1), more options for lumox
  : > "$dir/sway"
  for o in $(seq "$1"); do
    printf 'output HEADLESS-%s resolution 1920x1080 position %s 0\n' "$o" $(( (o - 1) * 1920 )) >> "$dir/sway"
  done
  echo 'xwayland disable' >> "$dir/sway"
  "${user[@]}" WLR_BACKENDS=headless WLR_RENDERER=pixman WLR_LIBINPUT_NO_DEVICES=1 WLR_HEADLESS_OUTPUTS="$1" \
    sway -c "$dir/sway" >/dev/null 2>&1 &
  local sway=$!  # setpriv and env hand their process on to sway
  echo "$sway" > "$dir/sway.pid"
  until ls "$dir"/wayland-? >/dev/null 2>&1 && ls "$dir"/sway-ipc.* >/dev/null 2>&1; do sleep 0.1; done
  local wl; wl=$(basename "$(ls "$dir"/wayland-? | head -1)")
  local sw=("${user[@]}" WAYLAND_DISPLAY="$wl" SWAYSOCK="$(ls "$dir"/sway-ipc.*)")
  "${sw[@]}" "$dir/lumox" --wallpaper ${3:-} >/dev/null 2>&1 &
  local pid=$!
  if [ "$2" = 1 ]; then
    for o in $(seq "$1"); do
      "${sw[@]}" swaymsg focus output HEADLESS-"$o" >/dev/null
      "${sw[@]}" sh -c 'foot sleep 600 >/dev/null 2>&1 &'
      until "${sw[@]}" swaymsg -t get_tree | grep -c '"app_id": "foot"' | grep -qx "$o"; do sleep 0.1; done
      "${sw[@]}" swaymsg fullscreen enable >/dev/null
    done
  fi
  sleep 2  # settling: the flights take off and the covered ones pause
  echo "$(cpu "$(pgrep -n -f "$dir/lumox")")"
  kill "$pid" 2>/dev/null || true
  kill "$sway" || true
  while kill -0 "$sway" 2>/dev/null; do sleep 0.1; done
  rm -f "$dir/sway.pid"
  rm -f "$dir"/wayland-* "$dir"/sway-ipc.*
}

if [ "${2:-}" = span ]; then
  for _ in 1 2 3; do
    echo "sway, 2 outputs, two flights: $(sway_run 2 0)% of a core; one flight (--span): $(sway_run 2 0 --span)%"
  done
  exit 0
fi
for n in 1 2 4; do
  c=$(sway_run "$n" 0)
  echo "sway, $n output(s) visible: $c% of a core, $(awk -v c="$c" -v n="$n" 'BEGIN { printf "%.1f", c / n }')% per output"
done
echo "sway, two outputs covered: $(sway_run 2 1)% of a core"
echo "sway, 2 outputs in one flight (--span): $(sway_run 2 0 --span)% of a core"
x11=$(XDG_DATA_HOME="$dir/data" xvfb-run -a -s "-screen 0 1920x1080x24" "$(dirname "$0")/../scripts/with-openbox.sh" \
  sh -c "\"$dir/lumox\" --go & p=\$!; sleep 2; a=\$(awk '{print \$14+\$15}' /proc/\$p/stat); sleep 10;
         b=\$(awk '{print \$14+\$15}' /proc/\$p/stat); kill \$p; echo \$(( (b - a) * 100 / \$(getconf CLK_TCK) / 10 ))")
echo "X11 display window, full screen: ${x11}% of a core"
