# The platform as the television's system provides it: libbinder and the five vendor libraries,
# and their headers, found in a sysroot or prefix the usual way (CMAKE_SYSROOT, CMAKE_PREFIX_PATH,
# CMAKE_FIND_ROOT_PATH). Each becomes an imported target under the name the development platform's
# target has, so the rest of the build does not know which platform it links.
#
# Included from platform/CMakeLists.txt when HBBTV_PLATFORM is "system".

set(missing "")

# One platform library: its file and the folder of one of its headers.
function(hbbtv_find_platform_library target library header)
  find_library(HBBTV_PLATFORM_${target}_LIBRARY NAMES ${library}
               DOC "The platform's lib${library} (HBBTV_PLATFORM=system)")
  find_path(HBBTV_PLATFORM_${target}_INCLUDE_DIR NAMES ${header} PATH_SUFFIXES android
            DOC "Where the platform's ${header} is (HBBTV_PLATFORM=system)")
  set(lacking "")
  if(NOT HBBTV_PLATFORM_${target}_LIBRARY)
    list(APPEND lacking "lib${library} (the library)")
  endif()
  if(NOT HBBTV_PLATFORM_${target}_INCLUDE_DIR)
    list(APPEND lacking "${header} (a header of lib${library})")
  endif()
  if(lacking)
    set(missing ${missing} ${lacking} PARENT_SCOPE)
  else()
    add_library(${target} SHARED IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES
      IMPORTED_LOCATION "${HBBTV_PLATFORM_${target}_LIBRARY}"
      INTERFACE_INCLUDE_DIRECTORIES "${HBBTV_PLATFORM_${target}_INCLUDE_DIR}")
    message(STATUS "Platform lib${library}: ${HBBTV_PLATFORM_${target}_LIBRARY}")
  endif()
endfunction()

# Roles as on the television: the binder runtime; the standby registry and the scoped lock; the
# browser-side records; the browser service and its clients' interfaces; the TV-service interface;
# the key mapping.
hbbtv_find_platform_library(binder binder binder/IBinder.h)
hbbtv_find_platform_library(plx plx plx_scope_lock.h)
hbbtv_find_platform_library(ncor ncor ncor/NcorRecords.h)
hbbtv_find_platform_library(yxtservice yxtservice IYXTService.h)
hbbtv_find_platform_library(tvservice tvservice ITVService.h)
hbbtv_find_platform_library(zrkeymapping zrkeymapping ZR_HBBTV_KeyMapping.h)

if(missing)
  list(JOIN missing "\n  " missing_lines)
  message(FATAL_ERROR
    "HBBTV_PLATFORM=system: the platform is incomplete; not found:\n  ${missing_lines}\n"
    "Searched the usual places under CMAKE_SYSROOT (\"${CMAKE_SYSROOT}\") and CMAKE_PREFIX_PATH "
    "(\"${CMAKE_PREFIX_PATH}\"). Point CMAKE_PREFIX_PATH at the platform's prefix, or set the "
    "HBBTV_PLATFORM_<name>_LIBRARY and HBBTV_PLATFORM_<name>_INCLUDE_DIR cache entries.")
endif()

# The binder headers need what their Debian build needs with g++ 12 (see platform/CMakeLists.txt);
# the interfaces on top of binder bring utils and log with them.
set_property(TARGET binder APPEND PROPERTY INTERFACE_COMPILE_OPTIONS "SHELL:-include memory" "SHELL:-include limits")
set_property(TARGET binder APPEND PROPERTY INTERFACE_LINK_LIBRARIES android::utils android::log)
set_property(TARGET yxtservice APPEND PROPERTY INTERFACE_LINK_LIBRARIES binder ncor)
set_property(TARGET tvservice APPEND PROPERTY INTERFACE_LINK_LIBRARIES binder ncor yxtservice)

# The development hooks (the loopback binder's control, the simulated suspend, the key table for
# tests) exist only on a development platform installed into a prefix; with them the tests, the
# simulator and the benchmarks build against this platform too.
find_path(HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR NAMES LoopbackBinder.h plx_str_dev.h
          HINTS "${HBBTV_PLATFORM_binder_INCLUDE_DIR}" "${HBBTV_PLATFORM_plx_INCLUDE_DIR}"
          DOC "Where a development platform's hook headers are (HBBTV_PLATFORM=system)")
if(HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR
   AND EXISTS "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}/LoopbackBinder.h"
   AND EXISTS "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}/plx_str_dev.h"
   AND EXISTS "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}/ZR_HBBTV_KeyMapping_dev.h")
  add_library(plx_dev INTERFACE IMPORTED GLOBAL)
  set_target_properties(plx_dev PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES plx)
  add_library(zrkeymapping_dev INTERFACE IMPORTED GLOBAL)
  set_target_properties(zrkeymapping_dev PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES zrkeymapping)
  set_property(TARGET binder APPEND PROPERTY INTERFACE_INCLUDE_DIRECTORIES "${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR}")
  set(HBBTV_PLATFORM_HAS_DEV_HOOKS ON PARENT_SCOPE)
  message(STATUS "Platform development hooks: ${HBBTV_PLATFORM_DEV_HOOKS_INCLUDE_DIR} (tests and simulator built)")
else()
  message(STATUS "Platform without development hooks: the library alone is built")
endif()
