# Debian packages, one per install component (cpack in a build directory):
#   libtavikupnpgena<SOVERSION>  runtime: the shared libraries
#   libtavikupnpgena-dev         dev: headers, CMake package, pkg-config files
#   tavik-gena                   tool: the gena command and its man page
# dpkg-shlibdeps finds what the libraries and the tool need from Debian;
# the packages among themselves depend on exactly the same version.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME libtavikupnpgena)
set(CPACK_PACKAGE_VENDOR "libTavikUPnPGENA developers")
set(CPACK_PACKAGE_CONTACT "libTavikUPnPGENA developers <tavik-upnp-gena@localhost>"
  CACHE STRING "Maintainer field of the Debian packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tool)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps runs in a component's staging directory; the tool's
# libraries are in the runtime component's, beside it. They belong to no
# installed package, so the dependency on them comes from the component
# dependency below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ../runtime${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
# A shlibs file in the package of the libraries, so that packages built
# against them get their dependency from dpkg-shlibdeps.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_STRIP_FILES ON)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/TavikDebTriggers.cmake)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtavikupnpgena${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "UPnP eventing (GENA) for the Tavik Callweave framework
The shared libraries of libTavikUPnPGENA: UPnP eventing (GENA) publisher and
subscriber, the ready-made host, and the Tavik platform libraries they build
on (Foundation, Util, XML, Net, Callweave).")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtavikupnpgena-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "cmake, pkg-config")
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_COMPONENT_DEV_DESCRIPTION "UPnP eventing (GENA) for the Tavik Callweave framework - development files
Headers of libTavikUPnPGENA and its platform libraries, the CMake package
(find_package(TavikUPnPGENA CONFIG) gives the Tavik:: targets) and one
pkg-config file per library.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME tavik-gena)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION net)
set(CPACK_COMPONENT_TOOL_DEPENDS runtime)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "UPnP eventing (GENA) from the command line
The gena command publishes a demo UPnP device with evented services, or
subscribes to the services of a UPnP device and prints their events.")

include(CPack)
