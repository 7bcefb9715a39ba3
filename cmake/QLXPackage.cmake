# Debian packages, by `cpack` in the build folder: one for each component of the installation.
#   libqlxclosedcaptionsutilities<SOVERSION>   Runtime      the shared libraries, named after the first one's SONAME
#   libqlxclosedcaptionsutilities<SOVERSION>-containers  Containers  what the second library loads to open containers
#   libqlxclosedcaptionsutilities-dev          Development  all that a program is built with
#   qlxcc                                      Tool         the tool, its manual pages and completions

set(qlx_soversion "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qlxclosedcaptionsutilities)
set(CPACK_PACKAGE_VENDOR "QLXClosedCaptionsUtilities developers")
set(CPACK_PACKAGE_CONTACT "QLXClosedCaptionsUtilities developers <developers@example.invalid>")
# Each package has a description of its own below.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET qlx_streams_containers)
    list(APPEND CPACK_COMPONENTS_ALL Containers)
endif()
if(TARGET qlxcc)
    list(APPEND CPACK_COMPONENTS_ALL Tool)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE qlxclosedcaptionsutilities)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)

# The shlibs file makes other packages depend on this library, the trigger runs ldconfig. cpack would also write scripts
# that run it; the names of scripts that are not there keep it from that.
set(qlx_debian "${PROJECT_SOURCE_DIR}/packaging/debian")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${qlx_debian}/triggers;${qlx_debian}/none/postinst;${qlx_debian}/none/postrm")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libqlxclosedcaptionsutilities${qlx_soversion}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "captions, subtitles and ancillary data for broadcast video (library)
This library handles video frame by frame: ancillary data packets in SDI
rows, MXF elements, QuickTime atoms and timed samples; CEA-608/708
captions; subtitles as OP-47 teletext; SCTE-104 messages and SCTE-35
sections.
.
This package contains the shared library, and that for files and
streams of frames, which stands on it.")

# FFmpeg's libraries come with this one alone: all else works without them. Nothing of it is for ldconfig.
set(CPACK_DEBIAN_CONTAINERS_PACKAGE_CONTROL_EXTRA "${qlx_debian}/none/postinst;${qlx_debian}/none/postrm")
set(CPACK_DEBIAN_CONTAINERS_PACKAGE_NAME "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}-containers")
set(CPACK_DEBIAN_CONTAINERS_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CONTAINERS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CONTAINERS_DESCRIPTION
    "captions, subtitles and ancillary data for broadcast video (containers)
This library handles video frame by frame: ancillary data packets in SDI
rows, MXF elements, QuickTime atoms and timed samples; CEA-608/708
captions; subtitles as OP-47 teletext; SCTE-104 messages and SCTE-35
sections.
.
This package contains the module with which the library opens MXF, MOV,
MP4, MPEG-TS, MPEG-PS, Matroska and FLV files. It stands on FFmpeg's libraries.")
if(TARGET qlx_streams_containers)
    set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS "${CPACK_DEBIAN_CONTAINERS_PACKAGE_NAME}")
    set(CPACK_DEBIAN_TOOL_PACKAGE_RECOMMENDS
        "${CPACK_DEBIAN_CONTAINERS_PACKAGE_NAME} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
endif()

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqlxclosedcaptionsutilities-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
# For what is linked with the static library of streams.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS libpugixml-dev)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "captions, subtitles and ancillary data for broadcast video (development)
This library handles video frame by frame: ancillary data packets in SDI
rows, MXF elements, QuickTime atoms and timed samples; CEA-608/708
captions; subtitles as OP-47 teletext; SCTE-104 messages and SCTE-35
sections.
.
This package contains the headers, the static libraries, and the files for
CMake and pkg-config.")

# Its modules are its own: nothing of them is for ldconfig.
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA "${qlx_debian}/none/postinst;${qlx_debian}/none/postrm")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME qlxcc)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "captions, subtitles and ancillary packets on the command line
qlxcc plays subtitles out as OP-47 teletext or CEA-608 captions, finds
the ancillary packets in what was recorded, takes captions out of video,
and makes and reads ad insertion messages (SCTE-104, SCTE-35).")

# What Debian wants beside the installed files is added to each package by a script that cpack runs.
configure_file("${PROJECT_SOURCE_DIR}/packaging/debian/changelog.in" "${PROJECT_BINARY_DIR}/changelog.Debian" @ONLY)
configure_file("${CMAKE_CURRENT_LIST_DIR}/QLXPackageDocuments.cmake.in"
               "${PROJECT_BINARY_DIR}/QLXPackageDocuments.cmake" @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_BINARY_DIR}/QLXPackageDocuments.cmake")

include(CPack)
