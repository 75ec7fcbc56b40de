# Debian packages by `cpack`: for programs that use the library, for those who write them, and the
# programs of its own. `cpack --config CPackSourceConfig.cmake` packs a clean checkout's files.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME PellixProvidersSDK)
set(CPACK_PACKAGE_VENDOR "The PellixProvidersSDK developers")
set(CPACK_PACKAGE_CONTACT "The PellixProvidersSDK developers <developers@pellix.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "finds knowledge-base articles that answer a question")
set(CPACK_STRIP_FILES ON)
# Whatever the umask of who builds.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_IGNORE_FILES "^${PROJECT_SOURCE_DIR}/(Bindings/Python/)?build/;/\\\\.git/;/\\\\.git$;\\\\.egg-info/")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared libraries.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Headers and what builds need, for C++ and C.")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "A command-line host and a demonstration service.")

set(runtime_package libpellixproviderssdk${PELLIX_ABI_VERSION})
set(same_version "${runtime_package} (= ${PROJECT_VERSION})")
# The target's architecture, not that of the machine that builds.
find_program(DPKG_ARCHITECTURE dpkg-architecture)
if(DPKG_ARCHITECTURE)
  execute_process(
    COMMAND ${DPKG_ARCHITECTURE} --host-type ${CMAKE_CXX_LIBRARY_ARCHITECTURE} --query DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${runtime_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libpellixproviderssdk-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME pellix-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${same_version}")

# The loader learns of the libraries by a trigger, as the distribution has it.
set(triggers ${CMAKE_CURRENT_BINARY_DIR}/triggers)
file(WRITE ${triggers} "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${triggers})
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog)
file(WRITE ${changelog} "pellixproviderssdk (${PROJECT_VERSION}) unstable; urgency=medium

  * See CHANGELOG.md of libpellixproviderssdk-dev.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
execute_process(COMMAND gzip -9nkf ${changelog} COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} name)
  install(FILES ${changelog}.gz COMPONENT ${component} EXCLUDE_FROM_ALL
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${name}_PACKAGE_NAME})
endforeach()
install(FILES CHANGELOG.md COMPONENT development EXCLUDE_FROM_ALL
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME})

include(CPack)
