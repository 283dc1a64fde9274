# How everything in this project is compiled, and nothing beside it: a project that adds this one as
# a folder keeps its own settings.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
if(PROJECT_IS_TOP_LEVEL)
  get_property(several_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
  if(NOT CMAKE_BUILD_TYPE AND NOT several_configurations)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
  endif()
  add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
endif()
if(VOBGP_WERROR)
  add_compile_options(-Werror)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # A newer clang reports what the headers of an older standard library use themselves.
    add_compile_options(-Wno-error=deprecated-declarations)
  endif()
endif()
# Assertions and traces name a source by its path in this repository.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/platform/=platform/
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(VOBGP_SANITIZE)
  add_compile_options(-fsanitize=${VOBGP_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VOBGP_SANITIZE})
  if(VOBGP_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ warns of fences that its thread sanitizer does not model. The project has none; headers of
    # the standard library do.
    add_compile_options(-Wno-tsan)
  endif()
endif()

# vobgp_library(TARGET EXPORT_NAME NAME SOURCES...): a library, VoBgp::NAME here and where it is
# installed. Shared unless BUILD_SHARED_LIBS is off.
function(vobgp_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORT_NAME" "")
  set(linked ${target})
  if(VOBGP_STATIC)
    # A type registers itself in a static initialiser. The linker would drop it with an object of
    # the archive that nothing else refers to, so an archive is linked whole.
    add_library(${target} STATIC ${arg_UNPARSED_ARGUMENTS})
    set(linked ${target}Whole)
    add_library(${linked} INTERFACE)
    set(archive ${arg_EXPORT_NAME}Archive)
    target_link_libraries(${linked} INTERFACE
      $<BUILD_INTERFACE:$<LINK_LIBRARY:WHOLE_ARCHIVE,${target}>>
      $<INSTALL_INTERFACE:$<LINK_LIBRARY:WHOLE_ARCHIVE,VoBgp::${archive}>>)
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${archive})
  else()
    add_library(${target} SHARED ${arg_UNPARSED_ARGUMENTS})
    set_target_properties(${target} PROPERTIES
      VERSION ${PROJECT_VERSION}
      SOVERSION ${PROJECT_VERSION_MAJOR}
      INSTALL_RPATH "$ORIGIN") # finds its neighbour, wherever both are installed
    target_link_options(${target} PRIVATE -Wl,--no-undefined -Wl,--as-needed)
    if(VOBGP_SANITIZE)
      # The sanitizers' own symbols come with the program.
      target_link_options(${target} PRIVATE -Wl,--undefined-version -Wl,-z,undefs)
    endif()
  endif()
  set_target_properties(${linked} PROPERTIES EXPORT_NAME ${arg_EXPORT_NAME})
  add_library(VoBgp::${arg_EXPORT_NAME} ALIAS ${linked})
  if(VOBGP_INSTALL)
    set(targets ${target} ${linked})
    list(REMOVE_DUPLICATES targets)
    install(TARGETS ${targets} EXPORT VoBgpTargets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  endif()
endfunction()
