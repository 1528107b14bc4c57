#!/usr/bin/env bash
# Sites from a PostGIS database that the test starts: the answer is that of the CSV they came from.
# Skipped (77) where PostgreSQL, PostGIS or ogr2ogr is not installed, or root may not become another user.
# Usage: postgis_test.sh towns.csv planloc
set -euo pipefail
towns=$(realpath "$1")
planloc=$2

skip() { echo "skipped: $1"; exit 77; }
bin=$(ls -d /usr/lib/postgresql/*/bin 2>/dev/null | tail -n 1)
[ -n "$bin" ] && [ -x "$bin/initdb" ] || skip "no PostgreSQL"
ls /usr/share/postgresql/*/extension/postgis.control >/dev/null 2>&1 || skip "no PostGIS"
command -v ogr2ogr >/dev/null || skip "no ogr2ogr"

work=$(mktemp -d)
as_owner=()
if [ "$(id -u)" -eq 0 ]; then  # the server does not run as root
  id postgres >/dev/null 2>&1 || skip "no user postgres"
  chown postgres "$work"
  as_owner=(runuser -u postgres --)
fi
cd "$work"
finish() {
  "${as_owner[@]}" "$bin/pg_ctl" -D "$work/data" -m immediate stop >/dev/null 2>&1 || true
  rm -rf "$work"
}
trap finish EXIT

"${as_owner[@]}" "$bin/initdb" -D "$work/data" -U planloc -A trust >log.txt 2>&1 || { cat log.txt; exit 1; }
"${as_owner[@]}" "$bin/pg_ctl" -D "$work/data" -w -l "$work/server.log" \
  -o "-c listen_addresses='' -c unix_socket_directories='$work' -c fsync=off" start >>log.txt 2>&1 ||
  { cat log.txt "$work/server.log"; exit 1; }
"$bin/createdb" -h "$work" -U planloc trade
"$bin/psql" -q -h "$work" -U planloc -c "create extension postgis" trade
source="PG:host=$work user=planloc dbname=trade"
ogr2ogr -f PostgreSQL "$source" "$towns" -nln towns -a_srs EPSG:4326 -oo AUTODETECT_TYPE=YES \
  -oo X_POSSIBLE_NAMES=lon -oo Y_POSSIBLE_NAMES=lat

value() { grep -m 1 '"value"' | tr -dc '0-9.e+-'; }
ask=(--weight population --gauge octagon --format json)
from_table=$("$planloc" solve "$towns" --name town "${ask[@]}" | value)
from_base=$("$planloc" solve "$source" --layer towns --name town "${ask[@]}" | value)
[ -n "$from_base" ] && [ "$from_base" = "$from_table" ] ||
  { echo "the table says $from_table, the database $from_base" >&2; exit 1; }

refused() {  # status 1 and the text on the error stream
  local text=$1 status=0
  shift
  "$planloc" solve "$@" >/dev/null 2>error.txt || status=$?
  [ "$status" -eq 1 ] && grep -q "$text" error.txt || { echo "status $status:" >&2; cat error.txt >&2; exit 1; }
}
refused "villages" "$source" --layer villages
refused "inhabitants" "$source" --layer towns --weight inhabitants
refused "nowhere" "PG:host=$work user=planloc dbname=nowhere"
