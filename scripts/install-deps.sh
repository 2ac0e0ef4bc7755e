#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build and the tests need and
# this machine lacks.  Does nothing when everything is present.
#   scripts/install-deps.sh [aarch64]
# With aarch64, also the 64-bit Arm cross compiler, qemu's user-mode
# emulator and the arm64 development packages the tests link against.
set -euo pipefail

packages=(cmake make g++ clang libclang-rt-14-dev pkg-config binutils
          libgtest-dev libgmock-dev libbenchmark-dev
          libtiff-dev libcli11-dev libpng-dev valgrind
          # the tests on an emulated processor without AVX2 (preset westmere)
          qemu-user-static
          # live capture: Aravis, its fake cameras and private network namespaces
          # (aravis-0.8.pc names libusb-1.0, which libaravis-dev does not pull in)
          libaravis-dev libusb-1.0-0-dev aravis-tools iproute2
          # the GStreamer plugin, its tests and the comparison element
          libgstreamer1.0-dev libgstreamer-plugins-base1.0-dev gstreamer1.0-tools
          gstreamer1.0-plugins-base gstreamer1.0-plugins-good gstreamer1.0-plugins-bad
          # the Python package, its tests and examples
          python3-dev python3-numpy pybind11-dev python3-pybind11 python3-pytest
          python3-hypothesis python3-opencv python3-tifffile python3-pil
          python3-dask python3-distributed python3-matplotlib)

cross=()
if [ "${1:-}" = aarch64 ]; then
  cross=(g++-aarch64-linux-gnu qemu-user-static libgtest-dev:arm64 libgmock-dev:arm64 libtiff-dev:arm64)
fi

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
if [ ${#cross[@]} -gt 0 ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  $sudo dpkg --add-architecture arm64
fi

missing=()
for p in "${packages[@]}" "${cross[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
