# Run by cpack once it has built the Debian packages (CPACK_POST_BUILD_SCRIPTS).
# CPack gives a package of shared libraries postinst and postrm scripts that
# run ldconfig, and a postrm keeps a package in dpkg's database after
# "apt-get remove" until it is purged. Debian's own library packages use
# dpkg's ldconfig trigger instead, which needs no script; so do ours.
foreach(deb IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND dpkg-deb --info ${deb} postrm RESULT_VARIABLE no_postrm OUTPUT_QUIET ERROR_QUIET)
  if(no_postrm)
    continue()
  endif()
  set(tree ${deb}.tree)
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb --raw-extract ${deb} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  file(WRITE ${tree}/DEBIAN/triggers "activate-noawait ldconfig\n")
  execute_process(COMMAND dpkg-deb --root-owner-group -Zgzip --build ${tree} ${deb}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${tree})
endforeach()
