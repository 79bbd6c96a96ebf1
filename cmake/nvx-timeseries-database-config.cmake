list(APPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}")
include(CMakeFindDependencyMacro)
find_dependency(cctz)
include("${CMAKE_CURRENT_LIST_DIR}/nvx-timeseries-database-targets.cmake")
