#!/usr/bin/env bash
# Installs, from Debian's packages, the development files of the peers that
# bench/peers.cpp compares against (OpenCV's imgproc module, libyuv; libtiff
# comes with scripts/install-deps.sh), then builds and runs the comparison.
#   scripts/peers.sh [--size WxH] [--rounds N]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

packages=(libopencv-imgproc-dev libyuv-dev)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -ne 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  apt-cache policy "${missing[@]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target qvi_peers
build/release/bench/qvi_peers "$@"
