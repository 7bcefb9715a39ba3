# What makes building faster where the machine has it, and changes nothing of the libraries and the tool.

option(QLX_FAST_BUILD "Compile through ccache, link what clang builds with lld, and compile tests together" OFF)
option(QLX_SOURCES_TOGETHER "Compile the sources of a folder of the libraries and the tool as one text" OFF)

if(QLX_FAST_BUILD)
    find_program(QLX_CCACHE ccache)
    if(QLX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
        set(CMAKE_CXX_COMPILER_LAUNCHER "${PROJECT_SOURCE_DIR}/scripts/compiler-launcher")
    endif()
    find_program(QLX_LLD ld.lld)
    if(QLX_LLD AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        add_link_options(-fuse-ld=lld)
    endif()
    # g++ collects its garbage as if it had 128 MB: a tenth of its time. The greatest text takes 0.7 GB without.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        set(QLX_COMPILER_MEMORY --param=ggc-min-heapsize=1500000)
        add_compile_options(${QLX_COMPILER_MEMORY})
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
        # With what it has precompiled g++ 12 takes the copying in std::string for the project's own, and warns of what
        # it makes of it where it is inlined. The libraries are compiled without, and with these warnings.
        if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
            target_compile_options(${target} PRIVATE -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread)
        endif()
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

# qlx_together(<variable> <folder> <count> <source>...)
#
# Sets the variable to texts of about as many of the sources each, with what stands in them one behind the other: what
# they include is read once. The sources stand in one folder, named from the root of the project. They must not have the
# same name for different things, not even in namespaces without a name. Sources with properties of their own are not
# for it. g++ takes what stands in a namespace without a name for a header's: -Wno-subobject-linkage.
#
# scripts/join-sources joins them. Before the sources may stand `APART [<option>...] SOURCES`: scripts/join-apart does it
# then, with these options, and each has its names for itself.
function(qlx_together variable folder count)
    set(script "${PROJECT_SOURCE_DIR}/scripts/join-sources")
    set(options "")
    if("${ARGV3}" STREQUAL APART)
        set(script "${PROJECT_SOURCE_DIR}/scripts/join-apart")
        list(POP_FRONT ARGN option)
        while(NOT option STREQUAL SOURCES)
            list(POP_FRONT ARGN option)
            list(APPEND options ${option})
        endwhile()
        list(POP_BACK options)
    endif()
    set(join "${script}" ${options})
    list(LENGTH ARGN left)
    math(EXPR pieces "(${left} + ${count} - 1) / ${count}")
    set(texts "")
    while(left GREATER 0)
        math(EXPR size "(${left} + ${pieces} - 1) / ${pieces}")
        set(members "")
        foreach(index RANGE 1 ${size})
            list(POP_FRONT ARGN source)
            get_filename_component(name "${source}" NAME)
            list(APPEND members "${folder}/${name}")
        endforeach()
        list(GET members 0 first)
        set(text "${PROJECT_BINARY_DIR}/together/${first}")
        get_filename_component(text_folder "${text}" DIRECTORY)
        file(MAKE_DIRECTORY "${text_folder}")
        list(TRANSFORM members PREPEND "${PROJECT_SOURCE_DIR}/" OUTPUT_VARIABLE needed)
        add_custom_command(
            OUTPUT "${text}"
            COMMAND ${join} "${text}" ${members}
            DEPENDS ${needed} "${script}"
            WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}"
            COMMENT "Joining sources of ${folder}"
            VERBATIM)
        set_source_files_properties("${text}" PROPERTIES COMPILE_OPTIONS "-iquote;${PROJECT_SOURCE_DIR}/${folder}")
        list(APPEND texts "${text}")
        math(EXPR left "${left} - ${size}")
        math(EXPR pieces "${pieces} - 1")
    endwhile()
    set(${variable} ${texts} PARENT_SCOPE)
endfunction()

# qlx_sources_together(<target> [ALONE <source>...])
#
# With QLX_SOURCES_TOGETHER, has the sources of the target compiled together, folder by folder, but for those of ALONE.
# How each is compiled by itself is still told in compile_commands.json (scripts/lint reads that): the target
# <target>_alone, which nothing needs, has them so.
function(qlx_sources_together target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ALONE")
    if(NOT QLX_SOURCES_TOGETHER)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    list(REMOVE_ITEM sources ${arg_ALONE})
    add_library(${target}_alone OBJECT EXCLUDE_FROM_ALL ${sources})
    foreach(
        property IN
        ITEMS COMPILE_DEFINITIONS COMPILE_FEATURES COMPILE_OPTIONS CXX_EXTENSIONS CXX_STANDARD_REQUIRED
              CXX_VISIBILITY_PRESET INCLUDE_DIRECTORIES LINK_LIBRARIES POSITION_INDEPENDENT_CODE
              VISIBILITY_INLINES_HIDDEN)
        get_target_property(value ${target} ${property})
        if(NOT value STREQUAL "value-NOTFOUND")
            set_target_properties(${target}_alone PROPERTIES ${property} "${value}")
        endif()
    endforeach()

    set(folders "")
    foreach(source IN LISTS sources)
        get_filename_component(source "${source}" ABSOLUTE)
        file(RELATIVE_PATH path "${PROJECT_SOURCE_DIR}" "${source}")
        get_filename_component(folder "${path}" DIRECTORY)
        list(APPEND folders "${folder}")
        list(APPEND members_${folder} "${source}")
    endforeach()
    list(REMOVE_DUPLICATES folders)
    set(compiled ${arg_ALONE})
    foreach(folder IN LISTS folders)
        qlx_together(texts "${folder}" 16 ${members_${folder}})
        list(APPEND compiled ${texts})
    endforeach()
    set_property(TARGET ${target} PROPERTY SOURCES ${compiled})
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endfunction()
