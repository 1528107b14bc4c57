# The libraries that planloc rests on, each as an imported target. The installed package
# includes this file too, so that a user of the static library links the same ones.
find_package(PkgConfig REQUIRED)
pkg_check_modules(CLP REQUIRED IMPORTED_TARGET clp)
pkg_check_modules(CBC REQUIRED IMPORTED_TARGET cbc)  # brings CLP
pkg_check_modules(GMPXX REQUIRED IMPORTED_TARGET gmpxx)
pkg_check_modules(CAIRO REQUIRED IMPORTED_TARGET cairo)

# lp_solve and what it rests on have no pkg-config files.
find_path(LPSOLVE_INCLUDE_DIR lpsolve/lp_lib.h REQUIRED)
find_library(LPSOLVE_LIBRARY lpsolve55 REQUIRED)
find_library(COLAMD_LIBRARY colamd REQUIRED)
mark_as_advanced(LPSOLVE_INCLUDE_DIR LPSOLVE_LIBRARY COLAMD_LIBRARY)
if(NOT TARGET planloc::lpsolve)
  add_library(planloc::lpsolve INTERFACE IMPORTED)
  target_include_directories(planloc::lpsolve SYSTEM INTERFACE ${LPSOLVE_INCLUDE_DIR})
  target_link_libraries(planloc::lpsolve INTERFACE ${LPSOLVE_LIBRARY} ${COLAMD_LIBRARY}
                                                   ${CMAKE_DL_LIBS})
endif()

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
