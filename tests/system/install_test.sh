#!/usr/bin/env bash
# Makes the Debian package, installs it in a clean root and uses it as its users do: the programs, the
# headers, the CMake package and the pkg-config files. Without dpkg the build is installed as it is.
# Usage: install_test.sh cmake build-directory compiler version flags
set -euo pipefail
cmake=$1 build=$2 compiler=$3 version=$4 flags=$5

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
fail() {
  echo "$*" >&2
  exit 1
}

# ----- Install -----

if command -v dpkg-deb >/dev/null; then
  (cd "$root" && "$(dirname "$cmake")/cpack" --config "$build/CPackConfig.cmake" -B "$root" >/dev/null 2>"$root/cpack.log") ||
    fail "$(cat "$root/cpack.log")"
  mkdir -p "$root/clean/var/lib/dpkg/"{updates,info,triggers}
  touch "$root/clean/var/lib/dpkg/"{status,available}
  # Not configured: the call of ldconfig, in the package of a shared build, takes a shell in the root.
  dpkg --root="$root/clean" --force-not-root --force-depends --log=/dev/null \
    --unpack "$root"/planloc_*.deb >"$root/dpkg.log" 2>&1 || fail "$(cat "$root/dpkg.log")"
  prefix=$root/clean/usr
else
  echo "no dpkg: the package is not made, the build is installed without it"
  "$cmake" --install "$build" --prefix "$root/prefix" >/dev/null
  prefix=$root/prefix
fi

programs="cellwalk make_parameters"
# The tool is left out of a build without GDAL.
if [ -x "$build/tools/planloc/planloc" ]; then
  programs="$programs planloc"
  test -s "$prefix/share/bash-completion/completions/planloc" || fail "no completion of planloc"
fi
for program in $programs; do
  test "$("$prefix/bin/$program" --version)" = "$program $version" || fail "$program --version"
  test -s "$prefix/share/man/man1/$program.1"* || fail "no man page of $program"
done
test -s "$(find "$prefix/share/doc" -name file-formats.md)" || fail "no documents"
internal=$(find "$prefix/include" -name '*_impl.h' -o -name 'fltk_*' -o -name 'clp_*' -o -path '*driver*')
test -z "$internal" || fail "internal headers: $internal"
! grep -rl 'cairo.h\|lp_lib.h\|Clp.*\.hpp' "$prefix/include" || fail "headers of the libraries inside"

# ----- Use -----

mkdir "$root/consumer"
cat >"$root/consumer/main.cpp" <<'CPP'
#include <bits/stdc++.h>
using namespace std;
#include <planloc/certified.h>
#include <planloc/planloc.h>
int main() {
  planloc::polygauge g({{2, 0}, {0, 1}, {-1, 0}, {0, -1}});
  planloc::IlcInitFloat();
  planloc::IlcManager m(1);
  planloc::IlcLinOpt lp(m, 0);
  planloc::IlcFloatVar x(m, 0.0, 10.0);
  planloc::IlcFloatVar y(m, 0.0, 10.0);
  lp.setObjMin(x + y, 0);
  lp.add(x + 2.0 * y >= y + 3.0, 0);
  const int status = lp.dualOpt();
  planloc::facilities F;
  F.append(planloc::location(2.0, 1.0, 3.0, 4.0, 1.0));
  F.N_l1_sum(1, planloc::matrix(1, 1), true);
  const planloc::rational third = planloc::rational(1) / planloc::rational(3);
  std::cout << g.distance(planloc::point(2, 0), planloc::point(0, 0)) << ' ' << status << ' '
            << lp.getObjValue() << ' ' << F.opt.head()[1] << ' ' << third << '\n';
}
CPP
cat >"$root/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(planloc REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE planloc::planloc)
get_target_property(options planloc::planloc INTERFACE_COMPILE_OPTIONS)
if(NOT "${options}" MATCHES "-ffp-contract=off")
  message(FATAL_ERROR "the flag of the results does not reach the user: ${options}")
endif()
if(TARGET planloc::window)
  add_executable(with_window main.cpp)
  target_link_libraries(with_window PRIVATE planloc::window)
endif()
CMAKE
expected="2 1 3 4 1/3"
"$cmake" -S "$root/consumer" -B "$root/consumer/build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
"$cmake" --build "$root/consumer/build" >/dev/null
needs() { readelf -d "$1" | grep -E 'NEEDED.*(fltk|X11)' || true; }
for program in consumer with_window; do
  built=$root/consumer/build/$program
  [ -x "$built" ] || continue
  test "$(LD_LIBRARY_PATH=$prefix/lib "$built")" = "$expected" || fail "$program"
done
test -z "$(needs "$root/consumer/build/consumer")" || fail "the library without the window links FLTK"

# Without a dependency planloc is not found, and the configuration goes on.
mkdir "$root/without"
cat >"$root/without/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(without LANGUAGES CXX)
find_package(planloc QUIET)
if(planloc_FOUND OR NOT planloc_NOT_FOUND_MESSAGE MATCHES "gmpxx")
  message(FATAL_ERROR "found: ${planloc_FOUND} ${planloc_NOT_FOUND_MESSAGE}")
endif()
CMAKE
PKG_CONFIG_LIBDIR=/nowhere "$cmake" -S "$root/without" -B "$root/without/build" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" >/dev/null

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name planloc.pc)")
for kind in "" --static; do
  # shellcheck disable=SC2046,SC2086
  "$compiler" -std=c++20 $flags "$root/consumer/main.cpp" -o "$root/by_pkg_config" \
    $(pkg-config --cflags $kind --libs planloc)
  test "$(LD_LIBRARY_PATH=$prefix/lib "$root/by_pkg_config")" = "$expected" || fail "pkg-config $kind"
done
