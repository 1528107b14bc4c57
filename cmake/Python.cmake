# The Python module, for the Python of the system: built where that, its headers and pybind11 are there.
set(PYBIND11_FINDPYTHON ON)
set(Python_FIND_VIRTUALENV STANDARD)
find_program(Python_EXECUTABLE python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_package(Python 3.9 COMPONENTS Interpreter Development.Module QUIET)
if(Python_Development.Module_FOUND)  # pybind11 insists on it
  find_package(pybind11 2.10 CONFIG QUIET)
endif()
if(NOT Python_Development.Module_FOUND OR NOT pybind11_FOUND)
  message(STATUS "No Python with its headers and pybind11: the Python module is left out")
  return()
endif()
# Debian's Python looks here: for packages, and for what is installed by hand below /usr/local.
if(CMAKE_INSTALL_PREFIX STREQUAL /usr)
  set(directory lib/python3/dist-packages)
else()
  set(directory lib/python${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}/dist-packages)
endif()
set(PLANLOC_PYTHON_DIR ${directory} CACHE STRING
    "Where the Python module is installed, below the prefix")
add_subdirectory(python)
