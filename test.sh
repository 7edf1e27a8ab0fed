#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The NodeDB authors
# SPDX-License-Identifier: MIT
#
# ./test.sh         installs what the tests need, builds and runs the whole suite; the thread tests run under the
#                   thread sanitizer, from a small second build
# ./test.sh asan    the suite under the address, undefined-behaviour and leak sanitizers instead (takes longer)
set -euo pipefail
cd "$(dirname "$0")"

case "${1:-}" in
  "") preset=ci ;;
  asan) preset=asan ;;
  *) sed -n '5,8p' "$0"; exit 2 ;;
esac

tools/install-packages test

build() {
  local preset=$1; shift
  echo "Building build/$preset …"
  cmake --preset "$preset" "$@" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; return 1; }
  cmake --build --preset "$preset" >>"build/$preset.log" 2>&1 || { tail -n 60 "build/$preset.log"; return 1; }
}

mkdir -p build
arguments=()
if [ "$preset" = ci ]; then
  build tsan
  arguments+=(-DNODEDB_TSAN_TREE="$PWD/build/tsan")
fi
build "$preset" "${arguments[@]}"
status=0
ctest --test-dir "build/$preset" --output-on-failure -j 2 --output-junit junit.xml || status=$?
count() { sed -n "s/.*[[:space:]]$1=\"\([0-9]*\)\".*/\1/p; /<testcase/q" "build/$preset/junit.xml" | head -n 1; }
echo "$(($(count tests) - $(count failures) - $(count skipped))) passed, $(count failures) failed, $(count skipped) skipped"
exit $status
