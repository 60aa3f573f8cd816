# Debian packages with CPack, one for each installed component (see cmake/Install.cmake):
#   libhbbtvbackendglue<major>   runtime      the library
#   libhbbtvbackendglue-dev      development  headers, link name, CMake package, pkg-config file
#   hbbtvbackendglue-simulator   simulator    the simulator with the development platform
# for the architecture the build targets (amd64 natively, armhf from the armhf cross build).
# `cpack` in a build folder writes them there.
set(HBBTV_DEB_RUNTIME "libhbbtvbackendglue${PROJECT_VERSION_MAJOR}")
set(HBBTV_DEB_DEVELOPMENT "libhbbtvbackendglue-dev")
set(HBBTV_DEB_SIMULATOR "hbbtvbackendglue-simulator")
set(HBBTV_DEB_MAINTAINER "HbbTV backend glue developers <hbbtv-backend-glue@example.com>")
set(HBBTV_DEB_RELEASE 1)

# The Debian architecture of the target, from its multiarch triplet.
set(HBBTV_DEB_ARCHITECTURE "")
if(CMAKE_LIBRARY_ARCHITECTURE)
  execute_process(COMMAND dpkg-architecture -t${CMAKE_LIBRARY_ARCHITECTURE} -qDEB_HOST_ARCH
                  OUTPUT_VARIABLE HBBTV_DEB_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

# Every package carries its copyright file and a Debian changelog under /usr/share/doc/<package>.
string(TIMESTAMP HBBTV_DEB_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.Debian.in ${PROJECT_BINARY_DIR}/debian/changelog.Debian @ONLY)
execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/debian/changelog.Debian
                OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz)
# A system platform without the development hooks builds no simulator, and so has no package for it.
set(HBBTV_DEB_COMPONENTS runtime development)
if(TARGET hbbtv_simulator)
  list(APPEND HBBTV_DEB_COMPONENTS simulator)
endif()
foreach(component IN LISTS HBBTV_DEB_COMPONENTS)
  string(TOUPPER ${component} upper)
  install(FILES cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${HBBTV_DEB_${upper}} COMPONENT ${component})
  # What lintian reports and the project keeps, with the reason in each file (README, Integrating).
  if(EXISTS ${PROJECT_SOURCE_DIR}/cmake/debian/${component}.lintian-overrides)
    install(FILES cmake/debian/${component}.lintian-overrides
      DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${HBBTV_DEB_${upper}}
      COMPONENT ${component})
  endif()
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME hbbtvbackendglue)
set(CPACK_PACKAGE_VENDOR "HbbTV backend glue developers")
set(CPACK_PACKAGE_CONTACT "${HBBTV_DEB_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${HBBTV_DEB_COMPONENTS})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${HBBTV_DEB_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_RELEASE ${HBBTV_DEB_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
if(HBBTV_DEB_ARCHITECTURE)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${HBBTV_DEB_ARCHITECTURE})
endif()
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The simulator's development platform is its own; dpkg-shlibdeps finds it in the build.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/platform/binder ${PROJECT_BINARY_DIR}/platform
  ${PROJECT_BINARY_DIR}/platform/dev/ncor ${PROJECT_BINARY_DIR}/platform/dev/yxtservice
  ${PROJECT_BINARY_DIR}/platform/dev/tvservice ${PROJECT_BINARY_DIR}/platform/dev/keymapping)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${HBBTV_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Only the library has a versioned SONAME; the simulator's private libraries stay out of shlibs
# (CPack says so in a warning for each).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The loader's cache is refreshed through dpkg's ldconfig trigger (CPack adds ldconfig calls to the
# maintainer scripts as well; see cmake/debian/runtime.lintian-overrides).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/runtime/triggers)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${HBBTV_DEB_DEVELOPMENT})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME ${HBBTV_DEB_SIMULATOR})
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION devel)

include(CPack)

# The first line of a description is the package's synopsis.
cpack_add_component(runtime DISPLAY_NAME "Library"
  DESCRIPTION "HbbTV backend glue between a television's middleware and its browser
The library a television's middleware (the host) loads to run HbbTV. It binds
to the browser's binder service, publishes the TV service that the browser
calls, passes signalling, keys and broadcast events to the browser, and turns
the browser's requests into numbered backend commands in shared memory that
the host answers. It exports CreateHbbtvWrapper and DestroyHbbtvWrapper only.")
cpack_add_component(development DISPLAY_NAME "Development files" DEPENDS runtime
  DESCRIPTION "HbbTV backend glue: host boundary headers and build files
The headers a host programs against (the wrapper interface, the host's
callback interface, the backend command numbers and the shared records), the
link name, the CMake package (find_package(HbbtvBackendGlue)) and a
pkg-config file (hbbtvbackendglue).")
if(TARGET hbbtv_simulator)
  cpack_add_component(simulator DISPLAY_NAME "Simulator" DEPENDS runtime
    DESCRIPTION "HbbTV backend glue: simulator with a simulated host and browser
A host program that loads the library as a television does and plays a
scenario with a simulated host and browser, printing a timed trace. It brings
the development platform (an in-process binder and development vendor
libraries) in a private folder of its own, which nothing else uses.")
endif()
