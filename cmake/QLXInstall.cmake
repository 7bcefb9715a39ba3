# Installation, in four components:
#   Runtime      the shared libraries
#   Containers   the module of the second library that stands on FFmpeg's libraries, where it is built
#   Development  headers, static libraries, CMake package, pkg-config modules
#   Tool         qlxcc, its modules, manual pages and completions

include(CMakePackageConfigHelpers)

get_property(qlx_streams_modules_folder GLOBAL PROPERTY QLX_STREAMS_MODULES_FOLDER)
get_filename_component(qlx_streams_folder "${qlx_streams_modules_folder}" NAME)
list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE qlx_streams_private_libraries)
string(APPEND qlx_streams_private_libraries " -lpugixml")

set(qlx_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/QLXClosedCaptionsUtilities")
set(qlx_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(
    TARGETS qlx_static qlx_shared qlx_streams_static qlx_streams_shared
    EXPORT QLXClosedCaptionsUtilitiesTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime)

if(TARGET qlx_streams_containers)
    install(
        TARGETS qlx_streams_containers
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/${qlx_streams_folder}" COMPONENT Containers)
endif()

install(
    DIRECTORY "${PROJECT_SOURCE_DIR}/include/" "${PROJECT_BINARY_DIR}/include/"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    COMPONENT Development
    FILES_MATCHING PATTERN "*.h")

# The headers point to it.
install(
    FILES "${PROJECT_SOURCE_DIR}/docs/COMPATIBILITY.md"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}"
    COMPONENT Development)
install(
    EXPORT QLXClosedCaptionsUtilitiesTargets
    NAMESPACE QLXClosedCaptionsUtilities::
    DESTINATION "${qlx_cmake_dir}"
    COMPONENT Development)
configure_package_config_file(
    cmake/QLXClosedCaptionsUtilitiesConfig.cmake.in "${PROJECT_BINARY_DIR}/QLXClosedCaptionsUtilitiesConfig.cmake"
    INSTALL_DESTINATION "${qlx_cmake_dir}"
    NO_SET_AND_CHECK_MACRO)
# Before 1.0 a new minor version may break what was built against the last one.
write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/QLXClosedCaptionsUtilitiesConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(
    FILES "${PROJECT_BINARY_DIR}/QLXClosedCaptionsUtilitiesConfig.cmake"
          "${PROJECT_BINARY_DIR}/QLXClosedCaptionsUtilitiesConfigVersion.cmake"
    DESTINATION "${qlx_cmake_dir}"
    COMPONENT Development)

# The modules find their prefix from their own place, so that the installed tree can be moved.
file(RELATIVE_PATH qlx_pkgconfig_to_prefix "/prefix/${qlx_pkgconfig_dir}" "/prefix")
foreach(module IN ITEMS QLXClosedCaptionsUtilities QLXClosedCaptionsUtilitiesStreams)
    configure_file(cmake/${module}.pc.in "${PROJECT_BINARY_DIR}/${module}.pc" @ONLY)
    install(
        FILES "${PROJECT_BINARY_DIR}/${module}.pc"
        DESTINATION "${qlx_pkgconfig_dir}"
        COMPONENT Development)
endforeach()

if(TARGET qlxcc)
    install(TARGETS qlxcc RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tool)
    get_property(qlxcc_modules GLOBAL PROPERTY QLXCC_MODULES)
    if(qlxcc_modules)
        install(TARGETS ${qlxcc_modules} LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/qlxcc" COMPONENT Tool)
    endif()
    install(
        DIRECTORY "${PROJECT_SOURCE_DIR}/docs/"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
        COMPONENT Tool
        FILES_MATCHING
        PATTERN "*.1"
        PATTERN images EXCLUDE
        PATTERN schemas EXCLUDE)
    # What the JSON of the tool is like.
    install(
        DIRECTORY "${PROJECT_SOURCE_DIR}/docs/schemas"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/qlxcc"
        COMPONENT Tool)
    # The tool prints its completions itself, so where it cannot run there are none.
    if(NOT CMAKE_CROSSCOMPILING)
        set(qlx_completions "${PROJECT_BINARY_DIR}/completions")
        install(
            CODE "
                foreach(shell IN ITEMS bash zsh)
                    execute_process(
                        COMMAND \"$<TARGET_FILE:qlxcc>\" completion \${shell}
                        OUTPUT_FILE \"${qlx_completions}/qlxcc.\${shell}\"
                        COMMAND_ERROR_IS_FATAL ANY)
                endforeach()"
            COMPONENT Tool)
        file(MAKE_DIRECTORY "${qlx_completions}")
        install(
            FILES "${qlx_completions}/qlxcc.bash"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
            RENAME qlxcc
            COMPONENT Tool)
        install(
            FILES "${qlx_completions}/qlxcc.zsh"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
            RENAME _qlxcc
            COMPONENT Tool)
    endif()
endif()
