# Defines the target rrd::rrd, the RRD library.
find_path(rrd_INCLUDE_DIR rrd.h)
find_library(rrd_LIBRARY rrd)
mark_as_advanced(rrd_INCLUDE_DIR rrd_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(rrd REQUIRED_VARS rrd_LIBRARY rrd_INCLUDE_DIR)

if(rrd_FOUND AND NOT TARGET rrd::rrd)
  add_library(rrd::rrd UNKNOWN IMPORTED)
  set_target_properties(rrd::rrd PROPERTIES
    IMPORTED_LOCATION "${rrd_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${rrd_INCLUDE_DIR}")
endif()
