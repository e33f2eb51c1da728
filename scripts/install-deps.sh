#!/usr/bin/env bash
# Installs the Debian packages Halcy needs. "build" (default): compiler, Qt 6 and X11 development files.
# "test": that plus the headless desktop session, the peers the integration tests talk to, and clang with
# libFuzzer for the fuzz targets.
set -euo pipefail

what="${1:-build}"

build_packages=(
    g++ cmake ninja-build pkgconf
    qt6-base-dev qt6-declarative-dev qt6-multimedia-dev qt6-declarative-dev-tools libqt6sql6-sqlite
    libx11-dev libxtst-dev libxcb1-dev libxcb-xtest0-dev libxcb-keysyms1-dev libxcb-xfixes0-dev
    qml6-module-qtquick-controls qml6-module-qtquick-layouts qml6-module-qtquick-window
    qml6-module-qtquick-templates qml6-module-qtquick-dialogs qml6-module-qtqml-workerscript
    qt6-image-formats-plugins fonts-dejavu-core
    qml6-module-qt5compat-graphicaleffects qml6-module-qtmultimedia
)
test_packages=(
    qml6-module-qttest
    xvfb openbox trayer xdotool xclip x11-utils x11-xserver-utils x11-xkb-utils imagemagick
    pulseaudio pulseaudio-utils gstreamer1.0-plugins-base gstreamer1.0-plugins-good
    sqlite3 procps xterm lxterminal
    libgstreamer1.0-dev
    clang libclang-rt-14-dev
)

packages=("${build_packages[@]}")
[ "$what" = "test" ] && packages+=("${test_packages[@]}")

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "Installing packages needs root or sudo: ${missing[*]}" >&2; exit 1; }
    sudo="sudo"
fi
echo "Installing: ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
