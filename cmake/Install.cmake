# bin/, the libraries, include/planloc/... with what users include, a CMake package, pkg-config files,
# documents and man pages; and a Debian package of all that (cpack).
include(CMakePackageConfigHelpers)
include(cmake/PublicHeaders.cmake)

install(TARGETS planloc EXPORT planloc-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
set(programs cellwalk make_parameters)
set(pages cellwalk make_parameters)
if(PLANLOC_TOOL)
  list(APPEND programs planloc_tool)
  list(APPEND pages planloc)
  install(FILES tools/planloc/planloc.bash RENAME planloc
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
install(TARGETS ${programs} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(BUILD_SHARED_LIBS)
  file(RELATIVE_PATH libraries_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(${programs} PROPERTIES
                        INSTALL_RPATH "$ORIGIN/${libraries_from_bin}")
endif()

planloc_public_headers(headers)
foreach(header ${headers})
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/planloc)
install(EXPORT planloc-targets NAMESPACE planloc:: DESTINATION ${package_dir})
configure_package_config_file(cmake/planloc-config.cmake.in planloc-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(planloc-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/planloc-config.cmake
              ${PROJECT_BINARY_DIR}/planloc-config-version.cmake
              cmake/Dependencies.cmake
        DESTINATION ${package_dir})

# A static library hands on what it links, a shared one only what its headers include. The prefix is
# relative, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(core_requires "cbc cairo")
set(core_libs "-llpsolve55 -lcolamd -ldl")
if(BUILD_SHARED_LIBS)
  set(pc_requires_private ${core_requires})
  set(pc_libs_private ${core_libs})
  set(pc_window "-Wl,--push-state,--no-as-needed -lplanloc_window -Wl,--pop-state")
  set(pc_window_requires_private x11)
  set(pc_window_libs_private -lfltk)
else()
  set(pc_requires " ${core_requires}")
  set(pc_libs " ${core_libs}")
  set(pc_window "-Wl,--undefined=planloc_window_linked -lplanloc_window")
  set(pc_window_requires " x11")
  set(pc_window_libs " -lfltk")
endif()
set(pc_files planloc.pc)

if(PLANLOC_WINDOW)
  install(TARGETS planloc_window EXPORT planloc-window-targets
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(EXPORT planloc-window-targets NAMESPACE planloc:: DESTINATION ${package_dir})
  list(APPEND pc_files planloc-window.pc)
endif()
foreach(file ${pc_files})
  configure_file(cmake/${file}.in ${file} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${file} DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

foreach(page ${pages})
  configure_file(man/${page}.1 man/${page}.1 @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/man/${page}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
        PATTERN CMakeLists.txt EXCLUDE)

# ----- Debian package -----

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "planloc maintainers <planloc@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
find_program(DPKG_SHLIBDEPS dpkg-shlibdeps)
mark_as_advanced(DPKG_SHLIBDEPS)
if(DPKG_SHLIBDEPS)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libgmp-dev")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
    "pkg-config, coinor-libcbc-dev, liblpsolve55-dev, libcairo2-dev, libfltk1.3-dev")
if(NOT DPKG_SHLIBDEPS)
  string(APPEND CPACK_DEBIAN_PACKAGE_DEPENDS ", coinor-libcbc-dev, libcairo2-dev")
endif()
include(CPack)
