# What `cmake --install` puts where, by component:
#   runtime      the library the host loads (libhbbtvbackendglue.so.<major>)
#   development  the host boundary headers, the link name, the CMake package and the pkg-config file
#   simulator    the simulator, its scenario file and, in a private folder on its run path only,
#                the development platform's libraries
#   dev-platform the development platform as a platform of its own (libraries and headers in the
#                prefix's plain folders), for building with HBBTV_PLATFORM=system against it. Never
#                part of a full install or of a package: its libbinder would shadow a television's.
include(CMakePackageConfigHelpers)

set(HBBTV_CMAKE_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/HbbtvBackendGlue")
set(HBBTV_HEADER_DIR "${CMAKE_INSTALL_INCLUDEDIR}/HbbtvBackendGlue")
set(HBBTV_SIM_PLATFORM_DIR "${CMAKE_INSTALL_LIBDIR}/hbbtvbackendglue-sim")

# ---- runtime and development --------------------------------------------------------------------
install(TARGETS hbbtvbackendglue hbbtvbackendglue_headers EXPORT HbbtvBackendGlueTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(FILES
    include/HbbtvBackendCommand.h
    include/HbbtvBackendCommandCatalogue.h
    include/HbbtvBackendRecords.h
    include/HbbtvChannelListPool.h
    include/HbbtvHostRecords.h
    include/HbbtvTraceFormat.h
    include/ZR_HbbtvImplInterface.h
  DESTINATION ${HBBTV_HEADER_DIR} COMPONENT development)

install(EXPORT HbbtvBackendGlueTargets NAMESPACE HbbtvBackendGlue::
  DESTINATION ${HBBTV_CMAKE_PACKAGE_DIR} COMPONENT development)
configure_package_config_file(cmake/HbbtvBackendGlueConfig.cmake.in
  ${PROJECT_BINARY_DIR}/HbbtvBackendGlueConfig.cmake
  INSTALL_DESTINATION ${HBBTV_CMAKE_PACKAGE_DIR})
# Same major version: the SONAME's major number is the project's.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/HbbtvBackendGlueConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/HbbtvBackendGlueConfig.cmake
              ${PROJECT_BINARY_DIR}/HbbtvBackendGlueConfigVersion.cmake
  DESTINATION ${HBBTV_CMAKE_PACKAGE_DIR} COMPONENT development)

# The pkg-config file names absolute folders, so it is written when the prefix is known: at
# install time (a package is installed under /usr, whatever the build was configured with).
install(CODE "
  set(PC_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(PC_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(PC_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(PC_VERSION \"${PROJECT_VERSION}\")
  set(PC_SOVERSION \"${PROJECT_VERSION_MAJOR}\")
  configure_file(\"${PROJECT_SOURCE_DIR}/cmake/hbbtvbackendglue.pc.in\"
                 \"${PROJECT_BINARY_DIR}/hbbtvbackendglue.pc\" @ONLY)
" COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/hbbtvbackendglue.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# ---- simulator ----------------------------------------------------------------------------------
file(RELATIVE_PATH bin_to_lib "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
if(TARGET hbbtv_simulator)
  # The simulator finds the development platform in its private folder, relative to where it is
  # installed, and Debian's libutils and liblog where they are. (It opens the library by path.)
  set_target_properties(hbbtv_simulator PROPERTIES INSTALL_RPATH
    "$ORIGIN/${bin_to_lib}/hbbtvbackendglue-sim;${HBBTV_ANDROID_LIBDIR}")
  install(TARGETS hbbtv_simulator RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT simulator)
  install(FILES simulator/scenarios/evening.json
    DESTINATION ${CMAKE_INSTALL_DATADIR}/hbbtvbackendglue/scenarios COMPONENT simulator)
  execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/simulator/man/hbbtv_simulator.1
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/hbbtv_simulator.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/hbbtv_simulator.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT simulator)
endif()

# ---- the host conformance checker: with the simulator, whose development platform it needs ------
# The plugin header goes beside the boundary headers it includes.
install(FILES tools/hostcheck/HbbtvHostCheckPlugin.h DESTINATION ${HBBTV_HEADER_DIR} COMPONENT development)
if(TARGET hbbtv-host-check)
  set_target_properties(hbbtv-host-check PROPERTIES INSTALL_RPATH
    "$ORIGIN/${bin_to_lib}/hbbtvbackendglue-sim;${HBBTV_ANDROID_LIBDIR}")
  set_target_properties(hbbtv_host_simulated hbbtv_host_faulty PROPERTIES INSTALL_RPATH
    "$ORIGIN/../hbbtvbackendglue-sim;${HBBTV_ANDROID_LIBDIR}")
  install(TARGETS hbbtv-host-check RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT simulator)
  install(TARGETS hbbtv_host_simulated hbbtv_host_faulty
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/hbbtv-host-check COMPONENT simulator)
  execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/tools/hostcheck/man/hbbtv-host-check.1
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/hbbtv-host-check.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/hbbtv-host-check.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT simulator)
endif()

# ---- the field trace's summary and timeline, beside the simulator that replays a trace -----------
if(TARGET hbbtv-trace)
  install(TARGETS hbbtv-trace RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT simulator)
  execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/tools/trace/hbbtv-trace.1
                  OUTPUT_FILE ${PROJECT_BINARY_DIR}/hbbtv-trace.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/hbbtv-trace.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT simulator)
endif()

# ---- the development platform: privately for the simulator, or as a platform of its own ----------
if(HBBTV_PLATFORM STREQUAL "dev")
  set(dev_platform_libraries binder plx ncor yxtservice tvservice zrkeymapping)
  # They find each other beside themselves, and Debian's libutils and liblog where they are.
  set_target_properties(${dev_platform_libraries} PROPERTIES INSTALL_RPATH "$ORIGIN;${HBBTV_ANDROID_LIBDIR}")
  install(TARGETS ${dev_platform_libraries}
    LIBRARY DESTINATION ${HBBTV_SIM_PLATFORM_DIR} COMPONENT simulator)

  install(TARGETS ${dev_platform_libraries}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev-platform EXCLUDE_FROM_ALL)
  install(DIRECTORY platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    COMPONENT dev-platform EXCLUDE_FROM_ALL)
  install(FILES platform/binder/LoopbackBinder.h platform/dev/plx_str_dev.h
                platform/dev/keymapping/ZR_HBBTV_KeyMapping_dev.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev-platform EXCLUDE_FROM_ALL)
endif()
