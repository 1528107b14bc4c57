#!/usr/bin/env bash
# Runs every command of the tutorial in a copy of its example's folder. They have to succeed.
# Usage: tutorial_test.sh tutorial.md folder planloc cellwalk
set -euo pipefail
tutorial=$(realpath "$1")

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$2"/{towns.csv,reserve.geojson,flow.csv} "$work"
mkdir "$work/bin"
ln -s "$3" "$work/bin/planloc"
ln -s "$4" "$work/bin/cellwalk"
export PATH=$work/bin:$PATH DISPLAY=
cd "$work"

count=0
while IFS= read -r line; do
  echo "\$ $line"
  bash -c "$line" >output.txt || { echo "status $?: $line" >&2; cat output.txt; exit 1; }
  test -s output.txt || [[ $line == *--output* ]] || { echo "no output: $line" >&2; exit 1; }
  count=$((count + 1))
done < <(awk '/^```/ { inside = !inside; next } inside && /^(planloc|cellwalk) /' "$tutorial")
test "$count" -ge 15
# What the page says.
grep -q "29.12 km SW of Antequera" <(planloc solve towns.csv --name town --weight population)
grep -q "28.68 km W of Antequera" \
  <(planloc solve towns.csv --name town --weight population --forbid reserve.geojson)
grep -q "129141.*at least 12913[0-9]" \
  <(planloc depots towns.csv --name town --weight population --new 5 --bound --time-limit 30)
for file in median.svg reserve.svg hours.geojson motorways.gauge compare.svg depots.svg depot.proof run/log.txt; do
  test -s "$file" || { echo "$file is missing" >&2; exit 1; }
done
