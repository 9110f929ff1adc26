#!/usr/bin/env bash
# Installs the Debian packages Lumox needs to build, run and test, and only those that are missing.
set -euo pipefail
packages=(
  g++ cmake ninja-build make pkg-config
  qt6-base-dev libqt6opengl6-dev qt6-qpa-plugins
  libgl-dev libglu1-mesa-dev libgl1-mesa-dri
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth openbox xdotool x11-utils x11-xserver-utils fonts-dejavu-core scrot
  qt6-wayland libxcb1-dev libxcb-randr0-dev
  # The layer-shell host: plain Wayland client, EGL and the protocol descriptions.
  libwayland-dev libegl-dev wayland-protocols libwayland-bin
  # The GNOME extension's settings schema, compiled at build time.
  libglib2.0-bin
  # The desktops the end-to-end tests run on: X11 window managers and a headless Wayland compositor.
  xfwm4 metacity i3-wm sway wtype grim foot xprintidle
  # Weston, headless: a compositor without the layer shell.
  weston
  # KWin, headless, for a fractional scale; its screenshots come over D-Bus, to python3-dbus.
  kwin-wayland python3-dbus
  # A pointer for the headless sway: wayvnc adds one while it runs, driven over RFB by python3.
  wayvnc python3
  # The hosts Lumox meets: the screensaver daemons of X11 and sway and a session bus with a mocked
  # service; GNOME Shell, headless, for its extension.
  xscreensaver xscreensaver-data swayidle dbus dbus-x11 python3-dbusmock gnome-shell
  # The user unit's check (systemd-analyze) and the screen locker that runs the saver module.
  systemd xsecurelock
  # A small X client of the tests' own: another program's grab and override-redirect window.
  python3-xlib
  # Installing and packaging: the validators, dpkg-shlibdeps, lintian.
  desktop-file-utils appstream dpkg-dev fakeroot file lintian libxml2-utils
)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0
echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
