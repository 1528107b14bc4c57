# The libraries that planloc rests on, each as an imported target. The installed package
# includes this file too, so that a user of the static library links the same ones.
find_package(PkgConfig REQUIRED)
pkg_check_modules(CLP REQUIRED IMPORTED_TARGET clp)
pkg_check_modules(GMPXX REQUIRED IMPORTED_TARGET gmpxx)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)

if(PLANLOC_WINDOW)
  pkg_check_modules(XLIB REQUIRED IMPORTED_TARGET x11)
  find_path(FLTK_INCLUDE_DIR FL/Fl.H REQUIRED)
  find_library(FLTK_BASE_LIBRARY fltk REQUIRED)
  mark_as_advanced(FLTK_INCLUDE_DIR FLTK_BASE_LIBRARY)
  if(NOT TARGET planloc::fltk)
    add_library(planloc::fltk INTERFACE IMPORTED)
    target_include_directories(planloc::fltk SYSTEM INTERFACE ${FLTK_INCLUDE_DIR})
    target_link_libraries(planloc::fltk INTERFACE ${FLTK_BASE_LIBRARY} PkgConfig::XLIB)
  endif()
endif()
