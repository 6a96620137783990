# Installation: the libraries and their public headers, the gena command, the
# CMake package TavikUPnPGENA (find_package(TavikUPnPGENA CONFIG)) and one
# pkg-config file per library. Every installed path is relative to the
# prefix, so an installed tree can be moved or packaged.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# Lowest first; each library is the target Tavik<Name>, exported as Tavik::<Name>.
set(TAVIK_LIBRARIES Foundation Util XML Net Callweave UPnPGENA UPnPGENAHost)
set(TAVIK_CMAKE_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/TavikUPnPGENA)

set(TAVIK_DESCRIPTION_Foundation "Tavik platform: exceptions, smart pointers, threads, logging, URIs, UUIDs")
set(TAVIK_DESCRIPTION_Util "Tavik platform: the timer")
set(TAVIK_DESCRIPTION_XML "Tavik platform: SAX parser and XML writer")
set(TAVIK_DESCRIPTION_Net "Tavik platform: HTTP client sessions and HTTP server")
set(TAVIK_DESCRIPTION_Callweave "Tavik Callweave remote-invocation framework interfaces")
set(TAVIK_DESCRIPTION_UPnPGENA "UPnP eventing (GENA) for Tavik Callweave")
set(TAVIK_DESCRIPTION_UPnPGENAHost "Ready-made UPnP eventing host: HTTP server, GENA listener and timer")

# The .pc files find the prefix from their own directory: "lib/pkgconfig"
# gives "../..".
string(REGEX REPLACE "[^/]+" ".." TAVIK_PC_PREFIX "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

foreach(name IN LISTS TAVIK_LIBRARIES)
  set(target Tavik${name})
  get_target_property(source_dir ${target} SOURCE_DIR)
  target_include_directories(${target} PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  # The public headers are C++17; a program that uses them needs it too.
  target_compile_features(${target} PUBLIC cxx_std_17)
  # $ORIGIN: a library finds the others beside it wherever the prefix is.
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    INSTALL_RPATH "$ORIGIN")
  install(DIRECTORY ${source_dir}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

  # pkg-config Requires follow the target's public links.
  get_target_property(links ${target} INTERFACE_LINK_LIBRARIES)
  set(requires "")
  set(libs "-L\${libdir}" "-l${target}")
  foreach(link IN LISTS links)
    if(link MATCHES "^Tavik::(.+)$")
      list(APPEND requires "Tavik${CMAKE_MATCH_1} = ${PROJECT_VERSION}")
    elseif(link STREQUAL "Threads::Threads")
      list(APPEND libs ${CMAKE_THREAD_LIBS_INIT})
    else()
      message(FATAL_ERROR "${target} links ${link} publicly: say in its .pc file how to link it")
    endif()
  endforeach()
  list(JOIN requires ", " TAVIK_PC_REQUIRES)
  list(JOIN libs " " TAVIK_PC_LIBS)
  set(TAVIK_PC_NAME ${target})
  set(TAVIK_PC_DESCRIPTION "${TAVIK_DESCRIPTION_${name}}")
  configure_file(${CMAKE_CURRENT_LIST_DIR}/Tavik.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${target}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${target}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

list(TRANSFORM TAVIK_LIBRARIES PREPEND Tavik OUTPUT_VARIABLE TAVIK_LIBRARY_TARGETS)
install(TARGETS ${TAVIK_LIBRARY_TARGETS} EXPORT TavikUPnPGENATargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(EXPORT TavikUPnPGENATargets NAMESPACE Tavik::
  DESTINATION ${TAVIK_CMAKE_PACKAGE_DIR} COMPONENT dev)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/TavikUPnPGENAConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TavikUPnPGENAConfig.cmake
  INSTALL_DESTINATION ${TAVIK_CMAKE_PACKAGE_DIR})
# Within this tree find_package(TavikUPnPGENA) finds the tree's own targets
# (through an empty package file), so examples/embed builds here exactly as
# it does against an installed copy.
file(WRITE ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/TavikUPnPGENAConfig.cmake "")
write_basic_package_version_file(${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/TavikUPnPGENAConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TavikUPnPGENAConfig.cmake
  ${CMAKE_FIND_PACKAGE_REDIRECTS_DIR}/TavikUPnPGENAConfigVersion.cmake
  DESTINATION ${TAVIK_CMAKE_PACKAGE_DIR} COMPONENT dev)

set_target_properties(gena PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
install(TARGETS gena RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
