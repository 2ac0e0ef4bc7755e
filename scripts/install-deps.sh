#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build and the tests need and
# this machine lacks.  Does nothing when everything is present.
set -euo pipefail

packages=(cmake make g++ clang libclang-rt-14-dev pkg-config binutils
          libgtest-dev libgmock-dev libbenchmark-dev
          libtiff-dev libcli11-dev libpng-dev valgrind)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
