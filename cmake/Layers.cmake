# A layer is one subsystem folder, compiled once into an object library. A layer sees the headers
# of the layers that it names and of no dependency that it does not name, so a wrong include fails
# at link time of that layer's tests.

add_library(planloc_flags INTERFACE)
# Results are the same on every machine: no fused multiply-add, no reassociation.
target_compile_options(planloc_flags INTERFACE -ffp-contract=off
                                               -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=
                                               -Wall -Wextra -Wpedantic -Wshadow
                                               -Wconversion -Wno-sign-conversion)
# GCC 12 warns of overlapping copies inside std::string's own operator+ at -O3.
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  target_compile_options(planloc_flags INTERFACE -Wno-restrict)
endif()

# planloc_layer(<name> SOURCES <files> [DEPENDS <imported targets>])
function(planloc_layer name)
  cmake_parse_arguments(arg "" "" "SOURCES;DEPENDS" ${ARGN})
  add_library(planloc_${name} OBJECT ${arg_SOURCES})
  target_include_directories(planloc_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  set_target_properties(planloc_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(planloc_${name} PRIVATE planloc_flags PUBLIC ${arg_DEPENDS})
endfunction()

# planloc_library(<name>): what users link. Results are those of the library in their build as well, so
# the flag that decides how inline arithmetic is rounded goes with it.
function(planloc_library name)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_options(${name} INTERFACE
    $<$<COMPILE_LANG_AND_ID:CXX,GNU,Clang,AppleClang>:-ffp-contract=off>)
  target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
                                            $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION}
                        SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
  if(BUILD_SHARED_LIBS)
    set(map ${PROJECT_SOURCE_DIR}/cmake/${name}.map)
    target_link_options(${name} PRIVATE LINKER:--version-script=${map})
    set_target_properties(${name} PROPERTIES LINK_DEPENDS ${map})
  endif()
endfunction()

# planloc_tests(<name> LAYERS <layers> SOURCES <files>): one GoogleTest program.
function(planloc_tests name)
  cmake_parse_arguments(arg "" "" "LAYERS;SOURCES" ${ARGN})
  list(TRANSFORM arg_LAYERS PREPEND planloc_)
  add_executable(${name}_tests ${arg_SOURCES})
  target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name}_tests PRIVATE planloc_flags ${arg_LAYERS} GTest::gtest_main)
  gtest_discover_tests(${name}_tests DISCOVERY_TIMEOUT 60
                       PROPERTIES ENVIRONMENT "DISPLAY=" TIMEOUT 300)
endfunction()
