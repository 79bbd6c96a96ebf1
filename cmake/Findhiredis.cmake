# Defines the target hiredis::hiredis, the client library of Redis.
find_path(hiredis_INCLUDE_DIR hiredis/hiredis.h)
find_library(hiredis_LIBRARY hiredis)
mark_as_advanced(hiredis_INCLUDE_DIR hiredis_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(hiredis REQUIRED_VARS hiredis_LIBRARY hiredis_INCLUDE_DIR)

if(hiredis_FOUND AND NOT TARGET hiredis::hiredis)
  add_library(hiredis::hiredis UNKNOWN IMPORTED)
  set_target_properties(hiredis::hiredis PROPERTIES
    IMPORTED_LOCATION "${hiredis_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${hiredis_INCLUDE_DIR}")
endif()
