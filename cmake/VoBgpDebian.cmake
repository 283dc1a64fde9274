# Debian packages, written by `cpack -G DEB` in the build tree. VoBgpDebianStage.cmake adds the files of
# cmake/debian that Debian requires.
set(VOBGP_MAINTAINER "VoBgpCommunity maintainers <maintainers@vobgp.invalid>"
  CACHE STRING "Name and address in the packages: set it to those of the distributor")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vobgpcommunity)
set(CPACK_PACKAGE_CONTACT "${VOBGP_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "interned BGP communities")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL library development program documentation)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/VoBgpDebianStage.cmake)
set(CPACK_VOBGP_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_VOBGP_LIBDIR ${CMAKE_INSTALL_LIBDIR})
set(CPACK_VOBGP_DOCDIR ${CMAKE_INSTALL_DOCDIR})

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)

# vobgp_debian_package(COMPONENT NAME SECTION SUMMARY DESCRIPTION [FIELD VALUE]...)
macro(vobgp_debian_package component name section summary description)
  string(TOUPPER ${component} prefix)
  set(CPACK_VOBGP_${prefix}_PACKAGE ${name})
  set(prefix CPACK_DEBIAN_${prefix})
  set(${prefix}_PACKAGE_NAME ${name})
  set(${prefix}_PACKAGE_SECTION ${section})
  set(${prefix}_DESCRIPTION "${summary}\n${description}")
  set(fields ${ARGN})
  while(fields)
    list(POP_FRONT fields field value)
    set(${prefix}_PACKAGE_${field} "${value}")
  endwhile()
endmacro()

set(library libvobgpcommunity${VOBGP_SOVERSION})
set(same_version "${library} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(description "VoBgpCommunity represents BGP communities for routing agents: standard,
extended, IPv6-address-specific extended and large ones, and the lists of
them that routes carry. It keeps one immutable, reference-counted object for
each distinct community and list.
.")
vobgp_debian_package(library ${library} libs
  "interned BGP communities (shared libraries)"
  "${description}\nThis package contains the shared libraries."
  MULTIARCH same SHLIBDEPS ON
  CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
vobgp_debian_package(development libvobgpcommunity-dev libdevel
  "interned BGP communities (development files)"
  "${description}\nThis package contains the headers, the static libraries, a CMake package and
pkg-config files."
  MULTIARCH same DEPENDS "${same_version}" SUGGESTS libvobgpcommunity-doc)
vobgp_debian_package(program bgp-communities net
  "BGP communities in MRT dumps and BMP sessions"
  "Prints, counts, checks and replays the BGP communities of routes in MRT dumps
(RFC 6396), plain or compressed, and receives routes from routers over BMP
(RFC 7854). It supports standard, extended, IPv6-address-specific extended and
large communities. It also decodes single attributes, and writes and prints
stores of communities."
  SHLIBDEPS ON DEPENDS "${same_version}")
vobgp_debian_package(documentation libvobgpcommunity-doc doc
  "interned BGP communities (documentation)"
  "${description}\nThis package contains the documentation and example programs."
  MULTIARCH foreign ARCHITECTURE all)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/platform)
include(CPack)
