# Defines the target cctz::cctz; the Debian package has no CMake files of its own.
find_path(cctz_INCLUDE_DIR cctz/time_zone.h)
find_library(cctz_LIBRARY cctz)
mark_as_advanced(cctz_INCLUDE_DIR cctz_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(cctz REQUIRED_VARS cctz_LIBRARY cctz_INCLUDE_DIR)

if(cctz_FOUND AND NOT TARGET cctz::cctz)
  add_library(cctz::cctz UNKNOWN IMPORTED)
  set_target_properties(cctz::cctz PROPERTIES
    IMPORTED_LOCATION "${cctz_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${cctz_INCLUDE_DIR}")
endif()
