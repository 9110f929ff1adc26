#!/usr/bin/env bash
# Runs the benchmarks: the star passes, then the real window's frame pacing on a 1920x1080
# virtual screen at 50000 stars, at two star sizes and at the default and the top speed.
set -eu
build=${1:-build}
"$build/bench/starfield_bench"
run() {
  xvfb-run -a -s "-screen 0 1920x1080x24" "$(dirname "$0")/with-openbox.sh" "$build/bench/pacing_bench" "$@"
}
echo; run 12 1.92 0.0035
echo; run 12 15 0.0035
echo; run 12 1.92 0.1
