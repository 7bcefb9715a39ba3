# What makes building faster where the machine has it, and changes nothing of the libraries and the tool.

option(QLX_FAST_BUILD "Compile through ccache, link what clang builds with lld, and compile tests together" OFF)

if(QLX_FAST_BUILD)
    find_program(QLX_CCACHE ccache)
    if(QLX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${PROJECT_SOURCE_DIR}/scripts/compiler-launcher")
    endif()
    find_program(QLX_LLD ld.lld)
    if(QLX_LLD AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        add_link_options(-fuse-ld=lld)
    endif()
endif()

# qlx_precompile(<name> OPTIONS <option>... HEADERS <header>...)
#
# Has headers of the system read once for all sources of the targets that qlx_use_precompiled() names with <name>.
# OPTIONS are those that the targets have beside the project's own.
#
# CMake's own precompiled headers are made from a file in the build folder, and clang wants to find that again: what one
# checkout has compiled would be of no use to another. So clang reads them from a header of the system, for which any
# will do.
function(qlx_precompile name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "OPTIONS;HEADERS")
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        add_library(${name} OBJECT "${PROJECT_SOURCE_DIR}/cmake/Precompiled.cpp")
        qlx_configure_target(${name} NO_COVERAGE)
        target_compile_options(${name} PRIVATE ${arg_OPTIONS})
        list(TRANSFORM arg_HEADERS REPLACE "(.+)" "<\\1>")
        target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
        return()
    endif()
    string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
    separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}}")
    foreach(header IN LISTS arg_HEADERS)
        list(APPEND includes -include ${header})
    endforeach()
    set(precompiled "${CMAKE_CURRENT_BINARY_DIR}/${name}.pch")
    add_custom_command(
        OUTPUT "${precompiled}"
        COMMAND
            ${CMAKE_CXX_COMPILER_LAUNCHER} ${CMAKE_CXX_COMPILER} ${flags} ${CMAKE_CXX20_STANDARD_COMPILE_OPTION}
            ${qlx_compile_options} ${arg_OPTIONS} -Xclang -fno-pch-timestamp ${includes} -MD -MF "${precompiled}.d" -x
            c++-header /usr/include/stdint.h -o "${precompiled}"
        DEPFILE "${precompiled}.d"
        COMMENT "Precompiling ${name}"
        VERBATIM)
    add_custom_target(${name} DEPENDS "${precompiled}")
    set_target_properties(${name} PROPERTIES QLX_PRECOMPILED "${precompiled}")
endfunction()

# qlx_use_precompiled(<target> <name>): for all of its sources but those that have SKIP_PRECOMPILE_HEADERS
function(qlx_use_precompiled target name)
    get_target_property(precompiled ${name} QLX_PRECOMPILED)
    if(NOT precompiled)
        target_precompile_headers(${target} REUSE_FROM ${name})
        # Without it ccache does not know what a source that has been preprocessed stands on.
        target_compile_options(${target} PRIVATE -fpch-preprocess)
        return()
    endif()
    add_dependencies(${target} ${name})
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        get_property(skip SOURCE "${source}" PROPERTY SKIP_PRECOMPILE_HEADERS)
        if(NOT skip)
            set_property(SOURCE "${source}" APPEND PROPERTY OBJECT_DEPENDS "${precompiled}")
            set_property(SOURCE "${source}" APPEND PROPERTY COMPILE_OPTIONS -include-pch "${precompiled}")
        endif()
    endforeach()
endfunction()

# qlx_together(<variable> <target> <source>...)
#
# Sets the variable to texts that include eight of the sources each: what these include is read once. So they must not
# have the same name for different things, not even in namespaces without a name. Sources with properties of their own
# are not for it. g++ takes what stands in a namespace without a name for a header's: -Wno-subobject-linkage.
function(qlx_together variable target)
    set(texts "")
    set(content "")
    set(count 0)
    foreach(source IN LISTS ARGN)
        file(RELATIVE_PATH path "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
        string(APPEND content "#include \"${path}\"\n")
        get_filename_component(name "${source}" NAME_WE)
        if(count EQUAL 0)
            set(first ${name})
        endif()
        math(EXPR count "${count} + 1")
        list(GET ARGN -1 last)
        if(count EQUAL 8 OR source STREQUAL last)
            set(text "${CMAKE_CURRENT_BINARY_DIR}/together/${target}-${first}.cpp")
            file(CONFIGURE OUTPUT "${text}" CONTENT "${content}" @ONLY)
            list(APPEND texts "${text}")
            set(content "")
            set(count 0)
        endif()
    endforeach()
    set(${variable} ${texts} PARENT_SCOPE)
endfunction()
