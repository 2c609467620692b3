#!/bin/sh
# Installs what a fresh Debian machine lacks for building and testing.
# Only packages that are missing are installed; nothing happens when all are present.
# Packages named as arguments are added to the list (`make bench` asks for its anchors').
set -e
need=""
check() { dpkg -s "$1" >/dev/null 2>&1 || need="$need $1"; }
for pkg in g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev \
           libxml2-dev libpng-dev libjpeg-dev ccache lld imagemagick libtiff-tools graphviz "$@"; do
  check "$pkg"
done
[ -z "$need" ] && exit 0
SUDO=""
[ "$(id -u)" -ne 0 ] && SUDO="sudo"
echo "installing:$need"
$SUDO apt-get update -qq || true
DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq $need
