# The flags that Debian builds its packages with, of this machine's release, and control-flow protection.
# Relocations are packed, which every release of Debian that has the packages' dependencies can load.
# Included before the compilers are looked at.
find_program(DPKG_BUILDFLAGS dpkg-buildflags REQUIRED)
cmake_host_system_information(RESULT platform QUERY OS_PLATFORM)
if(platform STREQUAL "x86_64")
  set(control_flow -fcf-protection)
  set(packed_relocations -Wl,-z,pack-relative-relocs)
endif()
foreach(name IN ITEMS CPPFLAGS CFLAGS CXXFLAGS LDFLAGS)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -E env DEB_BUILD_MAINT_OPTIONS=hardening=+all ${DPKG_BUILDFLAGS} --get ${name}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    OUTPUT_VARIABLE ${name} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endforeach()
set(CMAKE_C_FLAGS_INIT "${CFLAGS} ${CPPFLAGS} ${control_flow} -DNDEBUG")
set(CMAKE_CXX_FLAGS_INIT "${CXXFLAGS} ${CPPFLAGS} ${control_flow} -DNDEBUG")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${LDFLAGS}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${LDFLAGS} ${packed_relocations}")
