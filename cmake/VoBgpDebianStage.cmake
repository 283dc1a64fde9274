# Run by cpack after installing the components and before packing them: applies Debian's conventions.
set(stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY})

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# move_to(COMPONENT FROM TO): moves a path below /usr and removes an empty parent.
function(move_to component from to)
  set(usr ${stage}/${component}/usr)
  get_filename_component(folder ${usr}/${to} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  file(RENAME ${usr}/${from} ${usr}/${to})
  get_filename_component(folder ${usr}/${from} DIRECTORY)
  file(GLOB left ${folder}/*)
  if(NOT left)
    file(REMOVE_RECURSE ${folder})
  endif()
endfunction()

# The loader searches this folder by default.
file(GLOB binaries
  ${stage}/library/usr/${CPACK_VOBGP_LIBDIR}/*.so.${CPACK_PACKAGE_VERSION}
  ${stage}/program/usr/bin/*)
foreach(binary ${binaries})
  file(RPATH_REMOVE FILE ${binary})
endforeach()
set(unneeded --remove-section=.comment --remove-section=.note)
run(strip --strip-unneeded ${unneeded} ${binaries})
file(GLOB archives ${stage}/development/usr/${CPACK_VOBGP_LIBDIR}/*.a)
run(strip --strip-debug --enable-deterministic-archives ${unneeded} ${archives})

set(printers libVoBgpPlatform.so.${CPACK_PACKAGE_VERSION}-gdb.py)
move_to(library ${CPACK_VOBGP_LIBDIR}/${printers}
  share/gdb/auto-load/usr/${CPACK_VOBGP_LIBDIR}/${printers})

run(gzip -9n ${stage}/program/usr/share/man/man1/bgp-communities.1)
move_to(program share/zsh/site-functions/_bgp-communities
  share/zsh/vendor-completions/_bgp-communities)
set(doc share/doc/${CPACK_VOBGP_DOCUMENTATION_PACKAGE})
move_to(documentation ${CPACK_VOBGP_DOCDIR} ${doc})
file(REMOVE
  ${stage}/documentation/usr/${doc}/LICENSE
  ${stage}/documentation/usr/${doc}/CHANGELOG.md)

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # respects SOURCE_DATE_EPOCH
set(files ${CPACK_VOBGP_SOURCE_DIR}/cmake/debian)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} prefix)
  set(package ${CPACK_VOBGP_${prefix}_PACKAGE})
  set(usr ${stage}/${component}/usr)
  set(doc ${usr}/share/doc/${package})
  configure_file(${files}/changelog.in ${doc}/changelog.Debian @ONLY)
  configure_file(${CPACK_VOBGP_SOURCE_DIR}/CHANGELOG.md ${doc}/changelog COPYONLY)
  run(gzip -9n ${doc}/changelog.Debian ${doc}/changelog)
  file(COPY ${files}/copyright DESTINATION ${doc})
  file(COPY ${files}/${component}.lintian-overrides DESTINATION ${usr}/share/lintian/overrides)
  file(RENAME ${usr}/share/lintian/overrides/${component}.lintian-overrides
    ${usr}/share/lintian/overrides/${package})
  run(chmod -R u+rwX,go+rX,go-w ${stage}/${component})
endforeach()
