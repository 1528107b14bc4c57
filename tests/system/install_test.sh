#!/usr/bin/env bash
# Installs the build into a fresh prefix and uses it as its users do: the program, the CMake package
# and the pkg-config file.
# Usage: install_test.sh cmake build-directory compiler version flags
set -euo pipefail
cmake=$1 build=$2 compiler=$3 version=$4 flags=$5

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
"$cmake" --install "$build" --prefix "$root/prefix" >/dev/null

test "$("$root/prefix/bin/cellwalk" --version)" = "cellwalk $version"

mkdir "$root/consumer"
cat >"$root/consumer/main.cpp" <<'CPP'
#include <planloc/planloc.h>
#include <iostream>
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
  std::cout << g.distance(planloc::point(2, 0), planloc::point(0, 0)) << ' ' << status << ' '
            << lp.getObjValue() << ' ' << F.opt.head()[1] << '\n';
}
CPP
cat >"$root/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer LANGUAGES CXX)
find_package(planloc REQUIRED)
add_executable(consumer main.cpp)
target_link_libraries(consumer PRIVATE planloc::planloc)
CMAKE
"$cmake" -S "$root/consumer" -B "$root/consumer/build" -DCMAKE_PREFIX_PATH="$root/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
"$cmake" --build "$root/consumer/build" >/dev/null
test "$("$root/consumer/build/consumer")" = "2 1 3 4"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$root/prefix" -name planloc.pc)")
# shellcheck disable=SC2046,SC2086
"$compiler" -std=c++20 $flags "$root/consumer/main.cpp" -o "$root/by_pkg_config" \
  $(pkg-config --cflags --libs planloc)
test "$("$root/by_pkg_config")" = "2 1 3 4"
