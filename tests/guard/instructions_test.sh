#!/usr/bin/env bash
# The instructions of single calls under callgrind, against limits.txt.
#
#   instructions_test.sh contest limits.txt build-type [show]
set -euo pipefail
contest=$1 limits=$2 build=$3 show=${4:-}

skip() { echo "skipped: $*"; exit 77; }
[ "$build" = Release ] || skip "the limits are those of a plain Release build, not of '$build'"
command -v valgrind >/dev/null || skip "no valgrind"

# instructions <row> <contestant> <size>
instructions() {
  valgrind --tool=callgrind --callgrind-out-file=/dev/null --toggle-collect='*time_calls*' \
    "$contest" "$1" "$2" "$3" 1 <<<1 2>&1 >/dev/null | sed -n 's/.*Collected : *//p'
}

failed=0
while read -r row name size _ _ limit; do
  case $row in '' | '#'*) continue ;; esac
  [ "$limit" != - ] || continue
  each=$(($(instructions "$row" "$name" "$size") / 1000))
  [ -z "$show" ] || echo "$row $name $size $each"
  if [ "$each" -gt "$limit" ]; then
    echo "$row, $name, size $size: $each thousand instructions, at most $limit expected"
    failed=1
  fi
done <"$limits"
exit $failed
