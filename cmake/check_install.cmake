# Installs a build into a fresh prefix and builds examples/minimal_host
# against it twice: through find_package(Brelvane) and through pkg-config.
# Each build must run and compose its lookup.
#   cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DWORK_DIR=... -DCXX=... -DLIBDIR=...
#         -DSHARED=ON|OFF [-DHELP2MAN=ON] -P check_install.cmake
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed (${status}): ${ARGN}\n${out}")
  endif()
endfunction()

# The example prints the version, the caption and the SQL of its lookup.
function(check_example program)
  execute_process(COMMAND ${program} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${program} exited ${status}\n${out}${err}")
  endif()
  if(NOT out MATCHES "^Brelvane ${VERSION}\n" OR NOT out MATCHES "FROM +PC04_NATURECOSTI")
    message(FATAL_ERROR "${program} printed an unexpected text:\n${out}")
  endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})

# The tool comes with its completion and (when help2man made it) its manual.
if(EXISTS ${prefix}/bin/brelvane)
  foreach(file share/bash-completion/completions/brelvane share/man/man1/brelvane.1
                share/doc/brelvane/site/index.html)
    if(NOT EXISTS ${prefix}/${file} AND NOT (file MATCHES "man1" AND NOT HELP2MAN))
      message(FATAL_ERROR "the package lacks ${file}")
    endif()
  endforeach()
endif()

if(SHARED)
  file(GLOB library ${prefix}/${LIBDIR}/libbrelvane.so.*.*.*)
  if(NOT library)
    message(FATAL_ERROR "no versioned shared library under ${prefix}/${LIBDIR}")
  endif()
  # Only the public API is exported: nothing of the internal namespaces.
  find_program(NM nm)
  if(NM)
    execute_process(COMMAND ${NM} -D -C --defined-only ${library} OUTPUT_VARIABLE symbols)
    if(NOT symbols MATCHES "brelvane::registerBrelvane")
      message(FATAL_ERROR "the shared library does not export registerBrelvane")
    endif()
    if(symbols MATCHES "brelvane::(lookup|decode|connect|internal|detail)::")
      message(FATAL_ERROR "the shared library exports internal symbols")
    endif()
  endif()
endif()

# find_package, as a CMake project does.
run(${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples/minimal_host -B ${WORK_DIR}/with-cmake
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/with-cmake)
check_example(${WORK_DIR}/with-cmake/minimal_host)

# pkg-config, as a Makefile does.
find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs brelvane RESULT_VARIABLE status
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find brelvane under ${prefix}")
endif()
execute_process(COMMAND ${PKG_CONFIG} --modversion brelvane OUTPUT_VARIABLE version
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT version STREQUAL VERSION)
  message(FATAL_ERROR "pkg-config reports version '${version}', not ${VERSION}")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
file(MAKE_DIRECTORY ${WORK_DIR}/with-pkg-config)
run(${CXX} -std=c++20 ${SOURCE_DIR}/examples/minimal_host/main.cpp ${flags}
    -o ${WORK_DIR}/with-pkg-config/minimal_host)
check_example(${WORK_DIR}/with-pkg-config/minimal_host)

# The version file: the same major version is compatible, another is not.
file(WRITE ${WORK_DIR}/version-check/CMakeLists.txt
  "cmake_minimum_required(VERSION 3.25)\nproject(v NONE)\n"
  "find_package(Brelvane ${VERSION_MAJOR}.99 QUIET)\n"
  "if(Brelvane_FOUND)\n  message(FATAL_ERROR \"a newer minor version was accepted\")\nendif()\n"
  "find_package(Brelvane ${VERSION_MAJOR}.0 REQUIRED)\n")
run(${CMAKE_COMMAND} -S ${WORK_DIR}/version-check -B ${WORK_DIR}/version-check/build
    -DCMAKE_PREFIX_PATH=${prefix})
