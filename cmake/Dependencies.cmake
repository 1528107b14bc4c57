# The libraries that planloc rests on, each as an imported target. The installed package
# includes this file too, so that a user of the static library links the same ones.
find_package(PkgConfig REQUIRED)
pkg_check_modules(CLP REQUIRED IMPORTED_TARGET clp)
pkg_check_modules(GMPXX REQUIRED IMPORTED_TARGET gmpxx)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)
