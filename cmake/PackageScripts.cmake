# Run by CPack over the finished package. CPack has every package with a file in a folder of
# /usr/lib call ldconfig when it is installed and removed, which looks in none of ours: packed again
# without that, by Debian's own tool.

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree "${package}.tree")
  foreach(
    command
    "dpkg-deb;--raw-extract;${package};${tree}"
    "rm;-f;${tree}/DEBIAN/postinst;${tree}/DEBIAN/postrm"
    "dpkg-deb;--root-owner-group;--build;${tree};${package}"
    "rm;-r;${tree}")
    execute_process(COMMAND ${command} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()
