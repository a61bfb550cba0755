# The Debian package, made by `cpack -G DEB` in the build folder; scripts/package does all of it.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME prismdrift)
set(CPACK_PACKAGE_VENDOR "Prism Drift developers")
set(CPACK_PACKAGE_CONTACT "Prism Drift developers <prismdrift@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chromatic shift effect for pictures and video")
set(CPACK_PACKAGE_DESCRIPTION
    "Prism Drift moves the red, green and blue of pictures and video apart along
one direction, scales each about the centre and pushes it towards white or
black. It draws with OpenGL on a graphics card, in software without one, and
needs no display.
.
The program prismdrift renders stills, sequences of pictures, video files and
pipes, with keyframes. A frei0r module brings the same effect to ffmpeg, MLT
and the editors built on it, an OpenFX plug-in to compositors and editors that
take those.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Whatever the builder's umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/PackageFiles.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/PackageScripts.cmake")
set(CPACK_PRISMDRIFT_COPYRIGHT "${PROJECT_SOURCE_DIR}/Packaging/copyright")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The driver is loaded at run time: another one, of the card's maker, does as well. Without one
# everything is drawn in software.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libgl1-mesa-dri)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "ffmpeg, melt, kdenlive, shotcut, gstreamer1.0-plugins-bad")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
