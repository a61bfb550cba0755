# Run by CPack over the files that it has installed, before it packs them: what Debian asks of a
# package beyond what a plain install gives. CPack itself gives the files the time of
# SOURCE_DATE_EPOCH.

set(share "${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/share")

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(seconds "$ENV{SOURCE_DATE_EPOCH}")
else()
  string(TIMESTAMP seconds "%s" UTC)
endif()
execute_process(
  COMMAND date --utc --rfc-email "--date=@${seconds}"
  OUTPUT_VARIABLE date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

configure_file("${CPACK_PRISMDRIFT_COPYRIGHT}" "${share}/doc/prismdrift/copyright" COPYONLY)
file(
  WRITE "${share}/doc/prismdrift/changelog"
  "prismdrift (${CPACK_PACKAGE_VERSION}) stable; urgency=low\n\n"
  "  * Built from the sources of this version.\n\n"
  " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
# The OpenFX standard lays down its folder.
file(WRITE "${share}/lintian/overrides/prismdrift"
     "prismdrift: file-in-unusual-dir *usr/OFX/Plugins/*\n"
     "prismdrift: non-standard-dir-in-usr *usr/OFX/*\n")
file(GLOB texts "${share}/man/man1/*.1" "${share}/doc/prismdrift/changelog")
run(gzip --best --no-name --force ${texts})
file(GLOB_RECURSE texts "${share}/*.gz" "${share}/*/copyright" "${share}/lintian/*")
run(chmod 644 ${texts})
