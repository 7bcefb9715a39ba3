# What every target of this project is compiled with: the language, the warnings and the sanitizers.

set(qlx_compile_options "")
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    list(APPEND qlx_compile_options -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    # g++ 12 warns of std::string's own operator+ when it is inlined (fixed in g++ 13).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        list(APPEND qlx_compile_options -Wno-restrict)
    endif()
    if(QLX_WARNINGS_AS_ERRORS)
        list(APPEND qlx_compile_options -Werror)
    endif()
endif()
if(QLX_SANITIZERS)
    list(APPEND qlx_compile_options -fsanitize=${QLX_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
endif()
set(qlx_coverage_options "")
# What counts lines by itself (scripts/coverage) is not counted twice: modules would miss the engine's symbols.
if(QLX_BUILD_FUZZERS AND NOT CMAKE_CXX_FLAGS MATCHES "-fcoverage-mapping")
    # Coverage instrumentation only: the fuzz targets add the engine with its main function.
    set(qlx_coverage_options -fsanitize=fuzzer-no-link)
    # To follow each comparison takes a third of the time, and pays where hours are spent on learning.
    if(NOT QLX_FUZZ_COMPARISONS)
        list(APPEND qlx_coverage_options -fno-sanitize-coverage=trace-cmp)
    endif()
endif()

# qlx_configure_target(<target> [NO_COVERAGE]): C++20 without extensions, the project's warnings, the chosen sanitizers,
# and what the fuzzing engine follows. All of it is private: a project that embeds the library keeps its own flags.
function(qlx_configure_target target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "NO_COVERAGE" "" "")
    if(NOT arg_NO_COVERAGE)
        target_compile_options(${target} PRIVATE ${qlx_coverage_options})
    endif()
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
    target_compile_options(${target} PRIVATE ${qlx_compile_options})
    if(QLX_SANITIZERS)
        target_link_options(${target} PRIVATE -fsanitize=${QLX_SANITIZERS})
    endif()
endfunction()

include(GenerateExportHeader)

# qlx_add_library_forms(<target> MACRO <name> NAME <name> [FORMS_PREFIX <text>] OUTPUT_NAME <name> EXPORT_HEADER <path>): the
# libraries <target>_static and <target>_shared, made of the objects of <target>_objects; their names in the package, where
# the plain NAME follows BUILD_SHARED_LIBS, as for any other library; and the header with the macro that exports.
function(qlx_add_library_forms target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "MACRO;NAME;FORMS_PREFIX;OUTPUT_NAME;EXPORT_HEADER" "")
    add_library(${target}_static STATIC $<TARGET_OBJECTS:${target}_objects>)
    add_library(${target}_shared SHARED $<TARGET_OBJECTS:${target}_objects>)
    set_target_properties(${target}_static PROPERTIES EXPORT_NAME ${arg_FORMS_PREFIX}Static)
    set_target_properties(
        ${target}_shared
        PROPERTIES EXPORT_NAME ${arg_FORMS_PREFIX}Shared
                   VERSION ${PROJECT_VERSION}
                   SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}
                   DEFINE_SYMBOL ${arg_MACRO}_BUILDING_LIBRARY)
    target_compile_definitions(${target}_static INTERFACE ${arg_MACRO}_STATIC_DEFINE)
    foreach(library IN ITEMS ${target}_static ${target}_shared)
        set_target_properties(${library} PROPERTIES OUTPUT_NAME ${arg_OUTPUT_NAME} LINKER_LANGUAGE CXX)
        if(QLX_SANITIZERS)
            target_link_options(${library} PRIVATE -fsanitize=${QLX_SANITIZERS})
        endif()
    endforeach()

    add_library(QLXClosedCaptionsUtilities::${arg_FORMS_PREFIX}Static ALIAS ${target}_static)
    add_library(QLXClosedCaptionsUtilities::${arg_FORMS_PREFIX}Shared ALIAS ${target}_shared)
    if(BUILD_SHARED_LIBS)
        add_library(QLXClosedCaptionsUtilities::${arg_NAME} ALIAS ${target}_shared)
    else()
        add_library(QLXClosedCaptionsUtilities::${arg_NAME} ALIAS ${target}_static)
    endif()

    generate_export_header(
        ${target}_shared
        BASE_NAME ${arg_MACRO}
        INCLUDE_GUARD_NAME ${arg_MACRO}_EXPORT_H
        EXPORT_FILE_NAME "${PROJECT_BINARY_DIR}/include/${arg_EXPORT_HEADER}")
endfunction()
