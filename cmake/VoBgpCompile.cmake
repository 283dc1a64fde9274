# Compile options of this project. A project that adds this one as a folder keeps its own settings.
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
    # A newer clang reports deprecated uses inside headers of an older standard library.
    add_compile_options(-Wno-error=deprecated-declarations)
  endif()
endif()
# Assertions and traces print paths relative to this repository.
add_compile_options(-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/platform/=platform/
  -fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=)

if(VOBGP_SANITIZE)
  add_compile_options(-fsanitize=${VOBGP_SANITIZE} -fno-omit-frame-pointer
    -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VOBGP_SANITIZE})
  if(VOBGP_SANITIZE MATCHES "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # g++ warns about fences, which its thread sanitizer does not model. The project uses none, but
    # headers of the standard library do.
    add_compile_options(-Wno-tsan)
  endif()
endif()

# Before 1.0 every minor version may change the interface.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(VOBGP_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(VOBGP_SOVERSION ${PROJECT_VERSION_MAJOR})
endif()

# vobgp_whole_archive(TARGET ARCHIVE NAME): defines the interface library TARGET, installed as
# VoBgp::NAME, which links all of ARCHIVE. Types register themselves in static initialisers; otherwise
# the linker would drop objects that nothing refers to.
function(vobgp_whole_archive target archive name)
  add_library(${target} INTERFACE)
  target_link_libraries(${target} INTERFACE
    $<BUILD_INTERFACE:$<LINK_LIBRARY:WHOLE_ARCHIVE,${archive}>>
    $<INSTALL_INTERFACE:$<LINK_LIBRARY:WHOLE_ARCHIVE,VoBgp::${name}Archive>>)
  set_target_properties(${archive} PROPERTIES EXPORT_NAME ${name}Archive)
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
endfunction()

# vobgp_library(TARGET NAME SOURCES...): defines the library VoBgp::NAME, shared unless
# BUILD_SHARED_LIBS is off.
function(vobgp_library target name)
  if(VOBGP_STATIC)
    add_library(${target} STATIC ${ARGN})
    vobgp_whole_archive(${target}Whole ${target} ${name})
    add_library(VoBgp::${name} ALIAS ${target}Whole)
    return()
  endif()
  add_library(${target} SHARED ${ARGN})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name}
    VERSION ${PROJECT_VERSION}
    SOVERSION ${VOBGP_SOVERSION}
    INSTALL_RPATH "$ORIGIN") # finds the other library in the same folder
  # Calls between a library's own functions are direct and may be inlined: no other library is
  # meant to replace them.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  # The libraries are never unloaded: threads that end and signals that arrive later call them.
  target_link_options(${target} PRIVATE -Wl,--no-undefined -Wl,--as-needed
    -Wl,-Bsymbolic-functions -Wl,-z,nodelete)
  if(VOBGP_SANITIZE)
    # The program provides the symbols of the sanitizers.
    target_link_options(${target} PRIVATE -Wl,--undefined-version -Wl,-z,undefs)
  endif()
  add_library(VoBgp::${name} ALIAS ${target})
endfunction()
