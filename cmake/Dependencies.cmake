# The libraries that planloc rests on, each as an imported target. The installed package includes this
# file too, so that a user of the static library links the same ones.
#
# planloc_find_dependencies(<missing> COMPONENTS <core|shared|window>...) sets <missing> to the names of
# what is not there: core is all that the library links, shared what users of a shared one need.

macro(planloc_find_by_pkg_config missing prefix module)
  pkg_check_modules(${prefix} QUIET IMPORTED_TARGET ${module})
  if(NOT TARGET PkgConfig::${prefix})
    list(APPEND ${missing} ${module})
  endif()
endmacro()

# lp_solve and what it rests on have no pkg-config files.
macro(planloc_find_lpsolve missing)
  find_path(LPSOLVE_INCLUDE_DIR lpsolve/lp_lib.h)
  find_library(LPSOLVE_LIBRARY lpsolve55_pic NAMES lpsolve55_pic lpsolve55)
  find_library(COLAMD_LIBRARY colamd)
  mark_as_advanced(LPSOLVE_INCLUDE_DIR LPSOLVE_LIBRARY COLAMD_LIBRARY)
  if(NOT LPSOLVE_INCLUDE_DIR OR NOT LPSOLVE_LIBRARY OR NOT COLAMD_LIBRARY)
    list(APPEND ${missing} lp_solve)
  elseif(NOT TARGET planloc::lpsolve)
    add_library(planloc::lpsolve INTERFACE IMPORTED)
    target_include_directories(planloc::lpsolve SYSTEM INTERFACE ${LPSOLVE_INCLUDE_DIR})
    target_link_libraries(planloc::lpsolve INTERFACE ${LPSOLVE_LIBRARY} ${COLAMD_LIBRARY}
                                                     ${CMAKE_DL_LIBS})
  endif()
endmacro()

macro(planloc_find_fltk missing)
  find_path(FLTK_INCLUDE_DIR FL/Fl.H)
  find_library(FLTK_BASE_LIBRARY fltk)
  mark_as_advanced(FLTK_INCLUDE_DIR FLTK_BASE_LIBRARY)
  if(NOT FLTK_INCLUDE_DIR OR NOT FLTK_BASE_LIBRARY)
    list(APPEND ${missing} fltk)
  elseif(TARGET PkgConfig::XLIB AND NOT TARGET planloc::fltk)
    add_library(planloc::fltk INTERFACE IMPORTED)
    target_include_directories(planloc::fltk SYSTEM INTERFACE ${FLTK_INCLUDE_DIR})
    target_link_libraries(planloc::fltk INTERFACE ${FLTK_BASE_LIBRARY} PkgConfig::XLIB)
  endif()
endmacro()

macro(planloc_find_dependencies missing)
  set(${missing})
  find_package(PkgConfig QUIET)
  if(NOT PkgConfig_FOUND)
    list(APPEND ${missing} pkg-config)
  else()
    foreach(component ${ARGN})
      if(component STREQUAL shared)
        planloc_find_by_pkg_config(${missing} GMPXX gmpxx)
      elseif(component STREQUAL core)
        planloc_find_by_pkg_config(${missing} GMPXX gmpxx)
        planloc_find_by_pkg_config(${missing} CBC cbc)  # brings CLP
        planloc_find_by_pkg_config(${missing} CAIRO cairo)
        planloc_find_lpsolve(${missing})
      elseif(component STREQUAL window)
        planloc_find_by_pkg_config(${missing} XLIB x11)
        planloc_find_fltk(${missing})
      endif()
    endforeach()
  endif()
endmacro()
