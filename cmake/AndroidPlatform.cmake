# Debian's Android libutils and liblog, as imported targets for the current target architecture.
# Their headers live under /usr/include/android and are included as system headers, so that their
# warnings stay theirs.
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(HBBTV_ANDROID_LIBDIR "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android")
else()
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-multiarch
                  OUTPUT_VARIABLE HBBTV_MULTIARCH OUTPUT_STRIP_TRAILING_WHITESPACE)
  set(HBBTV_ANDROID_LIBDIR "/usr/lib/${HBBTV_MULTIARCH}/android")
endif()

foreach(lib utils log)
  find_library(HBBTV_ANDROID_${lib}_LIBRARY NAMES ${lib} PATHS "${HBBTV_ANDROID_LIBDIR}" NO_DEFAULT_PATH REQUIRED)
  add_library(android::${lib} SHARED IMPORTED)
  set_target_properties(android::${lib} PROPERTIES
    IMPORTED_LOCATION "${HBBTV_ANDROID_${lib}_LIBRARY}"
    INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "/usr/include/android"
    INTERFACE_INCLUDE_DIRECTORIES "/usr/include/android")
endforeach()

# The libraries find each other through their own run path; executables that link them directly
# need the folder too, and the armhf libbacktrace needs the unpacked 7z.so at link time.
set(CMAKE_BUILD_RPATH "${HBBTV_ANDROID_LIBDIR}")
set(CMAKE_INSTALL_RPATH "${HBBTV_ANDROID_LIBDIR}")
if(HBBTV_ARMHF_EXTRA_LIBS)
  add_link_options("LINKER:-rpath-link,${HBBTV_ARMHF_EXTRA_LIBS}" "LINKER:-rpath-link,${HBBTV_ANDROID_LIBDIR}")
endif()
