# bin/cellwalk, the library, include/planloc/..., a CMake package and planloc.pc.
include(CMakePackageConfigHelpers)

install(TARGETS planloc EXPORT planloc-targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS cellwalk RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY planloc DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILES_MATCHING PATTERN "*.h" PATTERN "driver" EXCLUDE PATTERN "fltk_*" EXCLUDE)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/planloc)
install(EXPORT planloc-targets NAMESPACE planloc:: DESTINATION ${package_dir})
configure_package_config_file(cmake/planloc-config.cmake.in planloc-config.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(planloc-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/planloc-config.cmake
              ${PROJECT_BINARY_DIR}/planloc-config-version.cmake
              cmake/Dependencies.cmake
        DESTINATION ${package_dir})

# Relative, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
if(PLANLOC_WINDOW)
  set(pc_window_requires " x11")
  set(pc_window_libs " -lfltk")
endif()
configure_file(cmake/planloc.pc.in planloc.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/planloc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
