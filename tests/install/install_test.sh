#!/usr/bin/env bash
# Checks of what `cmake --install` and `make package` deliver, one group per call:
#   install_test.sh files|validators|package|icons <build dir> <source dir> <version>
# Everything is installed or packaged into a temporary folder that is removed afterwards.
set -euo pipefail
check=$1 build=$2 source=$3 version=$4
id=net.tallowby.Lumox
sizes=(16 24 32 48 64 128 256 512)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

fail() { echo "FAIL: $*" >&2; exit 1; }

# The files of the program and its data, below the prefix; $1 is the program's folder.
data_files() {
  { printf '%s\n' "$1/lumox" share/applications/$id.desktop share/metainfo/$id.metainfo.xml share/man/man6/lumox.6.gz \
      share/xscreensaver/config/lumox.xml libexec/xscreensaver/lumox libexec/xsecurelock/saver_lumox \
      lib/systemd/user/lumox-wallpaper.service share/gnome-shell/extensions/lumox-wallpaper@lumox/{metadata.json,extension.js,prefs.js} \
      share/gnome-shell/extensions/lumox-wallpaper@lumox/schemas/{gschemas.compiled,org.gnome.shell.extensions.lumox-wallpaper.gschema.xml}
    for s in "${sizes[@]}"; do echo "share/icons/hicolor/${s}x${s}/apps/$id.png"; done; } | sort
}

install_into() { DESTDIR=$1 cmake --install "$build" --prefix /usr >/dev/null || fail "cmake --install failed"; }

case $check in
files)
  install_into "$tmp/root"
  diff -u <(data_files bin | sed 's|^|usr/|') <(cd "$tmp/root" && find . ! -type d | sed 's|^\./||' | sort) ||
    fail "cmake --install gave other files than these (- expected, + installed)"
  [ -x "$tmp/root/usr/bin/lumox" ] || fail "usr/bin/lumox is not executable"
  [ "$(readlink "$tmp/root/usr/libexec/xscreensaver/lumox")" = ../../bin/lumox ] ||
    fail "the display mode's link does not lead to the program"
  # The unit and the saver module run the program where the configured prefix puts it.
  prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:PATH=//p' "$build/CMakeCache.txt")
  unit=$tmp/root/usr/lib/systemd/user/lumox-wallpaper.service
  grep -qx "ExecStart=$prefix/bin/lumox --wallpaper" "$unit" || fail "the unit does not run $prefix/bin/lumox --wallpaper"
  saver=$tmp/root/usr/libexec/xsecurelock/saver_lumox
  grep -qx "exec $prefix/bin/lumox --root" "$saver" || fail "saver_lumox does not run $prefix/bin/lumox --root"
  [ -x "$saver" ] || fail "saver_lumox is not executable"
  echo "cmake --install: the $(data_files bin | wc -l) expected files"
  ;;

validators)
  install_into "$tmp/root"
  share=$tmp/root/usr/share
  out=$(desktop-file-validate "$share/applications/$id.desktop" 2>&1) || fail "desktop-file-validate: $out"
  [ -z "$out" ] || fail "desktop-file-validate has remarks: $out"
  # --strict fails on infos too; validate-tree also finds the desktop entry the metainfo launches.
  appstreamcli validate-tree --no-net --strict "$tmp/root" || fail "appstreamcli validate-tree"
  appstreamcli validate --no-net --strict "$share/metainfo/$id.metainfo.xml" || fail "appstreamcli validate"
  # What the validators don't cross-check: the entry's icon and command exist in the install.
  grep -qx "Icon=$id" "$share/applications/$id.desktop" || fail "the desktop entry names another icon"
  grep -qx "Exec=lumox" "$share/applications/$id.desktop" || fail "the desktop entry runs another command"
  # The actions a menu or dock offers on a right click: each names its option, which lumox takes.
  for action in "fly-now|Fly now|--go" "fly-window|Fly in a window|--window"; do
    IFS='|' read -r key name option <<<"$action"
    group=$(sed -n "/^\[Desktop Action $key\]\$/,/^\[/p" "$share/applications/$id.desktop")
    grep -qx "Name=$name" <<<"$group" && grep -qx "Exec=lumox $option" <<<"$group" ||
      fail "the desktop entry has no action $key '$name' running lumox $option"
    grep -Eq -- "^Actions=(.*;)?$key;" "$share/applications/$id.desktop" || fail "the action $key is not listed"
    "$tmp/root/usr/bin/lumox" --help | grep -Eq -- "^ +$option( |$)" || fail "lumox takes no $option"
  done
  grep -q "<release version=\"$version\"" "$share/metainfo/$id.metainfo.xml" || fail "the metainfo has no release $version"
  # The man page: renders without a groff warning and has an entry for every option lumox takes.
  warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$share/man/man6/lumox.6.gz" 2>&1 >"$tmp/man.txt") || fail "man failed"
  [ -z "$warnings" ] || fail "man page warnings: $warnings"
  options=$("$tmp/root/usr/bin/lumox" --help | grep -Eo -- '^  (-[a-z], )?--[a-z-]+')
  [ "$(wc -l <<<"$options")" -ge 15 ] || fail "lumox --help lists too few options: $options"
  while read -r option; do
    grep -Eq -- "^ +$option( |$)" "$tmp/man.txt" || fail "the man page has no entry for $option"
  done <<<"$options"
  grep -q "Lumox $version" "$tmp/man.txt" || fail "the man page isn't of version $version"
  xmllint --noout "$share/xscreensaver/config/lumox.xml" || fail "the screensaver's settings are not well-formed XML"
  # systemd's check of the unit wants its command and man page there: those installed here.
  unit=$tmp/root/usr/lib/systemd/user/lumox-wallpaper.service
  mkdir -p "$tmp/units" "$tmp/run"
  sed "s|^ExecStart=[^ ]*|ExecStart=$tmp/root/usr/bin/lumox|" "$unit" >"$tmp/units/lumox-wallpaper.service"
  out=$(XDG_RUNTIME_DIR=$tmp/run MANPATH=$share/man systemd-analyze verify --user "$tmp/units/lumox-wallpaper.service" 2>&1) ||
    fail "systemd-analyze verify: $out"
  [ -z "$out" ] || fail "systemd-analyze verify has remarks: $out"
  for line in {PartOf,After,WantedBy}=graphical-session.target Restart=on-failure; do
    grep -qx "$line" "$unit" || fail "the unit has no $line"
  done
  echo "desktop-file-validate, appstreamcli validate and the man page: no remarks"
  ;;

