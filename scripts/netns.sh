#!/usr/bin/env bash
# Runs a command inside a private network namespace that holds nothing but
# the loopback interface, then deletes the namespace.
#
#   scripts/netns.sh COMMAND [ARG...]
#
# Camera discovery (qvi cameras, qvi grab --camera, aravissrc camera-name=)
# and the fake GigE Vision camera (arv-fake-gv-camera-0.8) broadcast on every
# interface of the machine they run on.  Everything in this project that
# starts either of them goes through this script, so that no packet can leave
# for any address but 127.0.0.1: inside the namespace there is no other
# interface to send on.  Start the camera and its client from the same
# COMMAND (a script or a test program that starts the camera itself), since
# the namespace lives only as long as COMMAND.
#
# Needs root, or sudo.  Exit status: COMMAND's, or 77 (the "skipped" code of
# CTest's SKIP_RETURN_CODE and of automake) when no namespace can be made
# here; nothing is run outside a namespace.
set -euo pipefail

if [ $# -eq 0 ]; then
  echo "usage: scripts/netns.sh COMMAND [ARG...]" >&2
  exit 2
fi

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null && sudo -n true 2>/dev/null; then sudo="sudo -n"; else
    echo "netns.sh: a private network namespace needs root or password-less sudo; not running $1" >&2
    exit 77
  fi
fi
if ! command -v ip >/dev/null; then
  echo "netns.sh: the ip command (Debian package iproute2) is missing; not running $1" >&2
  exit 77
fi

name="qvi-$$-$RANDOM"
if ! $sudo ip netns add "$name" 2>/dev/null; then
  echo "netns.sh: could not create a network namespace here; not running $1" >&2
  exit 77
fi
trap '$sudo ip netns delete "$name" 2>/dev/null || true' EXIT
$sudo ip netns exec "$name" ip link set lo up

# The namespace must hold exactly one interface, loopback, and it must be up.
links=$($sudo ip netns exec "$name" ip -o link show | awk -F': ' '{print $2}')
if [ "$links" != "lo" ]; then
  echo "netns.sh: the namespace holds more than loopback ($links); not running $1" >&2
  exit 1
fi

# Keep the caller's identity inside: sudo runs the command as the caller again.
status=0
if [ -n "$sudo" ]; then
  $sudo ip netns exec "$name" sudo -n -u "$(id -un)" --preserve-env "$@" || status=$?
else
  ip netns exec "$name" "$@" || status=$?
fi
exit "$status"
