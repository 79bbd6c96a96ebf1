include(CMakeFindDependencyMacro)
list(PREPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}")
find_dependency(cctz)
list(POP_FRONT CMAKE_MODULE_PATH)

# The workstation's host platform is installed beside the library; the caller provides any other one.
include("${CMAKE_CURRENT_LIST_DIR}/nvx-host-targets.cmake" OPTIONAL)
if(TARGET nvx::host)
  include("${CMAKE_CURRENT_LIST_DIR}/nvx-timeseries-database-targets.cmake")
  target_link_libraries(nvx::nvx-timeseries-database INTERFACE nvx::host)
else()
  set(nvx-timeseries-database_FOUND FALSE)
  set(nvx-timeseries-database_NOT_FOUND_MESSAGE
      "define the target nvx::host, the headers and libraries of the host platform, before")
endif()
