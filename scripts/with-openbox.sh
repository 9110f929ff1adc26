#!/usr/bin/env bash
# Runs a command on the current X display with openbox managing its windows.
set -u
openbox --sm-disable >/dev/null 2>&1 &
wm=$!
for _ in $(seq 50); do xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q window && break; sleep 0.1; done
"$@"
rc=$?
kill "$wm" 2>/dev/null; wait "$wm" 2>/dev/null
exit $rc
