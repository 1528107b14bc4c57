#!/usr/bin/env bash
# The folders include as their order allows, and the check of that finds the includes that do not.
# Usage: layers_test.sh root
set -euo pipefail
root=$1
"$root/scripts/check-layers" "$root"

planted=$(mktemp -d)
trap 'rm -rf "$planted"' EXIT
while read -r place include; do
  rm -rf "$planted/planloc"
  mkdir -p "$planted/$(dirname "$place")"
  echo "#include $include" >"$planted/$place"
  if "$root/scripts/check-layers" "$planted" >/dev/null; then
    echo "not found: $include in $place" >&2
    exit 1
  fi
done <<'CASES'
planloc/foundation/containers/a.h "planloc/foundation/numeric/vector.h"
planloc/foundation/graph/a.h <planloc/foundation/window/window.h>
planloc/engine/a.cpp "planloc/foundation/containers/list.h"
planloc/model/a.l "planloc/facilities/facilities.h"
planloc/model/a.h "planloc/engine/engine.h"
planloc/optimum/a.h "planloc/model/location.h"
planloc/optimum/proof/a.cpp "planloc/optimum/general/search_tree.h"
planloc/facilities/a.h "planloc/driver/walk.h"
planloc/driver/a.h "walk.h"
planloc/elsewhere/a.h "planloc/elsewhere/b.h"
CASES
