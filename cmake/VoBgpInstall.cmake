# What an agent finds the installed libraries by: a CMake package and a pkg-config file of one name.
# Neither knows the prefix, so that an installation may be moved.
include(CMakePackageConfigHelpers)

install(DIRECTORY src-includes/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vobgp
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

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
  set(VOBGP_PC_LIBS -l${library})
  if(VOBGP_STATIC) # whole, and in one word that pkg-config neither splits nor drops
    set(VOBGP_PC_LIBS -Wl,--push-state,--whole-archive,-l${library},--pop-state)
  endif()
  configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc DESTINATION ${VOBGP_PC_DIR})
endforeach()
