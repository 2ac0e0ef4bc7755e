#!/usr/bin/env bash
# Live capture without a camera: builds the qvi tool (release), starts
# Aravis's fake GigE Vision camera and runs qvi grab against it.
#
#   scripts/camera-demo.sh [SECONDS]     (default 3)
#
# The fake camera broadcasts on every interface of the machine it runs on, so
# the camera and qvi grab run inside a private network namespace that holds
# nothing but loopback (scripts/netns.sh, which needs root or password-less
# sudo and deletes the namespace afterwards).  qvi grab takes SECONDS of
# 2048 x 2048 BayerRG8 frames at 25 frames per second, converting each into
# BGR24 on one thread per core and only measuring, and prints its summary;
# then one BayerGR8 frame is written to out/camera-demo/frame.png.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "${1:-}" = --inside-namespace ]; then
  # Inside the private namespace: the camera, then its client.
  seconds="$2"
  arv-fake-gv-camera-0.8 -i 127.0.0.1 >/dev/null 2>&1 &
  camera=$!
  trap 'kill "$camera" 2>/dev/null; wait "$camera" 2>/dev/null || true' EXIT
  for _ in $(seq 50); do
    ss -uln | grep -q '127.0.0.1:3956 ' && break
    sleep 0.1
  done
  qvi=build/release/tools/qvi
  echo "== qvi grab: ${seconds} s of 2048 x 2048 BayerRG8 from Aravis's fake GigE Vision camera on 127.0.0.1"
  "$qvi" grab --address 127.0.0.1 --pixel-format BayerRG8 --width 2048 --height 2048 --fps 25 \
    --frames "$((seconds * 25))" --json
  mkdir -p out/camera-demo
  echo "== one frame written as a picture"
  "$qvi" grab --address 127.0.0.1 --pixel-format BayerGR8 --width 2048 --height 2048 --frames 1 \
    -o out/camera-demo/frame.png
  exit 0
fi

seconds="${1:-3}"
case "$seconds" in
  '' | *[!0-9]* | 0) echo "usage: scripts/camera-demo.sh [SECONDS, a whole number from 1]" >&2; exit 2 ;;
esac
scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target qvi_cli >/dev/null
if [ ! -x build/release/tools/qvi ] || ! build/release/tools/qvi grab --help >/dev/null 2>&1; then
  echo "camera-demo.sh: qvi was built without Aravis (aravis-0.8 not found): no qvi grab" >&2
  exit 1
fi
status=0
scripts/netns.sh "$0" --inside-namespace "$seconds" || status=$?
if [ "$status" -eq 77 ]; then
  echo "camera-demo.sh: no private network namespace could be made here (root or password-less sudo is" \
       "needed), and the fake camera never runs outside one" >&2
fi
exit "$status"
