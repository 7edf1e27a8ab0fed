#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT
#
# ./run.sh             builds what is missing, then scans a network in a box and lists what was found
# ./run.sh --viewer    opens what that found in a window (examples/viewer), after scanning if there is nothing yet;
#                      without a display, makes a picture of it
# ./run.sh ARGUMENTS   runs "nodedb ARGUMENTS" on this machine instead, for example: ./run.sh scan --for 30
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$here/build/release
nodedb=$build/bin/nodedb
demo=$here/build/demo
store=sqlite:$demo/devices.db

set_up() {
  "$here/tools/install-packages" run
  echo "Building build/release; the first time this takes some minutes …"
  mkdir -p "$here/build"
  (cd "$here" && cmake --preset release >build/release.log && cmake --build --preset release) |
    { if [ -t 1 ]; then cat; else tail -n 1; fi; }
}

# Whether anything that the build depends on is newer than its result.
is_stale() {
  [ ! -x "$nodedb" ] || [ ! -e "$build/.complete" ] ||
    [ -n "$(find "$here"/{CMakeLists.txt,cmake,libs,plugins,apps,examples,tools} -newer "$build/.complete" -print -quit)" ]
}

# Without namespaces: the same devices on loopback addresses, added by hand.
on_loopback() {
  echo "Serving the devices on loopback addresses instead; nodedb adds them by address."
  "$here/tools/lab" --build "$build" --loopback bash -c '
    lab=$1 build=$2 nodedb=$3 store=$4
    "$lab" --build "$build" --tell list | while read -r _ address ports _; do
      case $ports in
        *443) "$nodedb" --store "$store" add "$address" --port "${ports##*,}" --ssl ;;
        [0-9]*) "$nodedb" --store "$store" add "$address" --port "$ports" ;;
      esac || echo "($address is not a device that answers)"
    done' lab "$here/tools/lab" "$build" "$nodedb" "$store"
}

# arrange NAME TYPE VIEW: makes a view in VIEW of the nodes of a type, if there are any.
arrange() {
  local name=$1 type=$2 in=$3 listed text ids
  listed=$("$nodedb" --store "$store" --json list --type "$type") || return 0 # built without its driver
  text=$(python3 -c 'import json, sys; print(*(n["ID"] for n in json.load(sys.stdin)["items"]), sep="\n")' <<<"$listed")
  [ -n "$text" ] || return 0
  mapfile -t ids <<<"$text"
  "$nodedb" --store "$store" view add "$name" --in "$in"
  "$nodedb" --store "$store" view add "${ids[@]}" --to "$name"
}

scan() {
  local status=0 found="Found in the lab"
  rm -rf "$demo"
  mkdir -p "$demo"
  echo "Scanning a network in a box for 10 s; Ctrl-C ends it earlier."
  "$here/tools/lab" --build "$build" "$nodedb" --store "$store" scan --for 10 --sweep || status=$?
  if [ "$status" -eq 77 ]; then
    on_loopback
  elif [ "$status" -ne 0 ]; then
    exit "$status"
  fi
  {
    "$nodedb" --store "$store" view add "$found"
    arrange Cameras 2 "$found"
    arrange Storage 4 "$found"
  } >/dev/null
}

show() {
  if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    exec "$build/bin/viewer" "$store"
  fi
  QT_QPA_PLATFORM=offscreen "$build/bin/viewer" "$store" --picture "$demo/viewer.png"
  echo "There is no display; a picture of the window is in $demo/viewer.png"
}

if [ "${1:-}" = --viewer ] && [ $# -gt 1 ]; then
  echo "run.sh: --viewer takes no further arguments" >&2
  exit 2
fi
if is_stale; then
  set_up >&2
  touch "$build/.complete"
fi
case "${1:-}" in
  "")
    scan
    echo
    echo "What another process reads from $store:"
    "$nodedb" --store "$store" list
    ;;
  --viewer)
    [ -e "${store#sqlite:}" ] || scan
    show
    ;;
  *) exec "$nodedb" "$@" ;;
esac
