# Installs the library, builds the program in docs/example against it with CMake and with pkg-config, and
# runs both; then builds, tests and installs the library on another host platform, that in
# docs/host-platform. BUILD_DIR and SOURCE_DIR name the directories of this project, COMPILER, TOOLCHAIN
# and EMULATOR what its build uses; the last two may be empty.
set(work "${BUILD_DIR}/package-test")
file(REMOVE_RECURSE "${work}")
file(MAKE_DIRECTORY "${work}/data")

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output
                  OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${status}\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${work}/prefix")
run(${CMAKE_COMMAND} -S "${SOURCE_DIR}/docs/example" -B "${work}/build" -G Ninja
    "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DCMAKE_PREFIX_PATH=${work}/prefix")
run(${CMAKE_COMMAND} --build "${work}/build")
function(run_example program)
  run(${EMULATOR} "${program}" "${work}/data")
  if(NOT output STREQUAL "2024-01-01T00:00:00.000+01:00 20.50 good
2024-02-01T00:00:00.000+01:00 22.50 good")
    message(FATAL_ERROR "unexpected: ${output}")
  endif()
endfunction()
run_example("${work}/build/package-user")
file(GLOB push_program "${work}/prefix/*/nvx-timeseries/nvx-timeseries-push")
if(push_program AND NOT EMULATOR)
  run("${work}/prefix/bin/nvx-timeseries" push --help)
endif()
file(READ "${SOURCE_DIR}/README.md" readme)
file(READ "${SOURCE_DIR}/docs/example/main.cc" example)
string(FIND "${readme}" "```cpp\n${example}```\n" place)
if(place EQUAL -1)
  message(FATAL_ERROR "README.md does not show docs/example/main.cc as it is")
endif()

file(GLOB_RECURSE package_file "${work}/prefix/*/nvx-timeseries-database.pc")
get_filename_component(package_dir "${package_file}" DIRECTORY)
get_filename_component(library_dir "${package_dir}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} "${package_dir}")
run(pkg-config --cflags --libs nvx-timeseries-database)
separate_arguments(flags UNIX_COMMAND "${output}")
run(${COMPILER} -std=c++17 "${SOURCE_DIR}/docs/example/main.cc" -o "${work}/pkgconfig-user" ${flags}
    "-Wl,-rpath,${library_dir}")
run_example("${work}/pkgconfig-user")  # with the file that the first one made

# The pages that the installed README links to.
set(pages "${work}/prefix/share/doc/nvx-timeseries-database")
file(READ "${pages}/README.md" readme)
string(REGEX MATCHALL "\\([a-zA-Z0-9/-]+\\.(md|png)\\)" links "${readme}")
foreach(link ${links})
  string(REGEX REPLACE "[()]" "" page "${link}")
  if(NOT EXISTS "${pages}/${page}")
    message(FATAL_ERROR "not installed: ${page}")
  endif()
endforeach()

run(${CMAKE_COMMAND} -S "${SOURCE_DIR}" -B "${work}/other" -G Ninja
    "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DNVX_HOST_PLATFORM=${SOURCE_DIR}/docs/host-platform"
    -DCMAKE_CXX_VISIBILITY_PRESET=hidden -DNVX_BUILD_TESTS=ON)
run(${CMAKE_COMMAND} --build "${work}/other")
run(${EMULATOR} "${work}/other/bin/host_test")
run(${CMAKE_COMMAND} --install "${work}/other" --prefix "${work}/other-prefix")
file(GLOB_RECURSE libraries RELATIVE "${work}/other-prefix" "${work}/other-prefix/*.so.0")
if(NOT libraries MATCHES "^[^;]*/libnvx-timeseries-database.so.0$")
  message(FATAL_ERROR "installed: ${libraries}")
endif()
