# What `cmake --install` puts where: a prefix that can be moved, for CMake and for pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/PellixProvidersSDK)
set(include_dir ${CMAKE_INSTALL_INCLUDEDIR}/pellix)
get_property(libraries GLOBAL PROPERTY PELLIX_LIBRARIES)

foreach(library ${libraries})
  target_include_directories(${library} PUBLIC $<INSTALL_INTERFACE:${include_dir}>)
endforeach()
install(
  TARGETS ${libraries}
  EXPORT PellixProvidersSDK
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
# The testing kit: static libraries, whatever the others are.
target_include_directories(PellixTesting PUBLIC $<INSTALL_INTERFACE:${include_dir}>)
target_include_directories(QuorvelCoreSDKTesting PUBLIC $<INSTALL_INTERFACE:${include_dir}>)
install(TARGETS PellixTesting QuorvelCoreSDKTesting EXPORT PellixProvidersSDK
        ARCHIVE COMPONENT development)

foreach(tree . Platform QuorvelCoreSDK VeltraneProvidersSDK Testing QuorvelCoreSDK/Testing)
  # What stands in folders called internal is for the family's own libraries.
  install(DIRECTORY ${tree}/Include/ DESTINATION ${include_dir} COMPONENT development
          PATTERN internal EXCLUDE)
endforeach()

install(EXPORT PellixProvidersSDK NAMESPACE Pellix:: DESTINATION ${package_dir}
        COMPONENT development)
if(CMAKE_CXX_FLAGS MATCHES "-stdlib=libc\\+\\+")
  set(language_library c++)
else()
  set(language_library stdc++)
endif()
configure_package_config_file(
  CMake/PellixProvidersSDKConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/PellixProvidersSDKConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/PellixProvidersSDKConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/PellixProvidersSDKConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/PellixProvidersSDKConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

# pkg-config: static libraries bring their own needs along, and C programs the language's.
set(libraries_needed "-lPellixProvidersSDK -lVeltraneProvidersSDK -lQuorvelCoreSDK -lPellixPlatform")
set(packages_needed "libcurl, libssl, libcrypto, expat, simdjson, libutf8proc, liburiparser, uuid")
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
if(BUILD_SHARED_LIBS)
  set(requires_line "")
else()
  set(requires_line "Requires: ${packages_needed}\n")
  string(APPEND libraries_needed " -l${language_library} -pthread")
endif()
configure_file(CMake/PellixProvidersSDK.pc.in PellixProvidersSDK.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/PellixProvidersSDK.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

if(PELLIX_BUILD_APPS)
  file(RELATIVE_PATH libraries_from_bin /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  if(BUILD_SHARED_LIBS)
    set_target_properties(
      pellix PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR}
                        BUILD_WITH_INSTALL_RPATH ON
                        INSTALL_RPATH "\$ORIGIN/${libraries_from_bin}")
  endif()
  install(TARGETS pellix AnswerService RUNTIME COMPONENT tools)
  set(manual_page ${CMAKE_CURRENT_BINARY_DIR}/pellix.1)
  configure_file(Apps/pellix/pellix.1 ${manual_page} COPYONLY)
  execute_process(COMMAND gzip -9nkf ${manual_page} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${manual_page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  install(FILES Apps/pellix/Completion/pellix.bash RENAME pellix COMPONENT tools
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  install(FILES Apps/pellix/Completion/_pellix COMPONENT tools
          DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(CMake/Packages.cmake)
endif()
