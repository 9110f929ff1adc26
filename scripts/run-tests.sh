#!/usr/bin/env bash
# Runs every test through ctest; with no display, on a virtual one with a window manager,
# 1920 by 1080 unless LUMOX_TEST_SCREEN names another size (say 3840x2160).
set -u
build=${1:-build}
cmd=(ctest --test-dir "$build" --output-on-failure)
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 ${LUMOX_TEST_SCREEN:-1920x1080}x24" "$(dirname "$0")/with-openbox.sh" "${cmd[@]}"
fi
exec "${cmd[@]}"
