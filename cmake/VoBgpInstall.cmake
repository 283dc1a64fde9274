# What an agent finds the installed libraries by: a CMake package and a pkg-config file of one name.
# Neither knows the prefix, so that an installation may be moved.
include(CMakePackageConfigHelpers)

set(VOBGP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VoBgpCommunity)
install(EXPORT VoBgpTargets NAMESPACE VoBgp:: DESTINATION ${VOBGP_CMAKE_DIR})
configure_package_config_file(
  cmake/VoBgpCommunityConfig.cmake.in VoBgpCommunityConfig.cmake
  INSTALL_DESTINATION ${VOBGP_CMAKE_DIR}
  NO_SET_AND_CHECK_MACRO)
# Before 1.0 every minor version may change the interface.
write_basic_package_version_file(VoBgpCommunityConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/VoBgpCommunityConfig.cmake
  ${PROJECT_BINARY_DIR}/VoBgpCommunityConfigVersion.cmake
  DESTINATION ${VOBGP_CMAKE_DIR})

set(VOBGP_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
foreach(name LIBDIR INCLUDEDIR)
  file(RELATIVE_PATH VOBGP_PC_${name}
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_${name}})
endforeach()
foreach(library VoBgpPlatform VoBgpCommunity)
  configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${VOBGP_PC_DIR})
endforeach()