package)
  cpack --config "$build/CPackConfig.cmake" -B "$tmp" >"$tmp/cpack.log" 2>&1 || { cat "$tmp/cpack.log"; fail "cpack"; }
  arch=$(dpkg --print-architecture)
  deb=$tmp/lumox_${version}_${arch}.deb
  [ -f "$deb" ] || fail "no $(basename "$deb"): $(ls "$tmp")"
  diff -u <({ data_files games; echo share/doc/lumox/changelog.gz; echo share/doc/lumox/copyright; } | sed 's|^|usr/|' | sort) \
          <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./||' | sort) ||
    fail "the package holds other files than these (- expected, + packaged)"
  for field in Package:lumox Version:$version Section:games Architecture:$arch; do
    [ "$(dpkg-deb -f "$deb" "${field%%:*}")" = "${field#*:}" ] || fail "${field%%:*} is not ${field#*:}"
  done
  grep -q '^l.* \./usr/libexec/xscreensaver/lumox -> \.\./\.\./games/lumox$' <(dpkg-deb -c "$deb") ||
    fail "the display mode's link does not lead to /usr/games/lumox"
  packaged() { dpkg-deb --fsys-tarfile "$deb" | tar -xO "./usr/$1"; }
  packaged lib/systemd/user/lumox-wallpaper.service | grep -qx "ExecStart=/usr/games/lumox --wallpaper" ||
    fail "the packaged unit does not run /usr/games/lumox"
  packaged libexec/xsecurelock/saver_lumox | grep -qx "exec /usr/games/lumox --root" || fail "the packaged saver_lumox does not run /usr/games/lumox"
  depends=$(dpkg-deb -f "$deb" Depends) && echo "Depends: $depends"
  for library in libqt6core6 libqt6gui6 libqt6widgets6 libopengl0 libglu1 qt6-qpa-plugins; do
    grep -q "$library" <<<"$depends" || fail "Depends lacks $library"
  done
  packaged share/doc/lumox/changelog.gz | gzip -dc | sed -n 1p | grep -q "^lumox ($version)" ||
    fail "the changelog's last entry is not $version"
  # One lintian run; errors and warnings fail, infos are shown.
  lintian --display-info "$deb" >"$tmp/lintian.txt" || true
  cat "$tmp/lintian.txt"
  ! grep -q '^[EW]:' "$tmp/lintian.txt" || fail "lintian has errors or warnings"
  echo "package $(basename "$deb"): files, control fields and lintian as expected"
  ;;

icons)
  # The icon tool draws each size itself; the folder says which size each file must have.
  count=0
  for png in "$source"/resources/icons/hicolor/*/apps/*.png; do
    folder=$(basename "$(dirname "$(dirname "$png")")")
    info=$(file -b "$png")
    [[ $info == "PNG image data, ${folder/x/ x }, 8-bit/color RGBA,"* ]] || fail "$png is $info, not a ${folder} RGBA PNG"
    count=$((count + 1))
  done
  [ "$count" -eq ${#sizes[@]} ] || fail "$count icons, not ${#sizes[@]}"
  echo "$count icons of the sizes their folders say"
  ;;

*) fail "unknown check $check" ;;
esac
