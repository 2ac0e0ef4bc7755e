#!/usr/bin/env bash
# Installs a build into a scratch prefix and builds the consumer project in
# examples/consumer against it, once with CMake (find_package) and once with
# make and pkg-config.  Usage: scripts/check-install.sh [preset]
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-ci}"
prefix="$(mktemp -d)"
work="$(mktemp -d)"
trap 'rm -rf "$prefix" "$work"' EXIT

cmake --install "build/$preset" --prefix "$prefix" >/dev/null
cmake -S examples/consumer -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/qvi_consumer"

cp examples/consumer/main.c examples/consumer/Makefile "$work/"
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" make -s -C "$work" qvi_consumer_make
LD_LIBRARY_PATH="$prefix/lib" "$work/qvi_consumer_make"
echo "installed package: CMake and pkg-config consumers built and ran"

# The GStreamer plugin, where the build has it: installed into the prefix's
# plugin folder, it loads the installed libraries and offers its elements.
if [ -f "build/$preset/gst/libgstqvi.so" ]; then
  for element in qvidemosaic qviconvert qvideinterlace; do
    GST_REGISTRY_1_0="$work/registry.bin" GST_PLUGIN_SYSTEM_PATH_1_0="" \
      GST_PLUGIN_PATH_1_0="$prefix/lib/gstreamer-1.0" gst-inspect-1.0 "$element" >/dev/null
  done
  echo "installed GStreamer plugin: qvidemosaic, qviconvert and qvideinterlace load"
fi

# The Python package, when it was built: imported from the prefix, run, and
# linked to the installed libraries rather than the build's.
site="$prefix/lib/python3/dist-packages"
if [ -d "$site/qvi" ]; then
  (cd "$work" && PYTHONPATH="$site" /usr/bin/python3 - "$prefix" <<'PY'
import sys
import numpy as np
import qvi
assert qvi.__file__.startswith(sys.argv[1]), qvi.__file__
bgr = qvi.convert(np.full((4, 6), 200, np.uint8), "BAY8", "BGR24")
assert bgr.shape == (4, 6, 3) and (bgr == 200).all()
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "libqvi.so" in line or "libqvb.so" in line}
assert libraries and all(path.startswith(sys.argv[1]) for path in libraries), libraries
PY
  )
  echo "installed Python package: imported from $site and converted"
fi
