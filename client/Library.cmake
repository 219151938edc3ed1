# SPDX-License-Identifier: Apache-2.0
# The library as it is installed.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

# While this is 0 the interface may change with a new number alone (docs/client.md).
set(VLALERTS_ABI 0)
# What programs may call, by symbol; tests compare it to what the library exports.
set(VLALERTS_SYMBOLS ${CMAKE_CURRENT_SOURCE_DIR}/libvlalerts.symbols)
set(VLALERTS_MAP ${CMAKE_CURRENT_SOURCE_DIR}/libvlalerts.map)

add_library(vlalerts_boost_json OBJECT BoostJSON.cpp)
target_link_libraries(vlalerts_boost_json PRIVATE Boost::headers)

# Symbols that are unique in a process cannot be hidden any more.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(part vlalerts_boost_json velto_client velto_connection velto_json velto_foundation)
    target_compile_options(${part} PRIVATE -fno-gnu-unique)
  endforeach()
endif()

add_library(vlalerts SHARED $<TARGET_OBJECTS:velto_client> $<TARGET_OBJECTS:vlalerts_boost_json>)
target_link_libraries(vlalerts PRIVATE velto_connection velto_json velto_foundation)
# Nothing is needed at run time but what the library really uses, and nothing that it defines can be
# replaced from outside.
target_link_options(vlalerts PRIVATE -Wl,--version-script=${VLALERTS_MAP} -Wl,--as-needed
                    -Wl,-Bsymbolic)
if(NOT VELTO_SANITIZE)
  target_link_options(vlalerts PRIVATE -Wl,-z,defs)
endif()
set_target_properties(vlalerts PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${VLALERTS_ABI}
                                          LINK_DEPENDS ${VLALERTS_MAP})
target_include_directories(
  vlalerts PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>
                  $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(vlalerts PUBLIC cxx_std_20)

# One object of all that the library is made of, whose inner symbols are local then. Other linkers do not put groups
# of sections together in an object that is not yet linked.
find_program(VLALERTS_LINKER ld.bfd REQUIRED)
set(VLALERTS_STATIC ${CMAKE_CURRENT_BINARY_DIR}/libvlalerts.a)
add_custom_command(
  OUTPUT ${VLALERTS_STATIC}
  COMMAND ${VLALERTS_LINKER} -r --force-group-allocation -o vlalerts.o
          $<TARGET_OBJECTS:vlalerts_boost_json> --whole-archive $<TARGET_FILE:velto_client>
          --no-whole-archive --start-group $<TARGET_FILE:velto_connection>
          $<TARGET_FILE:velto_json> $<TARGET_FILE:velto_foundation> --end-group
  COMMAND ${CMAKE_OBJCOPY} --keep-global-symbols=${VLALERTS_SYMBOLS} vlalerts.o
  COMMAND ${CMAKE_COMMAND} -E rm -f ${VLALERTS_STATIC}
  COMMAND ${CMAKE_AR} rcsD ${VLALERTS_STATIC} vlalerts.o
  DEPENDS vlalerts_boost_json velto_client velto_connection velto_json velto_foundation
          $<TARGET_OBJECTS:vlalerts_boost_json> ${VLALERTS_SYMBOLS}
  WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}
  COMMAND_EXPAND_LISTS VERBATIM)
add_custom_target(vlalerts_static ALL DEPENDS ${VLALERTS_STATIC})

# The package can be moved, and installed elsewhere than it was configured for.
file(RELATIVE_PATH VLALERTS_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(vlalerts.pc.in vlalerts.pc @ONLY)
configure_package_config_file(
  vlalertsConfig.cmake.in vlalertsConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlalerts
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
# As with the number of the library: before version 1 a new minor version may be another interface.
write_basic_package_version_file(vlalertsConfigVersion.cmake COMPATIBILITY SameMinorVersion)

install(
  TARGETS vlalerts
  EXPORT vlalertsTargets
  LIBRARY COMPONENT libvlalerts NAMELINK_COMPONENT libvlalerts-dev)
install(DIRECTORY velto TYPE INCLUDE COMPONENT libvlalerts-dev)
install(FILES ${VLALERTS_STATIC} TYPE LIB COMPONENT libvlalerts-dev)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlalerts.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT libvlalerts-dev)
install(EXPORT vlalertsTargets NAMESPACE vlalerts:: COMPONENT libvlalerts-dev
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlalerts)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vlalertsConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/vlalertsConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vlalerts COMPONENT libvlalerts-dev)
