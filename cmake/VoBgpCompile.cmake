# How everything in this project is compiled: one set of warnings, all of them errors.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# Assertions and traces name a source by its path in this repository.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/platform/=platform/
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(VOBGP_SANITIZE)
  add_compile_options(-fsanitize=${VOBGP_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VOBGP_SANITIZE})
  if(VOBGP_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ warns of fences that its thread sanitizer does not model; there is none here, but in
    # headers of the standard library.
    add_compile_options(-Wno-tsan)
  endif()
endif()

# vobgp_shared_library(TARGET EXPORT_NAME NAME): version, SONAME and installation of a library.
function(vobgp_shared_library target)
  cmake_parse_arguments(arg "" "EXPORT_NAME" "" ${ARGN})
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    EXPORT_NAME ${arg_EXPORT_NAME})
  target_link_options(${target} PRIVATE -Wl,--no-undefined -Wl,--as-needed)
  if(VOBGP_SANITIZE)
    # The sanitizers' own symbols come with the program.
    target_link_options(${target} PRIVATE -Wl,--undefined-version -Wl,-z,undefs)
  endif()
  install(TARGETS ${target} EXPORT VoBgpTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()
