# An overlay port beside the sources that it builds:
#   vcpkg install 'qlxclosedcaptionsutilities[tool]' --overlay-ports=packaging/vcpkg
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)

# Both forms of each library are always made, from the same objects; BUILD_SHARED_LIBS says which one a plain target is.
set(VCPKG_POLICY_DLLS_IN_STATIC_LIBRARY enabled)

vcpkg_check_features(
    OUT_FEATURE_OPTIONS FEATURE_OPTIONS
    FEATURES
        tool QLX_BUILD_TOOL
        png QLX_TOOL_PNG
        ffmpeg QLX_STREAMS_FFMPEG)

# FFmpeg's libraries are looked for with pkg-config.
set(PKGCONFIG_OPTIONS "")
if("ffmpeg" IN_LIST FEATURES)
    vcpkg_find_acquire_program(PKGCONFIG)
    set(PKGCONFIG_OPTIONS "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}")
endif()

vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${FEATURE_OPTIONS}
        ${PKGCONFIG_OPTIONS}
        -DQLX_BUILD_TESTS=OFF
        -DQLX_INSTALL=ON
        -DQLX_TOOL_UCHARDET=OFF
        -DQLX_TOOL_ZVBI=OFF
    MAYBE_UNUSED_VARIABLES
        QLX_TOOL_PNG
        QLX_TOOL_UCHARDET
        QLX_TOOL_ZVBI)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME QLXClosedCaptionsUtilities CONFIG_PATH lib/cmake/QLXClosedCaptionsUtilities)
vcpkg_fixup_pkgconfig()
if("tool" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES qlxcc AUTO_CLEAN)
    # A tool of vcpkg looks for libraries in its own folder.
    file(GLOB MODULES "${CURRENT_PACKAGES_DIR}/lib/qlxcc/*.so")
    if(MODULES)
        file(COPY ${MODULES} DESTINATION "${CURRENT_PACKAGES_DIR}/tools/${PORT}")
    endif()
    file(GLOB MODULES "${CURRENT_PACKAGES_DIR}/lib/QLXClosedCaptionsUtilitiesStreams/*.so")
    if(MODULES)
        file(COPY ${MODULES} DESTINATION "${CURRENT_PACKAGES_DIR}/tools/${PORT}")
    endif()
    file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/lib/qlxcc" "${CURRENT_PACKAGES_DIR}/debug/lib/qlxcc")
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/packaging/debian/copyright")
