#!/usr/bin/env bash
# Runs every test through ctest; with no display, on a virtual one with a window manager.
set -u
build=${1:-build}
cmd=(ctest --test-dir "$build" --output-on-failure)
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 1920x1080x24" "$(dirname "$0")/with-openbox.sh" "${cmd[@]}"
fi
exec "${cmd[@]}"
