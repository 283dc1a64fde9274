# Installs a CMake package and pkg-config files of the same names. Both are relocatable. The
# components are those of the Debian packages; without a component, everything is installed.
include(CMakePackageConfigHelpers)

set(libraries VoBgpPlatform VoBgpCommunity)
if(VOBGP_STATIC)
  set(targets VoBgpPlatform VoBgpCommunity VoBgpPlatformWhole VoBgpCommunityWhole)
else()
  # Archives of the same objects, for agents without shared libraries.
  foreach(name Platform Community)
    set(archive VoBgp${name}Archive)
    add_library(${archive} STATIC $<TARGET_OBJECTS:VoBgp${name}>)
    set_target_properties(${archive} PROPERTIES OUTPUT_NAME VoBgp${name} LINKER_LANGUAGE CXX)
    target_include_directories(${archive} INTERFACE
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vobgp>)
    target_compile_features(${archive} INTERFACE cxx_std_20)
    vobgp_whole_archive(VoBgp${name}Static ${archive} ${name}Static)
    list(APPEND targets VoBgp${name} ${archive} VoBgp${name}Static)
    list(APPEND libraries VoBgp${name}Static)
  endforeach()
  target_link_libraries(VoBgpCommunityStatic INTERFACE VoBgpPlatformStatic)
endif()
install(TARGETS ${targets} EXPORT VoBgpTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)

if(NOT VOBGP_STATIC)
  # gdb looks for the printers of a library next to it.
  install(FILES gdb/printers.py DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library
    RENAME libVoBgpPlatform.so.${PROJECT_VERSION}-gdb.py)
endif()
install(DIRECTORY src-includes/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vobgp
  COMPONENT development FILES_MATCHING PATTERN "*.h")
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR}
  COMPONENT documentation)

set(VOBGP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/VoBgpCommunity)
install(EXPORT VoBgpTargets NAMESPACE VoBgp:: DESTINATION ${VOBGP_CMAKE_DIR} COMPONENT development)
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
  DESTINATION ${VOBGP_CMAKE_DIR} COMPONENT development)

foreach(name LIBDIR INCLUDEDIR)
  file(RELATIVE_PATH VOBGP_PC_${name}
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_FULL_${name}})
endforeach()
foreach(library ${libraries})
  string(REGEX REPLACE "Static$" "" name ${library})
  string(REGEX MATCH "Static$" VOBGP_PC_VARIANT ${library})
  set(VOBGP_PC_LIBS -l${name})
  if(VOBGP_STATIC OR VOBGP_PC_VARIANT) # whole archive, as one word that pkg-config keeps
    set(VOBGP_PC_LIBS -Wl,--push-state,--whole-archive,-l:lib${name}.a,--pop-state)
  endif()
  configure_file(cmake/${name}.pc.in ${library}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

if(PROJECT_IS_TOP_LEVEL AND VOBGP_BUILD_TOOLS AND NOT VOBGP_STATIC)
  include(VoBgpDebian)
endif()
