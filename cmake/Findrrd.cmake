# Defines the target rrd::rrd, the RRD library. Its time_t must have 64 bits: with 32 bits everything
# compiles and links, and then every time is nonsense. The library may be for another machine, so it is not
# run; a 32-bit library shows its time_t by the functions that it imports.
find_path(rrd_INCLUDE_DIR rrd.h)
find_library(rrd_LIBRARY rrd)
mark_as_advanced(rrd_INCLUDE_DIR rrd_LIBRARY)

set(rrd_problem "")
if(NOT DEFINED rrd_HAS_64BIT_TIME)
  set(rrd_HAS_64BIT_TIME ON)
  if(rrd_LIBRARY AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    file(STRINGS "${rrd_LIBRARY}" calls REGEX "__(time|localtime|gmtime|mktime)64" LIMIT_COUNT 1)
    if(NOT calls)
      set(rrd_HAS_64BIT_TIME OFF)
      string(CONCAT rrd_problem
        "${rrd_LIBRARY} calls no __time64, so its time_t has 32 bits. Install an RRD library built with "
        "-D_TIME_BITS=64 -D_FILE_OFFSET_BITS=64 (Debian has it from release 13 on), or name it with "
        "-Drrd_LIBRARY=FILE. Where no time_t has 32 bits, say -Drrd_HAS_64BIT_TIME=ON.")
    endif()
  endif()
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(rrd
  REQUIRED_VARS rrd_LIBRARY rrd_INCLUDE_DIR rrd_HAS_64BIT_TIME
  REASON_FAILURE_MESSAGE "${rrd_problem}")

if(rrd_FOUND AND NOT TARGET rrd::rrd)
  add_library(rrd::rrd UNKNOWN IMPORTED)
  set_target_properties(rrd::rrd PROPERTIES
    IMPORTED_LOCATION "${rrd_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${rrd_INCLUDE_DIR}")
endif()
