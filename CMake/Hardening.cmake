# What makes attacks on what is built here harder, and keeps the names of this machine's folders out of
# it. A build without a type takes all of its flags from elsewhere, as those of distributions do.
set(hardened $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
add_compile_options(
  "$<${hardened}:-fstack-protector-strong;-fstack-clash-protection;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>"
  "$<${hardened}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.;-ffile-prefix-map=${PROJECT_BINARY_DIR}=.>")
include(CheckCXXCompilerFlag)
set(protection -fcf-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  set(protection -mbranch-protection=standard)
endif()
check_cxx_compiler_flag(${protection} PELLIX_CAN_PROTECT_CONTROL_FLOW)
if(PELLIX_CAN_PROTECT_CONTROL_FLOW)
  add_compile_options($<${hardened}:${protection}>)
endif()
add_link_options("$<${hardened}:LINKER:-z,relro,-z,now>")
if(CMAKE_BUILD_TYPE MATCHES "Rel")
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
endif()
