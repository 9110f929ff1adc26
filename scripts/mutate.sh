#!/usr/bin/env bash
# Fault injection: plants each fault of a list, one at a time, in a copy of the sources, builds,
# runs the tests and tells which faults they catch. The working tree and its build are never
# touched: the copy and its build live in the work directory (build-mutate by default).
#
#   scripts/mutate.sh [work-dir] [fault-list]
#
# MUTATE_CTEST_ARGS picks the tests, by default all but the end-to-end, slow and install ones
# (and those of test programs it doesn't build); MUTATE_TARGETS names what to build for them
# (default: core_tests ui_tests). MUTATE_CTEST_ARGS= MUTATE_TARGETS=all runs every test.
# MUTATE_ALL_FAILURES=1 runs every test for each fault, so its log names all that catch it.
set -u
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(realpath -m "${1:-$root/build-mutate}")
list=$(realpath "${2:-$root/scripts/mutations.txt}")
if [ -z "${DISPLAY:-}" ]; then
  exec xvfb-run -a -s "-screen 0 1920x1080x24" "$root/scripts/with-openbox.sh" "$0" "$work" "$list"
fi
read -r -a ctest_args <<<"${MUTATE_CTEST_ARGS--E E2E\.|_NOT_BUILT$ -LE slow|install}"
tree=$work/tree
build=$work/build
log=$work/log
mkdir -p "$tree" "$log"

# The sources as they stand in the working tree, committed or not. Only changed files are
# copied, so the copy's build stays incremental.
/usr/bin/python3 - "$root" "$tree" <<'EOF' || exit 2
import filecmp, os, shutil, subprocess, sys
root, tree = sys.argv[1:]
names = subprocess.run(["git", "-C", root, "ls-files", "-z", "-co", "--exclude-standard"],
                       capture_output=True, check=True).stdout.decode().split("\0")
for name in filter(None, names):
    src, dst = os.path.join(root, name), os.path.join(tree, name)
    if not os.path.isfile(src) or name.startswith("build"):
        continue
    if not os.path.exists(dst) or not filecmp.cmp(src, dst, shallow=False):
        os.makedirs(os.path.dirname(dst), exist_ok=True)
        shutil.copyfile(src, dst)
        shutil.copymode(src, dst)
EOF

# The list: a file's path, then "-" and the text as it stands, then "+" and the text with the
# fault. "\n" in the text stands for a line end, to tell apart lines that occur more than once.
files=() olds=() news=()
while IFS= read -r line; do
  case "$line" in
    '#'* | '') ;;
    -*) old=${line:1} ;;
    +*) files+=("$file") olds+=("$old") news+=("${line:1}") ;;
    *) file=$line ;;
  esac
done <"$list"

# Replaces the one occurrence of $2 in file $1 by $3; fails loudly if there isn't exactly one.
plant() {
  /usr/bin/python3 - "$@" <<'EOF'
import sys
path, old, new = sys.argv[1], sys.argv[2].replace("\\n", "\n"), sys.argv[3].replace("\\n", "\n")
text = open(path).read()
if text.count(old) != 1:
    sys.exit(f"{path}: the text occurs {text.count(old)} times, not once: {old!r}")
open(path, "w").write(text.replace(old, new))
EOF
}

planted=""
revert() {
  # A plain copy gives the file a new time, so the next build compiles it again.
  [ -n "$planted" ] && cp "$work/original" "$planted"
  planted=""
}
trap 'revert; exit 130' INT TERM
trap revert EXIT

stop=--stop-on-failure
[ -n "${MUTATE_ALL_FAILURES:-}" ] && stop=
read -r -a targets <<<"${MUTATE_TARGETS-core_tests ui_tests}"
build_and_test() {
  cmake --build "$build" --target "${targets[@]}" >"$1.build" 2>&1 || return 2
  ctest --test-dir "$build" --timeout 120 $stop "${ctest_args[@]}" >"$1.test" 2>&1 || return 1
}

cmake -S "$tree" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >"$log/configure" 2>&1 || { cat "$log/configure"; exit 2; }
echo "Unchanged sources..."
build_and_test "$log/baseline"
case $? in
  2) echo "The unchanged sources don't build: $log/baseline.build"; exit 2 ;;
  1) echo "The tests fail on the unchanged sources: $log/baseline.test"; exit 2 ;;
esac

survivors=() caught=0 broken=0
for i in "${!files[@]}"; do
  target=$tree/${files[i]}
  cp "$target" "$work/original"
  planted=$target
  plant "$target" "${olds[i]}" "${news[i]}" || exit 2
  name="${files[i]}: ${news[i]}"
  build_and_test "$log/$i"
  case $? in
    0) verdict=survived survivors+=("$name") ;;
    1) verdict=caught caught=$((caught + 1)) ;;
    *) verdict="DID NOT BUILD" broken=$((broken + 1)) ;;
  esac
  revert
  printf '%3d %-13s %s\n' "$((i + 1))" "$verdict" "$name"
done

echo
[ "$broken" -eq 0 ] || echo "$broken faults did not build: fix the list (logs in $log)"
for s in "${survivors[@]}"; do echo "survived: $s"; done
echo "${#files[@]} planted, $caught caught"
[ "$caught" -eq "${#files[@]}" ]
