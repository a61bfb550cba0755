# What `cmake --install` puts where, and the Debian package that CPack makes of it. The frei0r module
# has its rule with its target. No header and no library of ours is installed: another project takes
# the targets with add_subdirectory.

include(GNUInstallDirs)

if(NOT TARGET prismdrift)
  return()
endif()

# The program looks for its modules in ../lib/prismdrift seen from itself, on every system.
install(TARGETS prismdrift RUNTIME DESTINATION bin)
install(TARGETS PrismDrift prismdrift_media_module LIBRARY DESTINATION lib/prismdrift)
if(TARGET prismdrift_stills_module)
  install(TARGETS prismdrift_stills_module LIBRARY DESTINATION lib/prismdrift)
endif()

install(FILES Completions/prismdrift.bash
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        RENAME prismdrift)
# zsh looks in two places, one for the system's packages and one for everything else.
install(
  CODE "
  set(folder site-functions)
  if(CMAKE_INSTALL_PREFIX MATCHES \"/usr/?$\")
    set(folder vendor-completions)
  endif()
  file(INSTALL \"${CMAKE_CURRENT_SOURCE_DIR}/Completions/_prismdrift\"
       DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_DATADIR}/zsh/\${folder}\")")
install(FILES Completions/prismdrift.fish
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")

install(DIRECTORY Presets/
        DESTINATION "${CMAKE_INSTALL_DATADIR}/prismdrift/presets"
        FILES_MATCHING
        PATTERN "*.json")

# With the folders that the pages' links lead to.
install(FILES README.md CONTRIBUTING.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/prismdrift")
install(DIRECTORY Documentation
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/prismdrift"
        FILES_MATCHING
        PATTERN "*.md"
        PATTERN "*.png")

find_program(SCDOC scdoc)
mark_as_advanced(SCDOC)
if(SCDOC)
  set(page "${CMAKE_CURRENT_BINARY_DIR}/prismdrift.1")
  set(source "${CMAKE_CURRENT_SOURCE_DIR}/Documentation/prismdrift.1.scd")
  # The page bears the date of its last change where that is known.
  execute_process(
    COMMAND git log -1 --format=%ct -- "${source}"
    WORKING_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}"
    OUTPUT_VARIABLE changed
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  set(dated)
  if(changed)
    set(dated "${CMAKE_COMMAND}" -E env SOURCE_DATE_EPOCH=${changed})
  endif()
  # Whole or not at all, so that a failure doesn't leave an empty page that looks up to date.
  add_custom_command(
    OUTPUT "${page}"
    COMMAND ${dated} "${SCDOC}" < "${source}" > "${page}.new"
    COMMAND "${CMAKE_COMMAND}" -E rename "${page}.new" "${page}"
    DEPENDS "${source}"
    COMMENT "Writing the manual page"
    VERBATIM)
  add_custom_target(prismdrift_manual ALL DEPENDS "${page}")
  install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
else()
  message(STATUS "The manual page is left out: it needs scdoc")
endif()
